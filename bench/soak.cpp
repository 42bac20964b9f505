// Long runs of reading, editing and writing with events: nothing may grow.
#include <array>
#include <cstdio>

#include "bench/client.h"
#include "bench/usage.h"
#include "tests/backend/test_backend.h"

namespace kel::bench {
namespace {

constexpr long kIds = 100;

// The resources of Usage, each with its name and what a run may need more for the platform's
// caches.
struct Measure {
    const char* name;
    std::size_t allowed;
};
constexpr std::size_t kMega = 1 << 20;
constexpr std::array<Measure, kResources> kMeasures{{{"working set", kMega},
                                                     {"committed", kMega},
                                                     {"in heaps", 1 << 14},
                                                     {"heaps", 0},
                                                     {"handles", 0},
                                                     {"GDI", 0},
                                                     {"USER", 0}}};

void Cycle(const Client& client, _kelDictItem& item, long number) {
    const Str text(Numbered(number % kIds));
    Check(client.tools->mvReadU(client.key.get(), text.get(), client.file.get()));
    Check(item.put_ExternalValue(0, text.get()));
    Check(client.tools->Replace(client.key.get(), text.get(), 3, 1, 0));
    Check(client.tools->mvWrite(client.key.get(), nullptr, client.file.get()));
}

// `between` runs now and then, for what a back-end keeps that is not the component's.
template <typename Between>
bool Run(const char* name, const Client& client, long cycles, Between between) {
    constexpr int kTenths = 10;
    constexpr int kWarm = 2;  // tenths after which everything has its lasting size
    constexpr long kBetween = 64;
    constexpr long kEventsOfCycle = 3;
    std::printf("\n%s: %ld times read, edit, write\n%12s", name, cycles, "cycles");
    for (const Measure& one : kMeasures) {
        std::printf("%12s", one.name);
    }
    const auto item = client.item(2);
    const Control control(*client.field, client.item(2));
    Usage warm{};
    bool grown = false;
    long done = 0;
    for (int tenth = 1; tenth <= kTenths; ++tenth) {
        for (; done < cycles / kTenths * tenth; ++done) {
            Cycle(client, *item, done);
            if (done % kBetween == 0) {
                between();
            }
        }
        between();
        const Usage now = UsageNow();
        warm = tenth <= kWarm ? now : warm;
        std::printf("\n%12ld", done);
        for (std::size_t i = 0; i < now.size(); ++i) {
            std::printf("%12zu", now[i]);
            grown = grown || (tenth == kTenths && now[i] > warm[i] + kMeasures[i].allowed);
        }
        std::fflush(stdout);
    }
    std::printf("\n%s\n", grown ? "IT GREW" : "nothing grew");
    Check(control.shown() == done * kEventsOfCycle ? S_OK : E_FAIL);
    return !grown;
}

bool RunScripted(long cycles) {
    const auto loaded = Create<_mviHostDLL>(L"kelos99.IHostDLL");
    const auto address = reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"kelos99.dll"), tests::kTestBackendExport));
    tests::TestBackend& backend = *reinterpret_cast<tests::TestBackendExport>(address)();
    for (long i = 0; i < kIds; ++i) {
        backend.putRecord(kFile, Numbered(i), SampleRecord());
    }
    const Client client(Properties{{L"OsType", L"99"}});
    return Run("scripted back-end", client, cycles, [&] { backend.clearCalls(); });
}

bool RunEmbedded(long cycles) {
    const TemporaryAccount account;
    const Client client(account.properties());
    return Run("kelos1", client, cycles, [] {});
}

}  // namespace

bool Soak(long cycles) {
    constexpr long kEmbeddedShare = 10;  // each write waits for the disk
    const bool scripted = RunScripted(cycles);
    return RunEmbedded(cycles / kEmbeddedShare) && scripted;
}

}  // namespace kel::bench
