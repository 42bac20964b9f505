// Selections over many records, with and without an index, and what they hold in memory.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include "bench/native/native.h"
#include "bench/timing.h"
#include "hosts/embedded/store/codec.h"
#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/conversion/store_environment.h"

namespace kel::bench {

using query::SelectedId;
using text::Text;
using text::TextView;

namespace {

constexpr std::size_t kMany = 1000000;

std::size_t CountEntries(command::Session& session, TextView sentence) {
    const auto list = session.Select(sentence);
    std::size_t count = 0;
    for (SelectedId entry; list->Next(entry);) {
        ++count;
    }
    return count;
}

Batch Selecting(command::Session& session, TextView sentence, std::size_t expected) {
    return Repeating([&session, sentence, expected] {
        const std::size_t found = CountEntries(session, sentence);
        if (found != expected) {
            throw std::logic_error("selected " + std::to_string(found));
        }
    });
}

Batch Asking(embedded::Database& plain, const char* sql) {
    return Repeating([statement = std::make_shared<embedded::Statement>(plain, sql)] {
        const embedded::Run run(*statement);
        Text id;
        while (run->Step()) {
            embedded::DecodeKey(run->ColumnBytes(0), id);
        }
    });
}

// A line of /proc/self/status, in kilobytes.
long StatusKb(const std::string& name) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name + ":")) {
            return std::atol(line.c_str() + name.size() + 1);
        }
    }
    return 0;
}

}  // namespace

void MeasureSelections(const std::filesystem::path& folder) {
    constexpr double kScannedToBeat = 140000;
    constexpr double kFoundToBeat = 5000 / 0.030;
    constexpr double kSortedToBeat = 100000 / 0.8;
    constexpr std::size_t kFound = kRecords / kCities;
    SampleAccount account(folder / "selections", embedded::Durability::kNormal);
    conversion::StoreEnvironment environment(*account.store);
    command::Session session(*account.store, environment);
    account.plain.Execute("CREATE TABLE x1(key BLOB, id BLOB, PRIMARY KEY(key, id)) WITHOUT ROWID");
    account.plain.Execute(
        "INSERT INTO x1 SELECT CAST('City ' || (substr(id, 6) % 20) AS BLOB), id FROM f1");

    PrintRateHead("selections over 100,000, by record or id");
    CompareRate({"walk of all ids", Selecting(session, u"SELECT STOCK", kRecords), kRecords},
                {"SELECT id", Asking(account.plain, "SELECT id FROM f1 ORDER BY id"), kRecords},
                kNoTarget,
                kNoTarget);
    const TextView condition = u"SELECT STOCK WITH CITY = \"City 7\"";
    CompareRate({"one condition, scanned", Selecting(session, condition, kFound), kRecords},
                {"instr() of the engine",
                 Asking(account.plain,
                        "SELECT id FROM f1 WHERE instr(rec, x'FE' || CAST('City 7' AS BLOB) || "
                        "x'FE') ORDER BY id"),
                 kRecords},
                kScannedToBeat,
                kNoTarget);
    Rate({"sorted by a number", Selecting(session, u"SELECT STOCK BY AMOUNT", kRecords), kRecords},
         kSortedToBeat);
    Rate({"sorted by a text", Selecting(session, u"SELECT STOCK BY CITY", kRecords), kRecords},
         kSortedToBeat);
    session.Execute(u"CREATE-INDEX STOCK CITY AMOUNT");
    CompareRate({"5,000 found by index", Selecting(session, condition, kFound), kFound},
                {"SELECT id WHERE key = ?",
                 Asking(account.plain, "SELECT id FROM x1 WHERE key = CAST('City 7' AS BLOB)"),
                 kFound},
                kFoundToBeat,
                kNoTarget);
    Rate({"sorted by a number, by index",
          Selecting(session, u"SELECT STOCK BY AMOUNT", kRecords),
          kRecords},
         kSortedToBeat);
}

void MeasureMemory(const std::filesystem::path& folder, const std::filesystem::path& program) {
    const std::filesystem::path account = folder / "million";
    std::filesystem::remove(account);
    {
        embedded::StoreOptions options;
        options.durability = embedded::Durability::kOff;
        const auto store = embedded::OpenStore(account.u16string(), options);
        store->CreateFile(u"DICT STOCK");
        const store::FileNumber file = store->CreateFile(u"STOCK");
        store::Batch batch(*store);
        for (std::size_t i = 0; i < kMany; ++i) {
            store->Write(file, NumberText(static_cast<long>(kMany + i)), u"x", {});
        }
        batch.Commit();
    }
    std::printf("\nmemory, resident, in KB\n");
    std::fflush(stdout);
    const std::string command = "'" + program.string() + "' --memory '" + account.string() + "'";
    if (std::system(command.c_str()) != 0) {  // NOLINT(cert-env33-c): this very program
        throw std::runtime_error("the measurement of memory failed");
    }
    std::filesystem::remove(account);
}

void SelectForMemory(const std::filesystem::path& account) {
    const auto store = embedded::OpenStore(account.u16string());
    conversion::StoreEnvironment environment(*store);
    command::Session session(*store, environment);
    const auto list = session.Select(u"SELECT STOCK");
    SelectedId entry;
    list->Next(entry);
    const long before = StatusKb("VmRSS");
    std::size_t count = 1;
    while (list->Next(entry)) {
        ++count;
    }
    std::printf("a session, its first id selected: %ld; peak after %zu ids: %ld; growth: %ld\n",
                before,
                count,
                StatusKb("VmHWM"),
                std::max(StatusKb("VmHWM") - before, 0L));
}

}  // namespace kel::bench
