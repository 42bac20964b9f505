#include "tests/support/resources.h"

#include <windows.h>

#include <objbase.h>
#include <objidl.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <unordered_set>

#include "automation/module.h"
#include "automation/type_library.h"

namespace kel::tests {
namespace {

constexpr std::array kProductModules = {L"kelSDK.dll", L"kelos1.dll", L"kelos99.dll"};

// C memory, so that the spy neither sees itself nor fails where a test makes C++ memory fail.
template <typename T>
struct PlainMemory {
    using value_type = T;
    PlainMemory() = default;
    template <typename U>
    PlainMemory(const PlainMemory<U>&) {}  // NOLINT(google-explicit-constructor): an allocator's
    T* allocate(std::size_t count) {
        return static_cast<T*>(
            std::malloc(count * sizeof(T)));  // NOLINT(bugprone-sizeof-expression)
    }
    void deallocate(T* block, std::size_t) { std::free(block); }
    friend bool operator==(const PlainMemory&, const PlainMemory&) { return true; }
};

// Sees every allocation of the task allocator. The platform calls it under a lock of its own, from
// before an allocation until after it.
class MallocSpy final : public IMallocSpy {
public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IMallocSpy);
        *object = known ? this : nullptr;
        return known ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return 2; }  // lives as long as the process
    STDMETHODIMP_(ULONG) Release() noexcept override { return 1; }

    STDMETHODIMP_(SIZE_T) PreAlloc(SIZE_T bytes) noexcept override { return pending_ = bytes; }
    STDMETHODIMP_(void*) PostAlloc(void* block) noexcept override {
        add(block);
        return block;
    }
    STDMETHODIMP_(void*) PreFree(void* block, BOOL spied) noexcept override {
        if (spied) {
            blocks_.erase(block);
        }
        return block;
    }
    STDMETHODIMP_(void) PostFree(BOOL) noexcept override {}
    STDMETHODIMP_(SIZE_T)
    PreRealloc(void* block, SIZE_T bytes, void** passed, BOOL) noexcept override {
        *passed = former_ = block;
        return pending_ = bytes;
    }
    STDMETHODIMP_(void*) PostRealloc(void* block, BOOL spied) noexcept override {
        if (spied && (block != nullptr || pending_ == 0)) {
            blocks_.erase(former_);
            add(block);
        }
        return block;
    }
    STDMETHODIMP_(void*) PreGetSize(void* block, BOOL) noexcept override { return block; }
    STDMETHODIMP_(SIZE_T) PostGetSize(SIZE_T bytes, BOOL) noexcept override { return bytes; }
    STDMETHODIMP_(void*) PreDidAlloc(void* block, BOOL) noexcept override { return block; }
    STDMETHODIMP_(int) PostDidAlloc(void*, BOOL, int answer) noexcept override { return answer; }
    STDMETHODIMP_(void) PreHeapMinimize() noexcept override {}
    STDMETHODIMP_(void) PostHeapMinimize() noexcept override {}

    using Blocks = std::unordered_set<void*, std::hash<void*>, std::equal_to<>, PlainMemory<void*>>;
    const Blocks& blocks() const { return blocks_; }

private:
    void add(void* block) {
        if (block != nullptr) {
            blocks_.insert(block);
        }
    }

    Blocks blocks_;
    SIZE_T pending_ = 0;
    void* former_ = nullptr;
};

MallocSpy& Spy() {
    static auto* const spy = new MallocSpy();
    return *spy;
}

// The platform's own counter is not implemented everywhere; handles are small multiples of 4.
long CountHandles() {
    constexpr ULONG_PTR kHighest = 4096;
    constexpr ULONG_PTR kStep = 4;
    long count = 0;
    for (ULONG_PTR value = kStep; value < kHighest; value += kStep) {
        DWORD flags = 0;
        // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is a number
        const auto handle = reinterpret_cast<HANDLE>(value);
        count += GetHandleInformation(handle, &flags) ? 1 : 0;
    }
    return count;
}

long forgivenHandles = 0;
long forgivenBlocks = 0;
long forgivenModules = 0;

long LiveBlocks() {
    return static_cast<long>(Spy().blocks().size());
}

// Asking whether a module may go makes it drop what it keeps for speed.
long CountLockedModules() {
    return static_cast<long>(
        std::count_if(kProductModules.begin(), kProductModules.end(), [](const wchar_t* name) {
            const HMODULE module = GetModuleHandleW(name);
            if (module == nullptr) {
                return false;
            }
            using CanUnloadNow = HRESULT(STDAPICALLTYPE*)();
            const auto canUnload = reinterpret_cast<CanUnloadNow>(
                reinterpret_cast<void*>(GetProcAddress(module, "DllCanUnloadNow")));
            return canUnload != nullptr && canUnload() != S_OK;
        }));
}

}  // namespace

void StartResourceCounting() {
    CoRegisterMallocSpy(&Spy());
}

ForgivenHandles::ForgivenHandles() : before_(CountHandles()) {}

ForgivenHandles::~ForgivenHandles() {
    forgivenHandles += CountHandles() - before_;
}

ForgivenBlocks::ForgivenBlocks() : before_(LiveBlocks()) {}

ForgivenBlocks::~ForgivenBlocks() {
    forgivenBlocks += LiveBlocks() - before_;
}

ForgivenModules::ForgivenModules() : before_(CountLockedModules()) {}

ForgivenModules::~ForgivenModules() {
    forgivenModules += CountLockedModules() - before_;
}

void SettleResources() {
    SetErrorInfo(0, nullptr);
    automation::ReleaseTypeInfos();
    CountLockedModules();
    CoFreeUnusedLibrariesEx(0, 0);
}

ResourceCounts CountResources(bool withHandles) {
    ResourceCounts counts;
    counts.lockedModules = CountLockedModules() - forgivenModules;
    counts.objects = automation::ModuleLocks::count();
    counts.blocks = LiveBlocks() - forgivenBlocks;
    counts.heaps = static_cast<long>(GetProcessHeaps(0, nullptr));
    counts.handles = withHandles ? CountHandles() - forgivenHandles : 0;
    counts.drawing = static_cast<long>(GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS) +
                                       GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS));
    return counts;
}

std::string Growth(const ResourceCounts& before, const ResourceCounts& after) {
    std::string text;
    const auto compare = [&](long former, long now, const char* what) {
        if (now > former) {
            text += (text.empty() ? "" : "; ") + std::to_string(now - former) + " more " + what;
        }
    };
    compare(before.blocks, after.blocks, "memory blocks");
    compare(before.objects, after.objects, "objects");
    compare(before.lockedModules, after.lockedModules, "DLLs that cannot be unloaded");
    compare(before.heaps, after.heaps, "private heaps");
    compare(before.drawing, after.drawing, "GDI or USER objects");
    // The platform opens some of its own on first use and keeps them.
    constexpr long kPlatformHandles = 16;
    compare(before.handles + kPlatformHandles, after.handles, "kernel handles");
    return text;
}

}  // namespace kel::tests
