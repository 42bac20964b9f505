#include "tests/support/backend.h"

#include <windows.h>

#include "automation/server.h"

namespace kel::tests {
namespace {

// Beside the test program, where the build puts it.
Text BackendPath() {
    const Text program = automation::ModulePath();
    return program.substr(0, program.find_last_of(L'\\') + 1) + L"kelos99.dll";
}

template <typename Function>
Function Export(HMODULE module, const char* name) {
    const auto address = reinterpret_cast<void*>(GetProcAddress(module, name));
    if (address == nullptr) {
        throw automation::Error::FromCode(HRESULT_FROM_WIN32(GetLastError()));
    }
    return reinterpret_cast<Function>(address);
}

TestBackend& Load() {
    const HMODULE module = LoadLibraryW(BackendPath().c_str());
    if (module == nullptr) {
        throw automation::Error::FromCode(HRESULT_FROM_WIN32(GetLastError()));
    }
    using Register = HRESULT(STDAPICALLTYPE*)();
    automation::Check(Export<Register>(module, "DllRegisterServer")());
    return *Export<TestBackendExport>(module, kTestBackendExport)();
}

}  // namespace

TestBackend& LoadTestBackend() {
    static TestBackend& backend = Load();  // stays until the process ends
    return backend;
}

BackendTest::BackendTest() : backend(LoadTestBackend()) {
    backend.reset();
}

void BackendTest::TearDown() {
    backend.reset();
    const LiveObjects live = backend.live();
    EXPECT_EQ(live, LiveObjects()) << live.hosts << " back-ends, " << live.arrays << " arrays, "
                                   << live.files << " files, " << live.lists << " lists";
}

}  // namespace kel::tests
