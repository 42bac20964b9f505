// Bodies of published properties that only read or write a stored field.
#pragma once

#include "automation/com_method.h"

namespace kel::automation {

inline HRESULT GiveText(TextView text, BSTR* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = text;
    });
}

inline HRESULT TakeText(BSTR value, Text& text) noexcept {
    return ComMethod([&] { text = View(value); });
}

inline HRESULT GiveFlag(bool flag, VARIANT_BOOL* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = flag;
    });
}

inline HRESULT TakeFlag(VARIANT_BOOL value, bool& flag) noexcept {
    return ComMethod([&] { flag = value != VARIANT_FALSE; });
}

// A number or an enumeration.
template <typename Number>
HRESULT GiveNumber(Number number, Number* result) noexcept {
    return ComMethod([&] {
        Out out{result};
        out = number;
    });
}

template <typename Number>
HRESULT TakeNumber(Number value, Number& number) noexcept {
    return ComMethod([&] { number = value; });
}

}  // namespace kel::automation
