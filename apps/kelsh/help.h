// What --help and the command help say.
#pragma once

#include "automation/text.h"

namespace kel::kelsh {

// The text on a topic: "" for the program as a whole, "commands", or the name of a topic or
// command. Empty when there is none.
automation::Text HelpOn(const automation::Text& topic);

}  // namespace kel::kelsh
