// kelSDK.dll: the creatable classes, and what puts the folders together.
#include <array>

#include "automation/module.h"
#include "automation/object.h"
#include "automation/server.h"
#include "backend/empty_host.h"
#include "client/dict_item.h"
#include "client/tools.h"
#include "engine/dbms.h"
#include "registry/base.h"
#include "registry/factories.h"
#include "registry/thread_registry.h"

namespace kel {
namespace {

using automation::ClassEntry;
using automation::ComPtr;
using automation::TextView;

constexpr std::array kClasses{
    ClassEntry{__uuidof(kelBase),
               L"kelSDK.kelBase",
               L"kelSDK root object",
               automation::CreateInstance<registry::Base>},
    ClassEntry{__uuidof(kelDictItem),
               L"kelSDK.kelDictItem",
               L"kelSDK dictionary item",
               automation::CreateInstance<client::DictItem>},
    ClassEntry{__uuidof(mviHostDLL),
               L"kelSDK.mviHostDLL",
               L"kelSDK back-end interface",
               automation::CreateInstance<backend::EmptyHost>},
};

// Type libraries in the resources: the public one and the engine's.
constexpr int kTypeLibraries = 2;

constexpr automation::ModuleDescription kModule{L"kelSDK", kClasses, kTypeLibraries, true};

ComPtr<_kelDBMS> MakeEngine(TextView sessionName) {
    return automation::Make<engine::Dbms>(sessionName);
}

ComPtr<_kelTools> MakeTools(TextView sessionName) {
    return automation::Make<client::Tools>(sessionName);
}

}  // namespace

const automation::ModuleDescription& automation::ThisModule() noexcept {
    return kModule;
}

}  // namespace kel

// No COM here: the loader's lock is held.
extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        kel::automation::ServerAttach(module);
        kel::registry::SetFactories({kel::MakeEngine, kel::MakeTools});
        return kel::registry::ThreadRegistry::AttachProcess() ? TRUE : FALSE;
    }
    // At the end of the process nothing is given back: other threads may still be in here.
    if (reason == DLL_PROCESS_DETACH && reserved == nullptr) {
        kel::registry::ThreadRegistry::DetachProcess();
    }
    return TRUE;
}
