// Bringing accounts of earlier formats to the present one.
#pragma once

#include "hosts/embedded/store/database.h"

namespace kel::embedded {

// Converts the account in `file` in one transaction: all of it, or nothing. Needs it alone, as a
// session of the earlier format would not understand what it reads afterwards; waits busyWaitMs
// for that (kBusy). `path` is for messages. Nothing is done if another process was faster.
void ConvertAccount(text::TextView path, text::TextView file, int busyWaitMs);

}  // namespace kel::embedded
