// Records as text: marks, and the letters that have the same codes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "apps/binding/com.h"

namespace kel::atlas {

using binding::FromUtf8;
using binding::ToUtf8;

using Text = std::wstring;
using TextView = std::wstring_view;

// A record is attributes parted by attribute marks; an attribute is values parted by value marks; a
// value is subvalues parted by subvalue marks.
inline constexpr const wchar_t* kAttributeMark = L"\u00FE";
inline constexpr const wchar_t* kValueMark = L"\u00FD";
inline constexpr const wchar_t* kSubvalueMark = L"\u00FC";

// The marks took codes 251 to 255 long before records held anything but English. In Latin letters
// these codes are û ü ý þ ÿ: "Zürich" put into a record as it stands would be two subvalues. So a
// program that keeps such letters gives them other codes inside records, here five of those that
// are reserved for private use, and turns them back for display.
Text ToRecord(TextView text);
Text FromRecord(TextView text);

// As FromRecord, with marks as people write them down: ^ attribute, ] value, \ subvalue.
Text Readable(TextView text);

// The parts with a mark between each; empty parts at the end are left out, since a missing element
// and an empty one read alike.
Text Join(const std::vector<Text>& parts, TextView mark);
// The parts between marks, at least one.
std::vector<Text> Split(TextView text, wchar_t mark);

}  // namespace kel::atlas
