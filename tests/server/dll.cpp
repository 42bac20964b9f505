#include "tests/server/dll.h"

#include <utility>

#include "automation/error.h"
#include "automation/server.h"

namespace kel::tests {

Text ProductPath(const wchar_t* name) {
    const Text program = automation::ModulePath();
    const Text tests = program.substr(0, program.find_last_of(L'\\'));
    return tests.substr(0, tests.find_last_of(L'\\') + 1) + L"bin\\" + name;
}

Dll::Dll(const Text& name) {
    const bool isProduct = name.find(L'\\') == Text::npos;
    module_ = LoadLibraryW(isProduct ? ProductPath(name.c_str()).c_str() : name.c_str());
    if (module_ == nullptr) {
        throw automation::Error::FromCode(HRESULT_FROM_WIN32(GetLastError()));
    }
    if (isProduct) {
        // The C++ runtime in a DLL holds some kernel handles for each thread that met an exception
        // there, and loses them when it is unloaded. One life of the DLL is enough for the tests.
        HMODULE pinned = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN, name.c_str(), &pinned);
    }
}

void Dll::free() {
    if (module_ != nullptr) {
        FreeLibrary(std::exchange(module_, nullptr));
    }
}

template <typename Function>
Function Dll::entry(const char* name) const {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
}

HRESULT Dll::getClassObject(REFCLSID clsid, REFIID iid, void** object) const {
    return entry<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>("DllGetClassObject")(
        clsid, iid, object);
}

HRESULT Dll::canUnloadNow() const {
    return entry<HRESULT(STDAPICALLTYPE*)()>("DllCanUnloadNow")();
}

HRESULT Dll::registerServer() const {
    return entry<HRESULT(STDAPICALLTYPE*)()>("DllRegisterServer")();
}

HRESULT Dll::unregisterServer() const {
    return entry<HRESULT(STDAPICALLTYPE*)()>("DllUnregisterServer")();
}

HRESULT Dll::install(bool install, const wchar_t* argument) const {
    return entry<HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR)>("DllInstall")(install, argument);
}

}  // namespace kel::tests
