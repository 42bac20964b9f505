// What one DLL (or test program) of the product is: its name, its classes, its type libraries, and
// the count of what keeps it loaded.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>
#include <span>

namespace kel::automation {

// A creatable class.
struct ClassEntry {
    GUID clsid;
    const wchar_t* progId;
    const wchar_t* description;
    // Makes an object and answers it through `iid`; follows the COM rules for out parameters.
    HRESULT (*create)(REFIID iid, void** object) noexcept;
};

// Constant for the life of the module.
struct ModuleDescription {
    // Source of errors that no member claims.
    const wchar_t* name;
    std::span<const ClassEntry> classes;
    // Type libraries in the module's resources, numbered from 1. Only the first is registered, and
    // only when `registersTypeLibrary` says so.
    int typeLibraries;
    bool registersTypeLibrary;
};

// Defined once by each DLL and each test program.
const ModuleDescription& ThisModule() noexcept;

// The module's handle and the full path of its file.
HMODULE ModuleHandle() noexcept;

// Everything that forbids unloading: live objects, server locks, registered spies.
class ModuleLocks {
public:
    static void add() noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
    static void remove() noexcept { count_.fetch_sub(1, std::memory_order_acq_rel); }
    static long count() noexcept { return count_.load(std::memory_order_acquire); }

private:
    inline static std::atomic<long> count_ = 0;
};

}  // namespace kel::automation
