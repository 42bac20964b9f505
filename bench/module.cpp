// What the owners of the automation folder ask every program that uses them.
#include "automation/module.h"

namespace kel::automation {

const ModuleDescription& ThisModule() noexcept {
    static constexpr ModuleDescription kModule{L"bench", {}, 0, false};
    return kModule;
}

}  // namespace kel::automation
