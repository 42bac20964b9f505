#include "apps/kelsh/script_objects.h"

#include <algorithm>

#include "automation/com_method.h"
#include "automation/plain_object.h"

namespace kel::kelsh {

using automation::Bstr;
using automation::Error;
using automation::Variant;

namespace {

class ScriptObject final : public automation::PlainObject<IDispatch> {
public:
    explicit ScriptObject(std::vector<NamedMember> members) : members_(std::move(members)) {}

    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }

    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* ids) noexcept override {
        const auto found =
            std::find_if(members_.begin(), members_.end(), [&](const NamedMember& member) {
                return _wcsicmp(member.name.c_str(), names[0]) == 0;
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
        try {
            std::vector<Variant> arguments;
            for (UINT i = parameters->cArgs; i > 0; --i) {
                arguments.push_back(Variant::Through(parameters->rgvarg[i - 1]));
            }
            Variant answer = members_[static_cast<std::size_t>(id)].run(arguments);
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
            const Error error = automation::CurrentError();
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

    const std::vector<NamedMember> members_;
};

}  // namespace

ComPtr<IDispatch> MakeScriptObject(std::vector<NamedMember> members) {
    return ComPtr<ScriptObject>::Adopt(new ScriptObject(std::move(members)));
}

ComPtr<IDispatch> MakeTextList(std::vector<Text> texts) {
    const ScriptMember count = [size = static_cast<long>(texts.size())](std::vector<Variant>&) {
        return Variant(size);
    };
    const ScriptMember item = [texts = std::move(texts)](std::vector<Variant>& arguments) {
        const Text index = arguments.empty() ? Text() : Text(arguments[0].text().view());
        const short number = automation::ToShort(index);
        if (number < 0 || static_cast<std::size_t>(number) >= texts.size()) {
            throw Error(automation::kSubscriptOutOfRange);
        }
        return Variant(automation::TextView(texts[static_cast<std::size_t>(number)]));
    };
    return MakeScriptObject({{L"Item", item}, {L"Count", count}, {L"length", count}});
}

}  // namespace kel::kelsh
