// IDispatch over a table of functions.
#include "scripting/script_object.h"

#include <algorithm>

#include "automation/error.h"
#include "automation/plain_object.h"
#include "automation/variant.h"
#include "scripting/script_engine.h"

namespace kel::scripting {

using automation::Bstr;
using automation::Error;
using automation::Variant;

namespace {

Error CurrentError() {
    try {
        throw;
    } catch (const ScriptFailure& failure) {
        return Error(failure.number, failure.source, failure.description);
    } catch (...) {
        return automation::CurrentError();
    }
}

class ScriptObject final : public automation::PlainObject<IDispatch> {
public:
    explicit ScriptObject(std::vector<Member> members) : members_(std::move(members)) {}

    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }

    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) noexcept override {
        const auto found = std::find_if(members_.begin(), members_.end(), [&](const Member& one) {
            return _wcsicmp(one.name.c_str(), names[0]) == 0;
        });
        ids[0] = found == members_.end() ? DISPID_UNKNOWN
                                         : static_cast<DISPID>(found - members_.begin());
        return found == members_.end() ? DISP_E_UNKNOWNNAME : S_OK;
    }

    STDMETHODIMP Invoke(DISPID id,
                        REFIID,
                        LCID,
                        WORD,
                        DISPPARAMS* parameters,
                        VARIANT* result,
                        EXCEPINFO* exception,
                        UINT*) noexcept override {
        if (id < 0 || static_cast<std::size_t>(id) >= members_.size()) {
            return DISP_E_MEMBERNOTFOUND;
        }
        // A member may be the end of whoever holds this object.
        const automation::ComPtr<IDispatch> keep(this);
        try {
            std::vector<Variant> owned;
            std::vector<VARIANT> arguments;
            for (UINT i = parameters->cArgs; i > 0; --i) {
                owned.push_back(Variant::Through(parameters->rgvarg[i - 1]));
                arguments.push_back(owned.back().get());
            }
            Variant answer;
            members_[static_cast<std::size_t>(id)].run(arguments, *answer.put());
            if (result != nullptr) {
                *result = answer.detach();
            }
            return S_OK;
        } catch (...) {
            return Fill(exception);
        }
    }

private:
    bool answers(REFIID iid) const noexcept override { return IsEqualIID(iid, IID_IDispatch); }

    static HRESULT Fill(EXCEPINFO* exception) noexcept {
        HRESULT code = E_FAIL;
        automation::Ignoring([&] {
            const Error error = CurrentError();
            code = automation::CodeOfNumber(error.number());
            if (exception != nullptr) {
                *exception = {};
                exception->scode = code;
                exception->bstrSource = Bstr(error.source()).detach();
                exception->bstrDescription = Bstr(error.description()).detach();
                code = DISP_E_EXCEPTION;
            }
        });
        return code;
    }

    const std::vector<Member> members_;
};

}  // namespace

IDispatch* MakeScriptObject(std::vector<Member> members) {
    return new ScriptObject(std::move(members));
}

IDispatch* MakeTextList(std::vector<std::wstring> texts) {
    const MemberFunction count = [size = static_cast<long>(texts.size())](std::span<const VARIANT>,
                                                                          VARIANT& result) {
        result = Variant(size).detach();
    };
    const MemberFunction item = [texts = std::move(texts)](std::span<const VARIANT> arguments,
                                                           VARIANT& result) {
        const std::wstring index(arguments.empty() ? L"" : Variant(arguments[0]).text().view());
        const short number = automation::ToShort(index);
        if (number < 0 || static_cast<std::size_t>(number) >= texts.size()) {
            throw Error(automation::kSubscriptOutOfRange);
        }
        result = Variant(automation::TextView(texts[static_cast<std::size_t>(number)])).detach();
    };
    return MakeScriptObject({{L"Item", item}, {L"Count", count}, {L"length", count}});
}

}  // namespace kel::scripting
