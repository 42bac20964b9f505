// Code points in units of text and in bytes of UTF-8. Surrogates without a partner count as code
// points of their own, so that every text can be gone through and put together again.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hosts/multivalue/text/text.h"

namespace kel::text {

constexpr bool IsHighSurrogate(char32_t point) {
    return point >= 0xD800 && point < 0xDC00;
}
constexpr bool IsLowSurrogate(char32_t point) {
    return point >= 0xDC00 && point < 0xE000;
}

// The code point at `at`, which goes on behind it. Not at the end.
constexpr char32_t TakePoint(TextView text, std::size_t& at) {
    const char32_t unit = text[at++];
    if (!IsHighSurrogate(unit) || at == text.size() || !IsLowSurrogate(text[at])) {
        return unit;
    }
    return 0x10000 + ((unit & 0x3FF) << 10) + (text[at++] & 0x3FFU);
}

constexpr void AppendPoint(Text& text, char32_t point) {
    if (point >= 0x10000) {
        text.push_back(static_cast<char16_t>(0xD7C0 + (point >> 10)));
        text.push_back(static_cast<char16_t>(0xDC00 + (point & 0x3FF)));
    } else {
        text.push_back(static_cast<char16_t>(point));
    }
}

// Calls put(byte) with the one to four bytes of a code point: UTF-8 (RFC 3629), and three bytes for
// a surrogate, which UTF-8 proper has none for.
template <typename Put>
constexpr void EncodePoint(char32_t point, Put put) {
    const auto byte = [&put](char32_t bits) { put(static_cast<std::uint8_t>(bits)); };
    if (point < 0x80) {
        return byte(point);
    }
    if (point < 0x800) {
        byte(0xC0 | (point >> 6));
    } else {
        if (point < 0x10000) {
            byte(0xE0 | (point >> 12));
        } else {
            byte(0xF0 | (point >> 18));
            byte(0x80 | ((point >> 12) & 0x3F));
        }
        byte(0x80 | ((point >> 6) & 0x3F));
    }
    byte(0x80 | (point & 0x3F));
}

// The code point that `bytes`, as EncodePoint makes them, have at `at`, which goes on behind it.
// Nothing is checked: other bytes give some code point. Not at the end.
template <typename Bytes>
constexpr char32_t TakeEncodedPoint(const Bytes& bytes, std::size_t& at) {
    const auto lead = static_cast<std::uint8_t>(bytes[at++]);
    const int more = lead < 0xC0 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
    char32_t point = more == 0 ? lead : lead & (0x3FU >> more);
    for (int i = 0; i < more && at < bytes.size(); ++i) {
        point = (point << 6) | (static_cast<std::uint8_t>(bytes[at++]) & 0x3FU);
    }
    return point;
}

}  // namespace kel::text
