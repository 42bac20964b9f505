// What the process holds.
#pragma once

#include <array>
#include <cstddef>

namespace kel::bench {

// The first three in bytes. GDI and USER objects stay 0 where the platform does not count them, as
// Wine 8.
enum Resource { kWorkingSet, kCommitted, kInHeaps, kHeaps, kHandles, kGdi, kUser, kResources };
using Usage = std::array<std::size_t, kResources>;

Usage UsageNow();

}  // namespace kel::bench
