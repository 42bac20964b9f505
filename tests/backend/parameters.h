// The parameters of a call as variants, so that scripts handle all calls alike.
#pragma once

#include "tests/backend/script.h"

namespace kel::tests {

// Incoming parameters; texts and objects are borrowed.
inline Parameter In(TextView name, BSTR text) {
    Parameter parameter{name, {}};
    V_VT(&parameter.place) = VT_BSTR;
    V_BSTR(&parameter.place) = text;
    return parameter;
}
inline Parameter In(TextView name, IDispatch* object) {
    Parameter parameter{name, {}};
    V_VT(&parameter.place) = VT_DISPATCH;
    V_DISPATCH(&parameter.place) = object;
    return parameter;
}
inline Parameter In(TextView name, long number) {
    return {name, Value(number).get()};
}
inline Parameter In(TextView name, short number) {
    return {name, Value(number).get()};
}
inline Parameter InFlag(TextView name, VARIANT_BOOL flag) {
    return {name, Value(flag != VARIANT_FALSE).get()};
}

// By-reference parameters. A null address stays one and is refused by the entry.
template <typename T>
Parameter InOut(TextView name, T* target) {
    if constexpr (std::is_same_v<T, VARIANT>) {
        const bool missing = target != nullptr && automation::IsMissing(target);
        return {name, missing ? *target : ByRef(VT_VARIANT, target).get()};
    } else {
        return {name, ByRef(target).get()};
    }
}

// The result: emptied at once.
template <typename T>
Parameter Result(T* target) {
    if (target != nullptr) {
        *target = T{};
    }
    if constexpr (std::is_enum_v<T>) {
        return {{}, ByRef(VT_I4, target).get()};
    } else if constexpr (std::is_same_v<T, VARIANT>) {
        return {{}, ByRef(VT_VARIANT, target).get()};
    } else {
        return {{}, ByRef(target).get()};
    }
}
inline Parameter FlagResult(VARIANT_BOOL* target) {
    Parameter result = Result(target);
    V_VT(&result.place) = VT_BYREF | VT_BOOL;
    return result;
}

inline bool IsNullReference(const Parameter& parameter) {
    return (V_VT(&parameter.place) & VT_BYREF) != 0 && V_BYREF(&parameter.place) == nullptr;
}

}  // namespace kel::tests
