// Automation objects whose members are none of their business: what tests hand about and count.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include "automation/plain_object.h"

namespace kel::tests {

// Knows no names and has nothing to call, unless a class says otherwise.
class MuteObject : public automation::PlainObject<IDispatch> {
public:
    STDMETHODIMP GetTypeInfoCount(UINT* count) noexcept override {
        *count = 0;
        return S_OK;
    }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override {
        return DISP_E_UNKNOWNNAME;
    }
    // Not noexcept: a listener may throw at its caller.
    STDMETHODIMP Invoke(
        DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return DISP_E_MEMBERNOTFOUND;
    }
};

}  // namespace kel::tests
