// The exported entry points, the same for every DLL of the product. DllMain stays with each DLL:
// what it sets up differs.
#include <olectl.h>

#include <string_view>

#include "automation/server.h"

using kel::automation::RegistrationScope;

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) {
    return kel::automation::ServerGetClassObject(clsid, iid, object);
}

STDAPI DllCanUnloadNow() {
    return kel::automation::ServerCanUnloadNow();
}

STDAPI DllRegisterServer() {
    return kel::automation::ServerRegister(RegistrationScope::kMachine);
}

STDAPI DllUnregisterServer() {
    return kel::automation::ServerUnregister(RegistrationScope::kMachine);
}

// "user" registers for the current user; an empty or missing argument means the machine.
STDAPI DllInstall(BOOL install, LPCWSTR argument) {
    const std::wstring_view scopeName = argument != nullptr ? argument : L"";
    if (!scopeName.empty() && _wcsicmp(argument, L"user") != 0) {
        return E_INVALIDARG;
    }
    const RegistrationScope scope =
        scopeName.empty() ? RegistrationScope::kMachine : RegistrationScope::kUser;
    return install ? kel::automation::ServerRegister(scope)
                   : kel::automation::ServerUnregister(scope);
}
