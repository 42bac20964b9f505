// kelos1.dll: the embedded back-end.
#include <array>

#include "automation/module.h"
#include "automation/server.h"
#include "hosts/embedded/host.h"

namespace kel {
namespace {

constexpr std::array kClasses{automation::ClassEntry{
    {0xf9400713, 0x436c, 0x4cd3, {0xac, 0xe3, 0xe8, 0x55, 0x06, 0xbd, 0x90, 0x72}},
    L"kelos1.IHostDLL",
    L"kelSDK embedded multivalue database",
    automation::CreateInstance<embedded::Host>}};

// The component's public library and the one of stored programs, so that objects describe
// themselves without registration; it is the component that registers the former.
constexpr automation::ModuleDescription kModule{L"kelos1", kClasses, 2, false};

}  // namespace

const automation::ModuleDescription& automation::ThisModule() noexcept {
    return kModule;
}

}  // namespace kel

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        kel::automation::ServerAttach(module);
    }
    return TRUE;
}
