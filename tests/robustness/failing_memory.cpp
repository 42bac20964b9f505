#include "tests/robustness/failing_memory.h"

#include <windows.h>

#include <oleauto.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace kel::tests {
namespace {

DWORD thread = 0;
bool armed = false;
long counted = 0;
long failing = 0;

bool Refuses() noexcept {
    return armed && GetCurrentThreadId() == thread && ++counted == failing;
}

template <auto original>
struct Import;
template <typename R, typename... A, R(WINAPI* original)(A...)>
struct Import<original> {
    static inline R(WINAPI* target)(A...) = nullptr;
    static R WINAPI Call(A... arguments) { return Refuses() ? R{} : target(arguments...); }
};
// The ones that answer with a code.
template <auto original>
struct CodeImport {
    static inline decltype(original) target = nullptr;
    static HRESULT WINAPI Call(VARIANTARG* to, const VARIANTARG* from) {
        return Refuses() ? E_OUTOFMEMORY : target(to, const_cast<VARIANTARG*>(from));
    }
};

// Replaces an imported function of this program by ours.
template <typename Redirected>
void Redirect(const char* name) {
    auto* base = reinterpret_cast<BYTE*>(GetModuleHandleW(nullptr));
    const auto* dos = reinterpret_cast<IMAGE_DOS_HEADER*>(base);
    const auto* nt = reinterpret_cast<IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const auto& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    auto* module = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
    for (; module->Name != 0; ++module) {
        auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + module->OriginalFirstThunk);
        auto* slots = reinterpret_cast<IMAGE_THUNK_DATA*>(base + module->FirstThunk);
        // Some libraries import by number, which the platform resolves to the same address.
        const auto wanted = reinterpret_cast<ULONG_PTR>(reinterpret_cast<void*>(
            GetProcAddress(GetModuleHandleA(reinterpret_cast<char*>(base + module->Name)), name)));
        for (; wanted != 0 && names->u1.AddressOfData != 0; ++names, ++slots) {
            if (slots->u1.Function != wanted) {
                continue;
            }
            DWORD protection = 0;
            VirtualProtect(slots, sizeof(*slots), PAGE_READWRITE, &protection);
            std::memcpy(&Redirected::target, &slots->u1.Function, sizeof(void*));
            slots->u1.Function =
                reinterpret_cast<ULONG_PTR>(reinterpret_cast<void*>(&Redirected::Call));
            VirtualProtect(slots, sizeof(*slots), protection, &protection);
        }
    }
}

}  // namespace

void InstallFailingMemory() {
    Redirect<Import<&SysAllocString>>("SysAllocString");
    Redirect<Import<&SysAllocStringLen>>("SysAllocStringLen");
    Redirect<Import<&SysAllocStringByteLen>>("SysAllocStringByteLen");
    Redirect<Import<&SysReAllocStringLen>>("SysReAllocStringLen");
    Redirect<Import<&CoTaskMemAlloc>>("CoTaskMemAlloc");
    Redirect<Import<&HeapCreate>>("HeapCreate");
    Redirect<Import<&HeapAlloc>>("HeapAlloc");
    Redirect<Import<&HeapReAlloc>>("HeapReAlloc");
    Redirect<CodeImport<&VariantCopy>>("VariantCopy");
    Redirect<CodeImport<&VariantCopyInd>>("VariantCopyInd");
}

Armed::Armed(long number) {
    thread = GetCurrentThreadId();
    failing = number;
    counted = 0;
    armed = true;
}

Armed::~Armed() {
    armed = false;
}

Disarmed::Disarmed() : former_(armed) {
    armed = false;
}

Disarmed::~Disarmed() {
    armed = former_;
}

long AllocationsCounted() {
    return counted;
}

bool AllocationFailed() {
    return counted >= failing;
}

namespace {
void* Allocate(std::size_t bytes) noexcept {
    return Refuses() ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
}
}  // namespace

void* AllocateOrThrow(std::size_t bytes) {
    void* const block = Allocate(bytes);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

}  // namespace kel::tests

void* operator new(std::size_t bytes) {
    return kel::tests::AllocateOrThrow(bytes);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
