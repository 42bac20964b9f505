// Accounts some of whose bytes are not what was written: every record read is the one written or an
// error, the check finds the damage, and a repair says what is lost.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "hosts/embedded/store/maintenance.h"
#include "tests/host/account_folder.h"

namespace kel::embedded {
namespace {

using store::AfterWrite;
using store::FileNumber;
using store::IndexEntry;
using store::ScanEntry;
using store::Store;
using test::AccountFolder;
using test::Quick;
using text::Error;
using text::ErrorKind;
using text::Text;
using text::TextView;

constexpr std::size_t kPage = 4096;

Text NumberText(std::size_t number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

class LastUnitAsKey final : public store::IndexKeys {
public:
    void KeysOf(FileNumber, TextView, TextView, TextView record, std::vector<Text>& keys) override {
        keys.emplace_back(record.substr(record.size() - 1));
    }
};

std::unique_ptr<store::IndexKeys> MakeKeys(Store& /*session*/) {
    return std::make_unique<LastUnitAsKey>();
}

using Records = std::map<Text, Text>;
using Files = std::map<Text, Records>;

// Two files of the same ids with other records, so that one cannot pass for the other; from a few
// units to several pages.
Files MakeAccount(TextView path) {
    Files files;
    const auto store = OpenStore(path, Quick());
    LastUnitAsKey keys;
    store->UseIndexKeys(&keys);
    for (const char16_t* name : {u"ORDERS", u"CUSTOMERS"}) {
        const FileNumber file = store->CreateFile(name);
        store->CreateIndex(file, u"LAST", u"");
        store::Batch batch(*store);
        for (std::size_t i = 0; i < 400; ++i) {
            const std::size_t length = i % 40 == 0 ? 9000 : 10 + i % 7 * 20;
            const Text id = u"id " + NumberText(i);
            files[name][id] = Text(name) + u" " + NumberText(i) +
                              Text(length, static_cast<char16_t>(i % 5 == 0 ? 0x20AC : u'x')) +
                              NumberText(i);
            store->Write(file, id, files[name][id], AfterWrite::kRelease);
        }
        batch.Commit();
    }
    return files;
}

// Damage as disks, cables and programs do it. Returns what was done.
std::string Damage(std::string& content, std::mt19937& random) {
    const auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    const std::size_t at = below(content.size());
    const std::size_t pages = content.size() / kPage;
    const std::size_t from = below(pages) * kPage;
    const std::size_t to = below(pages) * kPage;
    switch (below(6)) {
        case 0:
        case 1:
            content[at] = static_cast<char>(content[at] ^ (1 << below(8)));
            return "a bit at " + std::to_string(at);
        case 2:
            content[at] = static_cast<char>(random());
            return "a byte at " + std::to_string(at);
        case 3: {
            const std::size_t length = std::min(1 + below(64), content.size() - at);
            for (std::size_t i = at; i < at + length; ++i) {
                content[i] = static_cast<char>(random());
            }
            return std::to_string(length) + " bytes at " + std::to_string(at);
        }
        case 4:
            content.replace(to, kPage, std::string(kPage, '\0'));
            return "no page " + std::to_string(to / kPage + 1);
        default:
            content.replace(to, kPage, content.substr(from, kPage));
            return "page " + std::to_string(from / kPage + 1) + " as page " +
                   std::to_string(to / kPage + 1);
    }
}

struct Findings {
    std::uint64_t errors = 0;
    std::uint64_t missing = 0;  // not there, without an error
    std::vector<std::string> wrong;
};

// Runs work; counts an error that damage may cause.
template <typename Work>
void Try(Findings& findings, Work work) {
    try {
        work();
    } catch (const Error& error) {
        EXPECT_TRUE(
            error.kind() == ErrorKind::kDamaged || error.kind() == ErrorKind::kInputOutput ||
            error.kind() == ErrorKind::kNotAnAccount || error.kind() == ErrorKind::kNewerFormat)
            << error.what();
        ++findings.errors;
    }
}

void CompareScan(Findings& findings, Store& store, FileNumber file, const Records& records) {
    std::uint64_t seen = 0;
    Try(findings, [&] {
        std::vector<ScanEntry> entries;
        const auto scan = store.OpenScan(file, {});
        while (scan->Next(entries, 50)) {
            for (const ScanEntry& entry : entries) {
                const auto written = records.find(entry.id);
                if (written == records.end() || written->second != entry.record) {
                    findings.wrong.emplace_back("a record scanned");
                }
                ++seen;
            }
        }
        findings.missing += records.size() - std::min<std::uint64_t>(records.size(), seen);
    });
}

void CompareIndex(Findings& findings, Store& store, FileNumber file, const Records& records) {
    Try(findings, [&] {
        std::uint64_t seen = 0;
        std::vector<IndexEntry> entries;
        const auto scan = store.OpenIndexScan(file, u"LAST", {});
        while (scan->Next(entries, 50)) {
            for (const IndexEntry& entry : entries) {
                const auto written = records.find(entry.id);
                if (written == records.end() || !written->second.ends_with(entry.key)) {
                    findings.wrong.emplace_back("an entry of an index");
                }
                ++seen;
            }
        }
        findings.missing += records.size() - std::min<std::uint64_t>(records.size(), seen);
    });
}

Findings ReadEverything(TextView path, const Files& files) {
    Findings findings;
    StoreOptions options = Quick();
    options.readOnly = true;
    Try(findings, [&] {
        const auto store = OpenStore(path, options);
        for (const auto& [name, records] : files) {
            Try(findings, [&, &name = name, &records = records] {
                const auto file = store->FindFile(name);
                if (!file) {
                    findings.missing += records.size();
                    return;
                }
                for (const auto& [id, written] : records) {
                    Try(findings, [&, &id = id, &written = written] {
                        Text record;
                        if (!store->Read(*file, id, record)) {
                            ++findings.missing;
                        } else if (record != written) {
                            findings.wrong.emplace_back("a record read");
                        }
                    });
                }
                CompareScan(findings, *store, *file, records);
                CompareIndex(findings, *store, *file, records);
            });
        }
    });
    return findings;
}

// After a repair: nothing is there that was not written, and what is not there was reported.
void ExpectHonestRepair(TextView path, const Files& files) {
    AccountReport report;
    try {
        report = RepairAccount(path, MakeKeys);
    } catch (const Error& error) {
        // The header is damaged: the file is no account any more, or one of a later version.
        EXPECT_TRUE(error.kind() == ErrorKind::kNotAnAccount ||
                    error.kind() == ErrorKind::kNewerFormat || error.kind() == ErrorKind::kDamaged)
            << error.what();
        return;
    }
    EXPECT_GT(report.faults.size(), 0U);
    if (report.repairs.empty()) {
        EXPECT_GT(report.losses.size(), 0U);
        return;
    }
    EXPECT_EQ(CheckAccount(path, MakeKeys).faults, std::vector<Text>());
    const auto store = OpenStore(path, Quick());
    std::uint64_t there = 0;
    for (const Text& name : store->FileNames()) {
        std::vector<ScanEntry> entries;
        const auto scan = store->OpenScan(store->FindFile(name).value(), {});
        while (scan->Next(entries, 100)) {
            for (const ScanEntry& entry : entries) {
                const auto isWritten = [&](const auto& file) {
                    const auto written = file.second.find(entry.id);
                    return written != file.second.end() && written->second == entry.record;
                };
                EXPECT_TRUE(std::any_of(files.begin(), files.end(), isWritten));
                ++there;
            }
        }
    }
    EXPECT_TRUE(there == 800 || !report.losses.empty()) << there << " records";
}

// KEL_DAMAGED_FILES in the environment makes it more than a quick look.
int DamagedFiles() {
    const char* files = std::getenv("KEL_DAMAGED_FILES");
    return files == nullptr ? 40 : std::atoi(files);
}

TEST(DamagedFiles, GiveTheRecordsWrittenOrAnError) {
    const AccountFolder original;
    const Files files = MakeAccount(original.Path());
    std::ifstream file(original / "account", std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(file), {});
    std::uint64_t noticed = 0;
    std::uint64_t harmless = 0;
    std::uint64_t incomplete = 0;
    for (int seed = 0; seed < DamagedFiles(); ++seed) {
        std::mt19937 random(static_cast<unsigned>(seed));
        std::string damaged = content;
        const std::string what = Damage(damaged, random);
        if (damaged == content) {
            continue;
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + ": " + what);
        const AccountFolder folder;
        folder.Put("account", damaged);
        const Findings findings = ReadEverything(folder.Path(), files);
        EXPECT_EQ(findings.wrong, std::vector<std::string>());
        bool isSound = false;
        try {
            isSound = CheckAccount(folder.Path(), MakeKeys).faults.empty();
        } catch (const Error&) {
            // It cannot even be opened, and says so.
        }
        EXPECT_TRUE(!isSound || findings.errors + findings.missing == 0);
        noticed += isSound ? 0U : 1U;
        harmless += isSound ? 1U : 0U;
        incomplete += findings.missing != 0 && findings.errors == 0 ? 1U : 0U;
        if (findings.missing != 0) {
            std::printf("seed %d, %s: %llu missing, %llu errors\n",
                        seed,
                        what.c_str(),
                        static_cast<unsigned long long>(findings.missing),
                        static_cast<unsigned long long>(findings.errors));
        }
        if (!isSound) {
            ExpectHonestRepair(folder.Path(), files);
        }
    }
    std::printf("%llu damaged files noticed, %llu of them only by the check, %llu without effect\n",
                static_cast<unsigned long long>(noticed),
                static_cast<unsigned long long>(incomplete),
                static_cast<unsigned long long>(harmless));
}

}  // namespace
}  // namespace kel::embedded
