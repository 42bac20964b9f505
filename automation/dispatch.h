// Calls by name. Every object of the product answers IDispatch through these two functions, so the
// way from a name and a variant list to a member can change in one place.
#pragma once

#include <windows.h>

#include <oaidl.h>

namespace kel::automation {

// IDispatch::GetIDsOfNames for a dual interface of the module's type libraries.
HRESULT DispatchNames(REFIID dual, REFIID riid, LPOLESTR* names, UINT count, DISPID* ids) noexcept;

// IDispatch::Invoke for a dual interface of the module's type libraries. `object` is the object
// seen as that interface.
HRESULT DispatchInvoke(REFIID dual,
                       IDispatch* object,
                       DISPID id,
                       REFIID riid,
                       WORD flags,
                       DISPPARAMS* params,
                       VARIANT* result,
                       EXCEPINFO* exception,
                       UINT* argumentIndex) noexcept;

// IDispatch::GetTypeInfo.
HRESULT DispatchTypeInfo(REFIID dual, UINT index, ITypeInfo** info) noexcept;

}  // namespace kel::automation
