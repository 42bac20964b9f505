#include "hosts/embedded/store/codec.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "hosts/multivalue/text/code_points.h"

namespace kel::embedded {

using text::Text;
using text::TextView;

namespace {

// Added to the first of the forms.
constexpr std::uint8_t kOneByteUnits = 0;
constexpr std::uint8_t kTwoByteUnits = 1;

constexpr std::uint8_t Form(RecordForms forms, std::uint8_t units) {
    return static_cast<std::uint8_t>(static_cast<std::uint8_t>(forms) + units);
}

// Loops over a fixed number of units: the compiler makes vector code of them at -O2.
constexpr std::size_t kBlock = 32;

bool AllBelow256(TextView text) {
    const char16_t* unit = text.data();
    std::size_t left = text.size();
    for (; left >= kBlock; left -= kBlock, unit += kBlock) {
        char16_t any = 0;
        for (std::size_t i = 0; i < kBlock; ++i) {
            any = static_cast<char16_t>(any | unit[i]);
        }
        if (any > 0xFF) {
            return false;
        }
    }
    return std::all_of(unit, unit + left, [](char16_t c) { return c <= 0xFF; });
}

template <typename From, typename To>
void Convert(const From* from, To* to, std::size_t count) {
    for (; count >= kBlock; count -= kBlock, from += kBlock, to += kBlock) {
        for (std::size_t i = 0; i < kBlock; ++i) {
            to[i] = static_cast<To>(from[i]);
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = static_cast<To>(from[i]);
    }
}

}  // namespace

std::size_t EncodeKey(TextView text, std::uint8_t* target) {
    std::uint8_t* out = target;
    for (std::size_t at = 0; at < text.size();) {
        text::EncodePoint(text::TakePoint(text, at), [&out](std::uint8_t byte) { *out++ = byte; });
    }
    return static_cast<std::size_t>(out - target);
}

std::string EncodeKey(TextView text) {
    std::string bytes(text.size() * kMaxIdBytes, '\0');
    bytes.resize(EncodeKey(text, reinterpret_cast<std::uint8_t*>(bytes.data())));
    return bytes;
}

// Written by EncodeKey, so not checked; bytes of any other origin give some text, never a fault.
void DecodeKey(Bytes bytes, Text& text) {
    text.clear();
    for (std::size_t at = 0; at < bytes.size();) {
        text::AppendPoint(text, text::TakeEncodedPoint(bytes, at));
    }
}

void EncodeRecord(TextView record, std::vector<std::uint8_t>& bytes) {
    if (AllBelow256(record)) {
        bytes.resize(1 + record.size());
        bytes[0] = Form(RecordForms::kWithChecksum, kOneByteUnits);
        Convert(record.data(), bytes.data() + 1, record.size());
        return;
    }
    bytes.resize(1 + 2 * record.size());
    bytes[0] = Form(RecordForms::kWithChecksum, kTwoByteUnits);
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(bytes.data() + 1, record.data(), 2 * record.size());
    } else {
        for (std::size_t i = 0; i < record.size(); ++i) {
            bytes[1 + 2 * i] = static_cast<std::uint8_t>(record[i]);
            bytes[2 + 2 * i] = static_cast<std::uint8_t>(record[i] >> 8);
        }
    }
}

bool DecodeRecord(RecordForms forms, Bytes bytes, Text& record) {
    if (bytes.empty()) {
        return false;
    }
    const Bytes units = bytes.subspan(1);
    if (bytes[0] == Form(forms, kOneByteUnits)) {
        record.resize(units.size());
        Convert(units.data(), record.data(), units.size());
        return true;
    }
    if (bytes[0] != Form(forms, kTwoByteUnits) || units.size() % 2 != 0) {
        return false;
    }
    record.resize(units.size() / 2);
    if constexpr (std::endian::native == std::endian::little) {
        if (!units.empty()) {
            std::memcpy(record.data(), units.data(), units.size());
        }
    } else {
        for (std::size_t i = 0; i < record.size(); ++i) {
            record[i] = static_cast<char16_t>(units[2 * i] | (units[2 * i + 1] << 8));
        }
    }
    return true;
}

}  // namespace kel::embedded
