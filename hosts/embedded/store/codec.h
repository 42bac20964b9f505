// How texts become bytes in an account.
//
// Ids and names: UTF-8, with a lone surrogate as the three bytes its number gives ("WTF-8"), so
// that every text has one form, gets back to itself, and byte order is the order of code points.
//
// Records: one byte telling the form, then the units: 2, a byte each, when all are below 256 (marks
// are then the classic bytes 252 to 254); 3, two bytes each, low byte first. A checksum follows
// (checksum.h). Forms 0 and 1 are the same without checksums, in accounts of formats 1 and 2.
// Published; never renumber.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/multivalue/text/text.h"

namespace kel::embedded {

using Bytes = std::span<const std::uint8_t>;

inline Bytes BytesOf(std::string_view bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

inline constexpr std::size_t kMaxIdBytes = 3;  // per unit

// Writes the bytes of `text` to `target`, which has room for kMaxIdBytes per unit; returns how
// many.
std::size_t EncodeKey(text::TextView text, std::uint8_t* target);
std::string EncodeKey(text::TextView text);
void DecodeKey(Bytes bytes, text::Text& text);

enum class RecordForms : std::uint8_t { kWithoutChecksum = 0, kWithChecksum = 2 };

// Form and units.
void EncodeRecord(text::TextView record, std::vector<std::uint8_t>& bytes);
// False when the bytes are no record of these forms.
bool DecodeRecord(RecordForms forms, Bytes bytes, text::Text& record);

}  // namespace kel::embedded
