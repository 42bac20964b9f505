// How a back-end is found: by the number of its database kind, through the platform's registry.
#pragma once

#include "automation/com_ptr.h"
#include "automation/text.h"
#include "kelSDK.h"

namespace kel::backend {

// "kelos" + number in decimal + ".IHostDLL"
automation::Text ProgIdOf(short osType);

// Creates a back-end. Throws when no class is registered, cannot be created or does not implement
// the back-end interface.
automation::ComPtr<_mviHostDLL> Create(short osType);

// Whether a dotted version text has a major number of 2 or more. A text without "." or with
// something else than a number before it has none.
bool IsAcceptedVersion(automation::TextView version);

// Whether a back-end of an accepted version is registered; it is created to be asked and let go.
bool IsRegistered(short osType) noexcept;

}  // namespace kel::backend
