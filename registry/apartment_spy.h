// Notice of an apartment's end, given while COM is still alive on the thread.
#pragma once

namespace kel::registry {

// Calls `atEnd` on this thread when its apartment is about to end, once. The module stays loaded
// until then. A thread that ends without leaving its apartment gives no notice: what it held stays
// behind in memory, since nothing may be called from the loader's notification.
//   throws  the platform's error when the notice cannot be had
void WatchApartment(void (*atEnd)() noexcept);

}  // namespace kel::registry
