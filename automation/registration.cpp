// Registration of the module's classes and type library.
#include <array>

#include "automation/com_method.h"
#include "automation/module.h"
#include "automation/server.h"
#include "automation/type_library.h"

// The platform has these since version 6; the cross compiler's headers do not declare them.
extern "C" {
WINOLEAUTAPI RegisterTypeLibForUser(ITypeLib* library, OLECHAR* path, OLECHAR* helpFolder);
WINOLEAUTAPI UnRegisterTypeLibForUser(
    REFGUID guid, WORD major, WORD minor, LCID lcid, SYSKIND kind);
}

namespace kel::automation {
namespace {

std::wstring GuidText(REFGUID guid) {
    std::array<wchar_t, 40> text{};
    StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
    return text.data();
}

void CheckWin32(LSTATUS status) {
    if (status != ERROR_SUCCESS) {
        throw Error::FromCode(HRESULT_FROM_WIN32(static_cast<DWORD>(status)));
    }
}

// The root of class registration in a scope. HKCR itself for the machine: it is where this is read.
struct Root {
    HKEY hive;
    std::wstring prefix;
};

Root RootOf(RegistrationScope scope) {
    return scope == RegistrationScope::kMachine ? Root{HKEY_CLASSES_ROOT, L""}
                                                : Root{HKEY_CURRENT_USER, L"Software\\Classes\\"};
}

void SetKey(const Root& root,
            const std::wstring& key,
            const std::wstring& value,
            const wchar_t* valueName = nullptr) {
    HKEY handle = nullptr;
    CheckWin32(RegCreateKeyExW(root.hive,
                               (root.prefix + key).c_str(),
                               0,
                               nullptr,
                               0,
                               KEY_WRITE,
                               nullptr,
                               &handle,
                               nullptr));
    const LSTATUS status = RegSetValueExW(handle,
                                          valueName,
                                          0,
                                          REG_SZ,
                                          reinterpret_cast<const BYTE*>(value.c_str()),
                                          static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(handle);
    CheckWin32(status);
}

void DeleteTree(const Root& root, const std::wstring& key) {
    const std::wstring path = root.prefix + key;
    const LSTATUS status = RegDeleteTreeW(root.hive, path.c_str());
    if (status != ERROR_FILE_NOT_FOUND) {
        CheckWin32(status);
        // The tree's own key outlives its contents on some versions of the platform.
        RegDeleteKeyW(root.hive, path.c_str());
    }
}

struct LibraryIdentity {
    GUID guid;
    WORD major;
    WORD minor;
    SYSKIND kind;
};

LibraryIdentity IdentityOf(ITypeLib& library) {
    TLIBATTR* attributes = nullptr;
    Check(library.GetLibAttr(&attributes));
    const LibraryIdentity identity{
        attributes->guid, attributes->wMajorVerNum, attributes->wMinorVerNum, attributes->syskind};
    library.ReleaseTLibAttr(attributes);
    return identity;
}

void RegisterClass(const Root& root, const ClassEntry& entry, const std::wstring& library) {
    const std::wstring clsid = GuidText(entry.clsid);
    const std::wstring key = L"CLSID\\" + clsid;
    SetKey(root, key, entry.description);
    SetKey(root, key + L"\\InprocServer32", ModulePath());
    SetKey(root, key + L"\\InprocServer32", L"Apartment", L"ThreadingModel");
    SetKey(root, key + L"\\ProgID", entry.progId);
    SetKey(root, key + L"\\Programmable", L"");
    if (!library.empty()) {
        SetKey(root, key + L"\\TypeLib", library);
        SetKey(root, key + L"\\Version", L"1.0");
    }
    SetKey(root, entry.progId, entry.description);
    SetKey(root, std::wstring(entry.progId) + L"\\CLSID", clsid);
}

void RegisterLibrary(RegistrationScope scope) {
    std::wstring path = ModulePath();
    const auto library = LoadOwnTypeLibrary(1);
    // Two calls, not one through a pointer: headers differ in which of the two takes constant text.
    Check(scope == RegistrationScope::kMachine
              ? RegisterTypeLib(library.get(), path.data(), nullptr)
              : RegisterTypeLibForUser(library.get(), path.data(), nullptr));
}

void UnregisterLibrary(RegistrationScope scope) {
    const LibraryIdentity identity = IdentityOf(*LoadOwnTypeLibrary(1));
    const auto unregisterIt =
        scope == RegistrationScope::kMachine ? UnRegisterTypeLib : UnRegisterTypeLibForUser;
    const HRESULT code =
        unregisterIt(identity.guid, identity.major, identity.minor, 0, identity.kind);
    // What is not there; the second is what Wine says.
    if (code != TYPE_E_REGISTRYACCESS && code != E_INVALIDARG) {
        Check(code);
    }
}

void RegisterAll(RegistrationScope scope) {
    const Root root = RootOf(scope);
    std::wstring library;
    if (ThisModule().registersTypeLibrary) {
        RegisterLibrary(scope);
        library = GuidText(IdentityOf(*LoadOwnTypeLibrary(1)).guid);
    }
    for (const ClassEntry& entry : ThisModule().classes) {
        RegisterClass(root, entry, library);
    }
}

// Whether classes of the 32-bit and of the 64-bit version of this module have keys of their own.
bool HasOtherWidth() {
    BOOL emulated = FALSE;
    return sizeof(void*) == 8 || (IsWow64Process(GetCurrentProcess(), &emulated) && emulated);
}

// Whether the version of this module that has the other width is registered.
bool IsRegisteredInOtherWidth(RegistrationScope scope, const ClassEntry& entry) {
    if (!HasOtherWidth()) {
        return false;
    }
    constexpr REGSAM kOtherView = sizeof(void*) == 8 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY;
    const HKEY hive = scope == RegistrationScope::kMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
    const std::wstring path =
        L"Software\\Classes\\CLSID\\" + GuidText(entry.clsid) + L"\\InprocServer32";
    HKEY handle = nullptr;
    if (RegOpenKeyExW(hive, path.c_str(), 0, KEY_QUERY_VALUE | kOtherView, &handle) !=
        ERROR_SUCCESS) {
        return false;
    }
    RegCloseKey(handle);
    return true;
}

void UnregisterAll(RegistrationScope scope) {
    const Root root = RootOf(scope);
    for (const ClassEntry& entry : ThisModule().classes) {
        // First its own key: where the platform has one for both, nothing is found afterwards.
        DeleteTree(root, L"CLSID\\" + GuidText(entry.clsid));
        // The names of classes are common to both widths; they go with the last.
        if (!IsRegisteredInOtherWidth(scope, entry)) {
            DeleteTree(root, entry.progId);
        }
    }
    if (ThisModule().registersTypeLibrary) {
        UnregisterLibrary(scope);
    }
}

}  // namespace

HRESULT ServerRegister(RegistrationScope scope) noexcept {
    return ComMethod([&] {
        try {
            RegisterAll(scope);
        } catch (...) {
            Ignoring([&] { UnregisterAll(scope); });
            throw;
        }
    });
}

HRESULT ServerUnregister(RegistrationScope scope) noexcept {
    return ComMethod([&] { UnregisterAll(scope); });
}

}  // namespace kel::automation
