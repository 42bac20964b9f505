// Values as tests write them: numbers, texts and objects become variants and readable lines.
#pragma once

#include <concepts>
#include <string>

#include "automation/variant.h"

namespace kel::tests {

using automation::Bstr;
using automation::ComPtr;
using automation::Text;
using automation::TextView;
using automation::Variant;

// The variant that a client would pass for the value: int and long travel as 32 bits, short as 16.
template <std::same_as<bool> Flag>
Variant Value(Flag flag) {
    return Variant(flag);
}
inline Variant Value(int number) {
    return Variant(static_cast<long>(number));
}
inline Variant Value(long number) {
    return Variant(number);
}
inline Variant Value(short number) {
    return Variant(number);
}
inline Variant Value(double number) {
    Variant result;
    V_VT(result.inOut()) = VT_R8;
    V_R8(result.inOut()) = number;
    return result;
}
inline Variant Value(TextView text) {
    return Variant(text);
}
inline Variant Value(const Text& text) {
    return Variant(TextView(text));
}
inline Variant Value(const wchar_t* text) {
    return Variant(TextView(text));
}
inline Variant Value(IDispatch* object) {
    return Variant(object);
}
inline Variant Value(Variant value) {
    return value;
}

// A variant that refers to the caller's variable.
inline Variant ByRef(VARTYPE kind, void* target) {
    Variant result;
    V_VT(result.inOut()) = static_cast<VARTYPE>(kind | VT_BYREF);
    V_BYREF(result.inOut()) = target;
    return result;
}
inline Variant ByRef(BSTR* text) {
    return ByRef(VT_BSTR, text);
}
inline Variant ByRef(Bstr& text) {
    return ByRef(VT_BSTR, text.inOut());
}
inline Variant ByRef(long* number) {
    return ByRef(VT_I4, number);
}
inline Variant ByRef(short* number) {
    return ByRef(VT_I2, number);
}
inline Variant ByRef(Variant& value) {
    return ByRef(VT_VARIANT, value.inOut());
}
inline Variant ByRef(IDispatch** object) {
    return ByRef(VT_DISPATCH, object);
}

// A value as it appears in recorded lines: texts and numbers as they are, "True" and "False",
// "Empty", "Nothing", "object", "Missing"; a by-reference value as its target.
Text Shown(const VARIANT& value);

// For messages: UTF-8.
std::string Narrow(TextView text);

}  // namespace kel::tests
