#include "automation/dispatch.h"

#include "automation/com_method.h"
#include "automation/type_library.h"

namespace kel::automation {

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
        return TypeInfoOf(dual)->Invoke(
            object, id, flags, params, result, exception, argumentIndex);
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
