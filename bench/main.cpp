// bench: measures the registered component; see ./kel bench. Nothing in it is a test.
//
//   bench                  the tables of measurements
//   bench --soak [CYCLES]  long runs; exit status 1 when something grew
#include <array>
#include <cstdio>
#include <optional>

#include "apps/command_line/command_line.h"
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

struct Options {
    bool soak = false;
    long cycles = 1000000;
    std::optional<StartUp> child;
    Text account;  // of the child
};

Options ParseOptions(const std::vector<Text>& arguments) {
    Options options;
    CLI::App program("Measures the registered component.", "bench");
    std::string component;
    std::string engine;
    CLI::Option* const soak =
        program
            .add_option("--soak", options.cycles, "long runs; exit status 1 when something grew")
            ->expected(0, 1);
    // Its own children.
    CLI::Option* const child = program.add_option("--child", component)->group("");
    CLI::Option* const plainChild = program.add_option("--plain-child", engine)->group("");
    command_line::Parse(program, arguments);
    options.soak = soak->count() > 0;
    if (child->count() + plainChild->count() > 0) {
        options.child = child->count() > 0 ? StartUp::kComponent : StartUp::kEngine;
        options.account = binding::FromUtf8(component + engine);
    }
    return options;
}

int Run(const Options& options) {
    if (options.child) {
        StartUpChild(*options.child, options.account);
    }
    PrintMachine();
    if (options.soak) {
        return Soak(options.cycles) ? 0 : 1;
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
    try {
        const kel::binding::Apartment apartment;
        return kel::bench::Run(kel::bench::ParseOptions({arguments + 1, arguments + count}));
    } catch (const CLI::Success& asked) {
        std::printf("bench [--soak [CYCLES]]\n");
        return asked.get_exit_code();
    } catch (const kel::binding::Error& error) {
        std::fprintf(
            stderr, "bench: %ls: %s (%ld)\n", error.source().c_str(), error.what(), error.number());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench: %s\n", error.what());
    }
    return 1;
}
