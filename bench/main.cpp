// bench: measures the registered component; see ./kel bench. Nothing in it is a test.
//
//   bench                  the tables of measurements
//   bench --soak [CYCLES]  long runs; exit status 1 when something grew
#include <array>
#include <cstdio>
#include <cwchar>

#include "bench/client.h"

namespace kel::bench {
namespace {

void PrintMachine() {
    std::array<wchar_t, 128> processor{};
    DWORD size = sizeof processor;
    RegGetValueW(HKEY_LOCAL_MACHINE,
                 L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
                 L"ProcessorNameString",
                 RRF_RT_REG_SZ,
                 nullptr,
                 processor.data(),
                 &size);
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    using WineVersion = const char*(__cdecl*)();
    const auto address =
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version"));
    std::printf("%ls, %lu cores, Wine %s, %zu bytes per pointer\n",
                processor.data(),
                system.dwNumberOfProcessors,
                address != nullptr ? reinterpret_cast<WineVersion>(address)() : "none",
                sizeof(void*));
}

int Run(int count, wchar_t** arguments) {
    constexpr long kMillion = 1000000;
    const TextView what = count > 1 ? arguments[1] : L"";
    if ((what == L"--child" || what == L"--plain-child") && count > 2) {
        StartUpChild(what == L"--child" ? StartUp::kComponent : StartUp::kEngine, arguments[2]);
    }
    PrintMachine();
    if (what == L"--soak") {
        return Soak(count > 2 ? std::wcstol(arguments[2], nullptr, 10) : kMillion) ? 0 : 1;
    }
    MeasureLateBound();
    MeasureCollections();
    MeasureLists();
    MeasureEvents();
    MeasureEmbedded();
    MeasureControls();
    MeasureIdleSession();
    MeasureGrowth();
    MeasureStartUp();
    std::printf("\n%d targets missed\n", MissedTargets());
    return 0;
}

}  // namespace
}  // namespace kel::bench

int wmain(int count, wchar_t** arguments) {
    CoInitialize(nullptr);
    int status = 1;
    try {
        status = kel::bench::Run(count, arguments);
    } catch (const kel::automation::Error& error) {
        std::fprintf(stderr,
                     "bench: %ls: %ls (%ld)\n",
                     error.source().c_str(),
                     error.description().c_str(),
                     error.number());
    }
    CoUninitialize();
    return status;
}
