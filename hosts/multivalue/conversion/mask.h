// Masks: places for characters among literal text. #n are n places filled up with blanks, %n with
// zeros, *n with stars (n is 1 when left out); every other character stands for itself.
#pragma once

#include <cstddef>

#include "hosts/multivalue/text/text.h"

namespace kel::conversion {

constexpr bool IsMaskPlace(char16_t unit) {
    return unit == u'#' || unit == u'%' || unit == u'*';
}

// Appends `value` laid into `mask`, its first characters from the left, or its last ones from the
// right; what finds no place is dropped. False, with nothing appended, when the mask is too wide.
bool AppendMasked(Text& out, TextView value, TextView mask, bool fromRight);

}  // namespace kel::conversion
