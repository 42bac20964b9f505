// What --help and the command help say.
#pragma once

#include "apps/binding/text.h"

namespace kel::kelsh {

// The text on a topic: "" for the program as a whole, "commands", or the name of a topic or
// command. Empty when there is none.
binding::Text HelpOn(const binding::Text& topic);

}  // namespace kel::kelsh
