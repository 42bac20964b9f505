// Digits and letters. Letters are those of ASCII: codes and expressions were made for these, and
// stored data depends on what they change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "hosts/multivalue/text/text.h"

namespace kel::text {

constexpr char16_t UpperAscii(char16_t unit) {
    return unit >= u'a' && unit <= u'z' ? static_cast<char16_t>(unit - 0x20) : unit;
}
constexpr char16_t LowerAscii(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 0x20) : unit;
}
constexpr bool IsDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}
constexpr bool IsLetter(char16_t unit) {
    return UpperAscii(unit) >= u'A' && UpperAscii(unit) <= u'Z';
}

inline void AppendInteger(Text& out, std::int64_t number) {
    char16_t digits[24];
    std::size_t at = std::size(digits);
    const bool isNegative = number < 0;
    auto magnitude = static_cast<std::uint64_t>(number);
    if (isNegative) {
        magnitude = 0 - magnitude;
    }
    do {
        digits[--at] = static_cast<char16_t>(u'0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (isNegative) {
        digits[--at] = u'-';
    }
    out.append(digits + at, std::size(digits) - at);
}

}  // namespace kel::text
