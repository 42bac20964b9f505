// Text on its way between the component, the portable library, files and pipes.
#pragma once

#include <string>
#include <string_view>

#include "apps/binding/record_text.h"
#include "hosts/multivalue/text/text.h"

namespace kel::kelsh {

using binding::FromRecord;
using binding::FromUtf8;
using binding::kAttributeMark;
using binding::kSubvalueMark;
using binding::kValueMark;
using binding::Split;
using binding::Text;
using binding::TextView;
using binding::ToRecord;
using binding::ToUtf8;

// The same 16-bit units under two names.
inline text::Text Units(TextView text) {
    return text::Text(text.begin(), text.end());
}
inline Text Wide(text::TextView text) {
    return Text(text.begin(), text.end());
}

}  // namespace kel::kelsh
