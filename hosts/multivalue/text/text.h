// The one text type of the multivalue library, and the marks that structure it.
//
// Text is a sequence of 16-bit units. Nothing here asks that they be well-formed UTF-16: zeros and
// lone surrogates are units like any other and come back as they went in.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "hosts/multivalue/layers.h"

namespace kel::text {

using Text = std::u16string;
using TextView = std::u16string_view;

// Marks part a record into attributes, an attribute into values, a value into subvalues; text marks
// stand inside the lowest element. They are stored: never renumber.
inline constexpr char16_t kTextMark = 0x00FB;
inline constexpr char16_t kSubvalueMark = 0x00FC;
inline constexpr char16_t kValueMark = 0x00FD;
inline constexpr char16_t kAttributeMark = 0x00FE;
inline constexpr char16_t kItemMark = 0x00FF;  // reserved above the attribute mark, never in an id

// The longest record, in units. A record of this length still fits into one stored row and into one
// automation string; the limit also keeps a mistaken position from asking for gigabytes of marks.
inline constexpr std::size_t kMaxRecordUnits = 0x0FFFFFFF;

}  // namespace kel::text
