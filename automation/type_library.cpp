// The type descriptions of the module, loaded once from its own resource.
#include "automation/type_library.h"

#include <array>
#include <string>
#include <vector>

#include "automation/error.h"
#include "automation/module.h"
#include "automation/server.h"

namespace kel::automation {
namespace {

struct KnownType {
    GUID guid;
    ComPtr<ITypeInfo> info;
};

// Guarded by `lock`. A plain pointer, so that nothing runs in COM when the process ends.
SRWLOCK lock = SRWLOCK_INIT;
std::vector<KnownType>* known = nullptr;

class Guard {
public:
    Guard() noexcept { AcquireSRWLockExclusive(&lock); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    ~Guard() { ReleaseSRWLockExclusive(&lock); }
};

ComPtr<ITypeInfo> Find(REFGUID guid) {
    for (int number = 1; number <= ThisModule().typeLibraries; ++number) {
        ComPtr<ITypeInfo> info;
        if (SUCCEEDED(LoadOwnTypeLibrary(number)->GetTypeInfoOfGuid(guid, info.put()))) {
            // A dual interface is found as its dispatch half; calls go through its table half.
            return info;
        }
    }
    throw Error::FromCode(TYPE_E_ELEMENTNOTFOUND);
}

}  // namespace

ComPtr<ITypeInfo> TypeInfoOf(REFGUID guid) {
    const Guard guard;
    if (known == nullptr) {
        known = new std::vector<KnownType>();
    }
    for (const KnownType& type : *known) {
        if (IsEqualGUID(type.guid, guid)) {
            return type.info;
        }
    }
    known->push_back({guid, Find(guid)});
    return known->back().info;
}

void ReleaseTypeInfos() noexcept {
    std::vector<KnownType>* last = nullptr;
    {
        const Guard guard;
        last = std::exchange(known, nullptr);
    }
    delete last;
}

ComPtr<ITypeLib> LoadOwnTypeLibrary(int number) {
    const std::wstring path = ModulePath() + L"\\" + std::to_wstring(number);
    ComPtr<ITypeLib> library;
    Check(LoadTypeLibEx(path.c_str(), REGKIND_NONE, library.put()));
    return library;
}

}  // namespace kel::automation
