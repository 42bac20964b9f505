// The data and its helpers, which the demonstration shares with other programs, under its own roof.
#pragma once

#include "apps/atlas/import.h"
#include "apps/atlas/record_text.h"

namespace kel::demo {

using namespace atlas;  // NOLINT(google-build-using-namespace): see above

}  // namespace kel::demo
