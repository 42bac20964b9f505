// What the registry creates but does not know: the classes of the folders above it.
#pragma once

#include "automation/com_ptr.h"
#include "automation/text.h"
#include "kelEngine.h"
#include "kelSDK.h"

namespace kel::registry {

// Handed in once, when the component is loaded, by whoever puts it together.
struct Factories {
    // A session engine with the given session name.
    automation::ComPtr<_kelDBMS> (*makeEngine)(automation::TextView sessionName);
    // A tools object bound to a session.
    automation::ComPtr<_kelTools> (*makeTools)(automation::TextView sessionName);
};

void SetFactories(const Factories& factories) noexcept;
const Factories& TheFactories() noexcept;

}  // namespace kel::registry
