// Values as tests write them: numbers, texts and objects become variants and readable lines.
#pragma once

#include <string>
#include <type_traits>

#include "automation/variant.h"

namespace kel::tests {

using automation::Bstr;
using automation::ComPtr;
using automation::Text;
using automation::TextView;
using automation::Variant;

// The variant that a client would pass for the value: int and long travel as 32 bits, short as 16.
template <typename T>
Variant Value(T&& from) {
    using Plain = std::decay_t<T>;
    if constexpr (std::is_same_v<Plain, int>) {
        return Variant(static_cast<long>(from));
    } else if constexpr (std::is_same_v<Plain, double>) {
        Variant result;
        V_VT(result.inOut()) = VT_R8;
        V_R8(result.inOut()) = from;
        return result;
    } else if constexpr (std::is_convertible_v<T, TextView>) {
        return Variant(TextView(from));
    } else {
        return Variant(std::forward<T>(from));
    }
}

// A variant that refers to the caller's variable.
inline Variant ByRef(VARTYPE kind, void* target) {
    Variant result;
    V_VT(result.inOut()) = static_cast<VARTYPE>(kind | VT_BYREF);
    V_BYREF(result.inOut()) = target;
    return result;
}
template <typename T>
Variant ByRef(T* target) {
    return ByRef(std::is_same_v<T, BSTR>    ? VT_BSTR
                 : std::is_same_v<T, long>  ? VT_I4
                 : std::is_same_v<T, short> ? VT_I2
                                            : VT_DISPATCH,
                 target);
}
inline Variant ByRef(Bstr& text) {
    return ByRef(VT_BSTR, text.inOut());
}
inline Variant ByRef(Variant& value) {
    return ByRef(VT_VARIANT, value.inOut());
}

// A value as it appears in recorded lines: texts and numbers as they are, "True" and "False",
// "Empty", "Nothing", "object", "Missing"; a by-reference value as its target.
Text Shown(const VARIANT& value);

// For messages: UTF-8.
std::string Narrow(TextView text);

}  // namespace kel::tests
