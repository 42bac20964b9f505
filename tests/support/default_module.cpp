// The description of a test program that has no classes of its own. A program that has some defines
// ThisModule() itself; the linker then leaves this one out.
#include "automation/module.h"

namespace kel::automation {

const ModuleDescription& ThisModule() noexcept {
    static const ModuleDescription module{L"kelSDK", {}, 2, false};
    return module;
}

}  // namespace kel::automation
