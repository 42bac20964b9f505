// Calls by name. Every object of the product answers IDispatch through these functions.
//
// They take what automation clients really send: any type that converts, variables of any type for
// by-reference parameters, named and left-out arguments, an object put where it should be set, a
// property read as a method.
#pragma once

#include "automation/dispatch_table.h"

namespace kel::automation {

// IDispatch::GetIDsOfNames: a member's name, then names of its parameters.
HRESULT DispatchNames(
    const DispatchTable& table, REFIID riid, LPOLESTR* names, UINT count, DISPID* ids) noexcept;

// IDispatch::Invoke. The object is held for the call, which may release its last other reference.
//   object  the object seen as the interface that the table is for
HRESULT DispatchInvoke(const DispatchTable& table,
                       IDispatch* object,
                       DISPID id,
                       REFIID riid,
                       LCID lcid,
                       WORD flags,
                       DISPPARAMS* params,
                       VARIANT* result,
                       EXCEPINFO* exception,
                       UINT* argumentIndex) noexcept;

// IDispatch::GetTypeInfo for an interface or class of the module's type libraries.
HRESULT DispatchTypeInfo(REFIID type, UINT index, ITypeInfo** info) noexcept;

}  // namespace kel::automation
