// The component's version. Plain macros, because the resource compiler reads them as well.
#pragma once

#define KEL_VERSION_MAJOR 1
#define KEL_VERSION_MINOR 0
#define KEL_VERSION_REVISION 134
