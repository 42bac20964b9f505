// The per-user settings store: the classic registry key of automation programs.
#pragma once

#include "automation/text.h"

namespace kel::core {

// A text of the component's section, or `fallback` when it is absent or unreadable. Never cached: a
// change counts from the next call on. Never throws but for want of memory.
automation::Text GetSetting(const wchar_t* name, automation::TextView fallback);

}  // namespace kel::core
