#include "tests/backend/setup.h"

#include <algorithm>
#include <iterator>

#include "automation/com_method.h"
#include "tests/backend/state.h"

namespace kel::tests {
namespace {

constexpr const wchar_t* kNames[] = {
    L"PutRecord", L"PutDictItem", L"PutProgram", L"Listen", L"Heard", L"Deaf", L"Marked"};

}  // namespace

STDMETHODIMP
Setup::GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) noexcept {
    const auto found = std::find_if(std::begin(kNames), std::end(kNames), [&](const wchar_t* name) {
        return _wcsicmp(name, names[0]) == 0;
    });
    ids[0] = found == std::end(kNames) ? DISPID_UNKNOWN
                                       : static_cast<DISPID>(found - std::begin(kNames));
    return found == std::end(kNames) ? DISP_E_UNKNOWNNAME : S_OK;
}

STDMETHODIMP Setup::Invoke(DISPID id,
                           REFIID,
                           LCID,
                           WORD,
                           DISPPARAMS* params,
                           VARIANT* result,
                           EXCEPINFO*,
                           UINT*) noexcept {
    return automation::ComMethod([&] {
        std::vector<Variant> given;
        for (UINT i = params->cArgs; i > 0; --i) {
            given.push_back(Variant::Through(params->rgvarg[i - 1]));
        }
        const auto text = [&](std::size_t i) { return Shown(given.at(i).get()); };
        const auto answer = [&](const Text& with) {
            if (result != nullptr) {
                *result = Value(with).detach();
            }
        };
        switch (id) {
            case 0:
                TheState().putRecord(text(0), text(1), Marked(text(2)));
                break;
            case 1:
                TheState().putDictItem(text(0),
                                       text(1),
                                       {std::stol(text(2)),
                                        text(3),
                                        text(4),
                                        text(5),
                                        text(6),
                                        static_cast<short>(std::stoi(text(7)))});
                break;
            case 2:
                TheState().putProgram(text(0), [](VARIANT* const* arguments) {
                    Variant changed(Shown(*arguments[0]) + L"!");
                    std::swap(*arguments[0], *changed.inOut());
                });
                break;
            case 3:
                listen(V_UNKNOWN(&given.at(0).get()));
                break;
            case 4:
                answer(heard());
                break;
            case 5:
                listening_.clear();
                break;
            default:
                answer(Marked(text(0)));
        }
    });
}

void Setup::listen(IUnknown* source) {
    const auto type = ComPtr<IUnknown>(source).as<IProvideClassInfo2>();
    GUID events{};
    automation::Check(type ? type->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &events)
                           : E_NOINTERFACE);
    Listening one;
    one.recorder = EventRecorder::Make(events);
    one.recorder->alsoTo(&lines_, {});
    one.recorder->answerProperty(L"OsType", L"99");
    one.subscription = std::make_unique<Subscription>(source, events, one.recorder.get());
    listening_.push_back(std::move(one));
}

Text Setup::heard() {
    Text all;
    for (const Text& line : std::exchange(lines_, {})) {
        all += (all.empty() ? L"" : L" ") + line;
    }
    return all;
}

}  // namespace kel::tests
