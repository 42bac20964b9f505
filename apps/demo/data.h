// What the demonstration takes from elsewhere, under its own roof: the client kit, and the data
// with its helpers, which it shares with the form.
#pragma once

#include "apps/atlas/import.h"
#include "apps/binding/connector.h"
#include "apps/binding/dict_item.h"
#include "apps/binding/record_text.h"

namespace kel::demo {

using namespace atlas;    // NOLINT(google-build-using-namespace): see above
using namespace binding;  // NOLINT(google-build-using-namespace): see above

}  // namespace kel::demo
