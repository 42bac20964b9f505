// Patterns: nN digits, nA letters, nX any characters, n-mN between n and m of them (0: any number),
// 'text' or plain characters for themselves, ... any text; ~ before a part means anything but that.
#pragma once

#include "hosts/multivalue/text/text.h"

namespace kel::text {

// Whether the whole text is of the pattern. Takes time in proportion to the product of both
// lengths.
bool Matches(TextView text, TextView pattern);

}  // namespace kel::text
