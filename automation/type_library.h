// The type descriptions of the module's interfaces, loaded from its own resources so that they
// always fit the code, whatever is registered.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include "automation/com_ptr.h"

namespace kel::automation {

// The description of an interface, dispinterface or class of this module's type libraries. Loaded
// once and shared; any thread.
//   throws  the platform's error when no library knows the identifier
ComPtr<ITypeInfo> TypeInfoOf(REFGUID guid);

// Drops what TypeInfoOf keeps; for the moment before the module may be unloaded.
void ReleaseTypeInfos() noexcept;

// The module's type library with this number, from 1.
ComPtr<ITypeLib> LoadOwnTypeLibrary(int number);

}  // namespace kel::automation
