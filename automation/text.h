// Text as the component handles it: UTF-16 as automation strings carry it, viewed rather than
// copied. A null BSTR is an empty text; lengths are counted, never searched for.
#pragma once

#include <windows.h>

#include <oleauto.h>

#include <string>
#include <string_view>

namespace kel::automation {

using Text = std::wstring;
using TextView = std::wstring_view;

// Views a borrowed automation string; valid as long as the string is.
inline TextView View(BSTR text) noexcept {
    return text == nullptr ? TextView() : TextView(text, SysStringLen(text));
}

// The text in lower case by the platform's locale-independent mapping. Every key field and session
// is found under this form, so that look-ups do not depend on the user's language.
Text Lower(TextView text);

// Whether `text`, taken to lower case, equals `lowered`, which already is.
bool LowerEquals(TextView text, TextView lowered);

// Decimal text without sign for positive numbers and without padding.
Text DecimalText(long number);

// Converts the whole text to a 16-bit integer by the platform's coercion rules.
//   throws  13 (type mismatch) for text that is no number, 6 (overflow) out of range
short ToShort(TextView text);

}  // namespace kel::automation
