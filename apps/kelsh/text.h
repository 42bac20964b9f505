// Text on its way between the component, the portable library, files and pipes.
#pragma once

#include <string>
#include <string_view>

#include "automation/text.h"
#include "hosts/multivalue/text/text.h"

namespace kel::kelsh {

using automation::Text;
using automation::TextView;

// The marks between the parts of a record.
inline constexpr wchar_t kAttributeMark = L'\u00FE';
inline constexpr wchar_t kValueMark = L'\u00FD';
inline constexpr wchar_t kSubvalueMark = L'\u00FC';

// The same 16-bit units under two names.
inline text::Text Units(TextView text) {
    return text::Text(text.begin(), text.end());
}
inline Text Wide(text::TextView text) {
    return Text(text.begin(), text.end());
}

Text FromUtf8(std::string_view bytes);
std::string ToUtf8(TextView text);

// Letters that have the codes of marks take others inside records.
Text ToStoredLetters(TextView text);
Text ToShownLetters(TextView text);

}  // namespace kel::kelsh
