// Text as the component and its clients exchange it, and what names and numbers in it mean.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kel::binding {

using Text = std::wstring;
using TextView = std::wstring_view;

// Bytes that are no UTF-8 become replacement characters, surrogates without a partner too.
std::string ToUtf8(TextView text);
Text FromUtf8(std::string_view text);

// The component's names (of sessions, key fields, properties) ignore case. The comparison does not
// depend on the user's language.
bool SameName(TextView left, TextView right);
// The order of names, for maps.
struct NameLess {
    bool operator()(TextView left, TextView right) const;
};

// In lower case, by a mapping that does not depend on the user's language.
Text Lower(TextView text);

// The number that the whole text is; nothing for other texts and for numbers out of range.
std::optional<long> WholeNumber(TextView text);

}  // namespace kel::binding
