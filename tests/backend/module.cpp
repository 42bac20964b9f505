// The test back-end as a DLL: its classes and its control function.
#include "automation/object.h"
#include "automation/server.h"
#include "tests/backend/setup.h"
#include "tests/backend/state.h"

namespace kel::tests {
namespace {

// Making an object counts as a call of the object that would be made.
template <short osType>
HRESULT CreateHost(REFIID iid, void** object) noexcept {
    *object = nullptr;
    std::optional<Failure> failure;
    const HRESULT code = automation::ComMethod([&] {
        const Parameter parameter(osType);
        failure = TheState().script.run(Member::kCreate, {&parameter, 1}, [&] {
            automation::Check(MakeHost(osType)->QueryInterface(iid, object));
        });
    });
    return failure ? RaiseFailure(*failure) : code;
}

// An automation object of quite another kind.
HRESULT CreateForeign(REFIID iid, void** object) noexcept {
    return automation::ComMethod([&] {
        automation::Check(Opaque::Make(Opaque::Kind::kArray)->QueryInterface(iid, object));
    });
}

constexpr wchar_t kDescription[] = L"Back-end for tests";

const automation::ClassEntry kClasses[] = {
    {{0x0b7c3d8e, 0x94a5, 0x4e7a, {0x8f, 0x19, 0x6d, 0x02, 0xc4, 0x5b, 0xa3, 0x99}},
     L"kelos99.IHostDLL",
     kDescription,
     CreateHost<kTestOsType>},
    {{0x0b7c3d8e, 0x94a5, 0x4e7a, {0x8f, 0x19, 0x6d, 0x02, 0xc4, 0x5b, 0xa3, 0x98}},
     L"kelos98.IHostDLL",
     kDescription,
     CreateHost<kOldOsType>},
    {{0x0b7c3d8e, 0x94a5, 0x4e7a, {0x8f, 0x19, 0x6d, 0x02, 0xc4, 0x5b, 0xa3, 0x97}},
     L"kelos97.IHostDLL",
     kDescription,
     CreateHost<kUndottedOsType>},
    {{0x0b7c3d8e, 0x94a5, 0x4e7a, {0x8f, 0x19, 0x6d, 0x02, 0xc4, 0x5b, 0xa3, 0x96}},
     L"kelos96.IHostDLL",
     kDescription,
     CreateForeign},
    {{0x0b7c3d8e, 0x94a5, 0x4e7a, {0x8f, 0x19, 0x6d, 0x02, 0xc4, 0x5b, 0xa3, 0x95}},
     L"kelos95.IHostDLL",
     kDescription,
     CreateHost<kOtherOsType>},
    {{0x0b7c3d8e, 0x94a5, 0x4e7a, {0x8f, 0x19, 0x6d, 0x02, 0xc4, 0x5b, 0xa3, 0x90}},
     L"kelTests.Setup",
     L"What scripts need for tests",
     automation::CreateInstance<Setup>},
};

}  // namespace
}  // namespace kel::tests

const kel::automation::ModuleDescription& kel::automation::ThisModule() noexcept {
    static const ModuleDescription module{L"kelos99", kel::tests::kClasses, 1, false};
    return module;
}

extern "C" kel::tests::TestBackend* __cdecl KelTestBackend() {
    return &kel::tests::TheState();
}

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        kel::automation::ServerAttach(module);
        DisableThreadLibraryCalls(module);
    }
    return TRUE;
}
