// Reading properties of a typed interface: each call is a call out, its failure an Error.
#pragma once

#include "automation/error.h"
#include "automation/variant.h"

namespace kel::automation {

template <typename Interface>
Text GetText(Interface& object, HRESULT (STDMETHODCALLTYPE Interface::*getter)(BSTR*)) {
    Bstr value;
    CallOut([&] { return (object.*getter)(value.put()); });
    return Text(value.view());
}

template <typename Interface>
bool GetFlag(Interface& object, HRESULT (STDMETHODCALLTYPE Interface::*getter)(VARIANT_BOOL*)) {
    VARIANT_BOOL value = VARIANT_FALSE;
    CallOut([&] { return (object.*getter)(&value); });
    return value != VARIANT_FALSE;
}

// A number or an enumeration.
template <typename Interface, typename Number>
Number GetNumber(Interface& object, HRESULT (STDMETHODCALLTYPE Interface::*getter)(Number*)) {
    Number value{};
    CallOut([&] { return (object.*getter)(&value); });
    return value;
}

inline VARIANT_BOOL Flag(bool value) noexcept {
    return value ? VARIANT_TRUE : VARIANT_FALSE;
}

}  // namespace kel::automation
