// The in-process server: what the four entry points of a COM DLL do for the classes of this module,
// and its registration.
#pragma once

#include <windows.h>

#include <objbase.h>

#include <string>

namespace kel::automation {

// Called first and last by DllMain; no COM is touched.
void ServerAttach(HMODULE module) noexcept;

// Full path of the module's file. Throws when the platform does not tell.
std::wstring ModulePath();

// DllGetClassObject: answers for the classes of ThisModule() and for nothing else.
HRESULT ServerGetClassObject(REFCLSID clsid, REFIID iid, void** object) noexcept;

// DllCanUnloadNow: S_OK when no object, lock or spy of this module is left.
HRESULT ServerCanUnloadNow() noexcept;

// Where registration is written: for everybody (needs rights) or for the current user.
enum class RegistrationScope { kMachine, kUser };

// Writes class identifiers, programmatic identifiers and the type library with its interfaces.
// A failure in the middle takes back what was written.
HRESULT ServerRegister(RegistrationScope scope) noexcept;

// Removes all that ServerRegister wrote; what is not there is no failure.
HRESULT ServerUnregister(RegistrationScope scope) noexcept;

}  // namespace kel::automation
