#include "automation/dispatch.h"

#include <iterator>
#include <vector>

#include "automation/com_method.h"
#include "automation/type_library.h"

namespace kel::automation {
namespace {

bool IsReferenceToText(const ELEMDESC& parameter) noexcept {
    return parameter.tdesc.vt == VT_PTR && parameter.tdesc.lptdesc->vt == VT_BSTR;
}

// Stands in for by-reference texts that a caller leaves out: the platform's dispatcher has nothing
// for them and hands the member a wild address.
class LeftOutTexts {
public:
    LeftOutTexts(ITypeInfo& type, DISPID id, WORD flags, const DISPPARAMS& given) : params_(given) {
        const auto functions = ComPtr<ITypeInfo>(&type).as<ITypeInfo2>();
        UINT index = 0;
        const auto find = [&](WORD flag, INVOKEKIND kind) {
            return (flags & flag) != 0 &&
                   SUCCEEDED(functions->GetFuncIndexOfMemId(id, kind, &index));
        };
        if (!functions || given.cNamedArgs != 0 ||
            (!find(DISPATCH_METHOD, INVOKE_FUNC) &&
             !find(DISPATCH_PROPERTYGET, INVOKE_PROPERTYGET))) {
            return;
        }
        // Some platforms count the members of IDispatch in one of the two calls and not in the
        // other.
        constexpr UINT kDispatchMembers = 7;
        for (const UINT candidate : {index, index + kDispatchMembers}) {
            FUNCDESC* function = nullptr;
            if (SUCCEEDED(type.GetFuncDesc(candidate, &function))) {
                const bool isIt = function->memid == id;
                if (isIt) {
                    fill(*function);
                }
                type.ReleaseFuncDesc(function);
                if (isIt) {
                    return;
                }
            }
        }
    }

    DISPPARAMS* params() noexcept { return &params_; }

private:
    // Arguments stand last first.
    void fill(const FUNCDESC& function) {
        std::vector<VARIANT> declared(std::reverse_iterator(params_.rgvarg + params_.cArgs),
                                      std::reverse_iterator(params_.rgvarg));
        bool changed = false;
        for (std::size_t i = 0; i < static_cast<std::size_t>(function.cParams); ++i) {
            const ELEMDESC& parameter = function.lprgelemdescParam[i];
            const bool isOptional = (parameter.paramdesc.wParamFlags & PARAMFLAG_FOPT) != 0;
            const bool isNext = i == declared.size();
            if (isOptional && IsReferenceToText(parameter) &&
                (isNext || (i < declared.size() && IsMissing(&declared[i])))) {
                const VARIANT standIn = Variant::Reference(text_.inOut()).get();
                isNext ? declared.push_back(standIn) : static_cast<void>(declared[i] = standIn);
                changed = true;
            }
        }
        if (changed) {
            args_.assign(declared.rbegin(), declared.rend());
            params_.rgvarg = args_.data();
            params_.cArgs = static_cast<UINT>(args_.size());
        }
    }

    DISPPARAMS params_;
    std::vector<VARIANTARG> args_;  // borrowed values
    Bstr text_;
};

}  // namespace

HRESULT DispatchNames(REFIID dual, REFIID riid, LPOLESTR* names, UINT count, DISPID* ids) noexcept {
    if (!IsEqualIID(riid, IID_NULL)) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (names == nullptr || ids == nullptr || count == 0) {
        return E_INVALIDARG;
    }
    try {
        return TypeInfoOf(dual)->GetIDsOfNames(names, count, ids);
    } catch (...) {
        return FailureFromCurrentException();
    }
}

HRESULT DispatchInvoke(REFIID dual,
                       IDispatch* object,
                       DISPID id,
                       REFIID riid,
                       WORD flags,
                       DISPPARAMS* params,
                       VARIANT* result,
                       EXCEPINFO* exception,
                       UINT* argumentIndex) noexcept {
    if (!IsEqualIID(riid, IID_NULL)) {
        return DISP_E_UNKNOWNINTERFACE;
    }
    if (params == nullptr || (params->cArgs != 0 && params->rgvarg == nullptr) ||
        (params->cNamedArgs != 0 && params->rgdispidNamedArgs == nullptr) ||
        params->cNamedArgs > params->cArgs) {
        return E_INVALIDARG;
    }
    // Some script engines ask for the enumerator as a method.
    if (id == DISPID_NEWENUM) {
        flags = DISPATCH_PROPERTYGET;
    }
    try {
        // Held for the call: it may release the last other reference to the object.
        const ComPtr<IDispatch> keep(object);
        const ComPtr<ITypeInfo> type = TypeInfoOf(dual);
        LeftOutTexts complete(*type, id, flags, *params);
        return type->Invoke(object, id, flags, complete.params(), result, exception, argumentIndex);
    } catch (...) {
        return FailureFromCurrentException();
    }
}

HRESULT DispatchTypeInfo(REFIID dual, UINT index, ITypeInfo** info) noexcept {
    if (info == nullptr) {
        return E_POINTER;
    }
    *info = nullptr;
    if (index != 0) {
        return DISP_E_BADINDEX;
    }
    try {
        *info = TypeInfoOf(dual).detach();
        return S_OK;
    } catch (...) {
        return FailureFromCurrentException();
    }
}

}  // namespace kel::automation
