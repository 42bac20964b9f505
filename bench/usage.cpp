// The process's memory, handles and windows, counted by what the platform offers.
#include "bench/usage.h"

#include <windows.h>

#include <psapi.h>

namespace kel::bench {

Usage UsageNow() {
    PROCESS_MEMORY_COUNTERS memory{};
    GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
    std::array<HANDLE, 256> heaps{};
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data());
    std::size_t used = 0;
    for (DWORD i = 0; i < count && i < heaps.size(); ++i) {
        PROCESS_HEAP_ENTRY entry{};
        while (HeapWalk(heaps[i], &entry)) {
            used += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? entry.cbData : 0;
        }
    }
    // The platform's own counter is not implemented everywhere; handles are small multiples of 4.
    std::size_t handles = 0;
    for (ULONG_PTR value = 4; value < 1 << 14; value += 4) {
        DWORD flags = 0;
        handles += GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) ? 1U : 0U;
    }
    return {memory.WorkingSetSize,
            memory.PagefileUsage,
            used,
            count,
            handles,
            GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS),
            GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS)};
}

}  // namespace kel::bench
