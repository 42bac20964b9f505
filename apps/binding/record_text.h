// Records as text: marks, and the letters that have the same codes.
#pragma once

#include <vector>

#include "apps/binding/text.h"

namespace kel::binding {

// A record is attributes parted by attribute marks; an attribute is values parted by value marks; a
// value is subvalues parted by subvalue marks.
inline constexpr const wchar_t* kAttributeMark = L"\u00FE";
inline constexpr const wchar_t* kValueMark = L"\u00FD";
inline constexpr const wchar_t* kSubvalueMark = L"\u00FC";

// Letters that have the codes of marks take others inside records (letters.h says why).
Text ToRecord(TextView text);
Text FromRecord(TextView text);

// As FromRecord, with marks as people write them down: ^ attribute, ] value, \ subvalue.
Text Readable(TextView text);

// The parts with a mark between each; empty parts at the end are left out, since a missing element
// and an empty one read alike.
Text Join(const std::vector<Text>& parts, TextView mark);
// The parts between marks, at least one.
std::vector<Text> Split(TextView text, wchar_t mark);

}  // namespace kel::binding
