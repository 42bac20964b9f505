// Checking, repairing and backing up accounts.
#include "hosts/embedded/store/maintenance.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "hosts/embedded/store/account_keeper.h"
#include "hosts/embedded/store/database.h"
#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/conversion/store_environment.h"
#include "tests/host/account_folder.h"
#include "tests/support/text_support.h"

namespace kel::embedded {
namespace {

using store::AfterWrite;
using store::Batch;
using store::FileNumber;
using store::IndexEntry;
using store::Store;
using test::AccountFolder;
using test::Quick;
using test::Throws;
using text::ErrorKind;
using text::Text;
using text::TextView;

constexpr int kRecords = 400;

Text IdOf(int n) {
    return TextOf(std::to_string(n));
}

Text RecordOf(TextView id) {
    Text record;
    for (int i = 0; i < 60; ++i) {
        record += id;
    }
    return record;
}

class WholeRecordAsKey final : public store::IndexKeys {
public:
    void KeysOf(FileNumber, TextView, TextView, TextView record, std::vector<Text>& keys) override {
        keys.emplace_back(record);
    }
};

std::unique_ptr<store::IndexKeys> MakeKeys(Store& /*session*/) {
    return std::make_unique<WholeRecordAsKey>();
}

void Fill(TextView path) {
    const auto store = OpenStore(path, Quick());
    WholeRecordAsKey keys;
    store->UseIndexKeys(&keys);
    const FileNumber file = store->CreateFile(u"F");
    store->CreateIndex(file, u"I", u"");
    Batch batch(*store);
    for (int i = 0; i < kRecords; ++i) {
        store->Write(file, IdOf(i), RecordOf(IdOf(i)), AfterWrite::kRelease);
    }
    batch.Commit();
}

std::string Content(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::uint64_t IndexEntries(Store& store, FileNumber file) {
    std::vector<IndexEntry> entries;
    store.OpenIndexScan(file, u"I", {})->Next(entries, 10000);
    return entries.size();
}

TEST(Backup, IsTheAccountOfOneMoment) {
    const AccountFolder folder;
    Fill(folder.Path());
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->FindFile(u"F").value();
    Batch batch(*store);
    store->Delete(file, u"1");
    bool written = false;
    folder.Put("copy-partial", "not ours");
    EXPECT_TRUE(BackUpAccount(folder.Path(), folder.Path("copy"), [&] {
        if (!written) {
            batch.Commit();  // after the copying began
            written = true;
        }
        return true;
    }));
    EXPECT_TRUE(written);
    const auto copy = OpenStore(folder.Path("copy"), Quick());
    EXPECT_TRUE(copy->Exists(file, u"1"));
    EXPECT_EQ(CheckAccount(folder.Path("copy"), MakeKeys).faults, std::vector<Text>());
    EXPECT_TRUE(Throws(ErrorKind::kFileExists, folder.Path("copy"), [&] {
        BackUpAccount(folder.Path(), folder.Path("copy"));
    }));
    EXPECT_FALSE(BackUpAccount(folder.Path(), folder.Path("not"), [] { return false; }));
    for (const auto& entry : std::filesystem::directory_iterator(folder / "")) {
        const std::string name = entry.path().filename().string();
        EXPECT_EQ(name.find("partial-"), std::string::npos) << name;
        EXPECT_FALSE(name.starts_with("not")) << name;
    }
    EXPECT_EQ(Content(folder / "copy-partial"), "not ours");
}

// What was deleted or written over is gone from the file, and from a copy that is made before.
TEST(DeletedData, IsNowhere) {
    const AccountFolder folder;
    const std::string secret = "Nobody must read this any more. ";
    const auto holdsSecret = [&](const char* name) {
        return Content(folder / name).find(secret) != std::string::npos;
    };
    {
        const auto store = OpenStore(folder.Path(), Quick());
        const FileNumber file = store->CreateFile(u"F");
        for (const char16_t* id : {u"short", u"long", u"kept"}) {
            Text record;
            for (int i = 0; i < (Text(id) == u"long" ? 1000 : 3); ++i) {
                record += TextOf(secret);
            }
            store->Write(file, id, record, AfterWrite::kRelease);
        }
        WholeRecordAsKey keys;
        store->UseIndexKeys(&keys);
        const FileNumber indexed = store->CreateFile(u"INDEXED");
        store->CreateIndex(indexed, u"I", u"");
        store->Write(indexed, u"1", TextOf(secret), AfterWrite::kRelease);
    }
    ASSERT_TRUE(holdsSecret("account"));
    {
        const auto store = OpenStore(folder.Path(), Quick());
        const FileNumber file = store->FindFile(u"F").value();
        store->Delete(file, u"short");
        store->Delete(file, u"long");
        store->DeleteFile(store->FindFile(u"INDEXED").value());
        store->Write(file, u"kept", u"new", AfterWrite::kRelease);
        BackUpAccount(folder.Path(), folder.Path("copy"));
        EXPECT_FALSE(holdsSecret("copy"));
    }
    EXPECT_FALSE(holdsSecret("account"));
    const auto before = std::filesystem::file_size(folder / "account");
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->FindFile(u"F").value();
    const std::uint64_t saved = CompactAccount(folder.Path());
    EXPECT_GT(saved, 20000U);
    EXPECT_EQ(std::filesystem::file_size(folder / "account"), before - saved);
    Text record;
    EXPECT_TRUE(store->Read(file, u"kept", record));
    EXPECT_EQ(record, u"new");
    store->Write(file, u"another", u"x", AfterWrite::kRelease);
}

TEST(Repair, MendsIndexes) {
    for (const char* harm : {"DELETE FROM x1 WHERE id = x'37'",
                             "UPDATE x1 SET id = x'414141' WHERE id = x'37'",
                             "UPDATE x1 SET sum = sum + 1 WHERE id = x'37'",
                             "INSERT INTO x1 VALUES(x'41', x'3939393939', 0)"}) {
        const AccountFolder folder;
        Fill(folder.Path());
        EXPECT_EQ(CheckAccount(folder.Path(), MakeKeys).faults.size(), 0U);
        Database(folder.Path(), Database::Mode::kReadWrite, 0).Execute(harm);
        const AccountReport report = CheckAccount(folder.Path(), MakeKeys);
        EXPECT_GT(report.faults.size(), 0U) << harm;
        EXPECT_EQ(report.records, static_cast<std::uint64_t>(kRecords));
        EXPECT_EQ(RepairAccount(folder.Path(), MakeKeys).losses.size(), 0U);
        EXPECT_EQ(CheckAccount(folder.Path(), MakeKeys).faults.size(), 0U) << harm;
        const auto store = OpenStore(folder.Path(), Quick());
        EXPECT_EQ(IndexEntries(*store, store->FindFile(u"F").value()),
                  static_cast<std::uint64_t>(kRecords));
    }
}

// Spoils pages all over the account, one at a time, but not the first, without which there is no
// account.
TEST(Repair, KeepsWhatCanBeReadAndSaysWhatCannot) {
    const AccountFolder original;
    Fill(original.Path());
    const auto size = std::filesystem::file_size(original / "account");
    std::uint64_t kept = 0;
    std::uint64_t possible = 0;
    for (std::uintmax_t page = 4096; page < size; page += 20480) {
        const AccountFolder folder;
        std::filesystem::copy_file(original / "account", folder / "account");
        {
            std::fstream file(folder / "account", std::ios::in | std::ios::out | std::ios::binary);
            file.seekp(static_cast<std::streamoff>(page));
            file << std::string(4096, '\x5A');
        }
        {
            const auto busy = OpenStore(folder.Path(), Quick());
            EXPECT_TRUE(Throws(
                ErrorKind::kBusy, folder.Path(), [&] { RepairAccount(folder.Path(), MakeKeys); }));
        }
        const AccountReport report = RepairAccount(folder.Path(), MakeKeys);
        EXPECT_GT(report.faults.size(), 0U) << page;
        EXPECT_TRUE(std::filesystem::exists(folder / "account-damaged"));
        const AccountReport now = CheckAccount(folder.Path(), MakeKeys);
        EXPECT_EQ(now.faults, std::vector<Text>()) << page;
        EXPECT_TRUE(now.records == kRecords || !report.losses.empty()) << page;
        kept += now.records;
        possible += kRecords;
        const auto store = OpenStore(folder.Path(), Quick());
        for (const Text& name : store->FileNames()) {
            const FileNumber file = store->FindFile(name).value();
            std::vector<store::ScanEntry> entries;
            store->OpenScan(file, {})->Next(entries, kRecords);
            for (const auto& entry : entries) {
                EXPECT_EQ(entry.record, RecordOf(entry.id));
            }
            if (!store->Indexes(file).empty()) {
                EXPECT_EQ(IndexEntries(*store, file), store->CountRecords(file));
            }
        }
    }
    EXPECT_GT(kept * 100, possible * 95);
}

TEST(AccountSentences, CheckSaveAndRepair) {
    const AccountFolder folder;
    const auto store = OpenStore(folder.Path(), Quick());
    conversion::StoreEnvironment environment(*store);
    AccountFileKeeper keeper(folder.Path(), conversion::Family::kUni, environment.OwnDateOrder());
    command::Session session(*store, environment);
    session.UseKeeper(&keeper);
    const Text copy = u"'" + folder.Path("copy") + u"'";
    session.Execute(u"CREATE-FILE F");
    const FileNumber file = store->FindFile(u"F").value();
    store->Write(file, u"1", u"one", AfterWrite::kRelease);
    const std::string number = std::to_string(static_cast<int>(file));
    const auto damage = [&] {
        Database(folder.Path("copy"), Database::Mode::kReadWrite, 0)
            .Execute(("UPDATE f" + number + " SET rec = x'FFFF00'").c_str());
    };
    const struct {
        Text sentence;
        TextView codes;
        Text part;  // of the output
    } cases[] = {
        {u"CHECK-ACCOUNT", u"426", u"The account is sound."},
        {u"SAVE-ACCOUNT", u"10", u"the path of the copy"},
        {u"SAVE-ACCOUNT " + copy, u"429", folder.Path("copy")},
        {u"SAVE-ACCOUNT " + copy, u"10", folder.Path("copy")},
        {u"COMPACT", u"431", u"0 byte(s) given back"},
        {u"COMPACT now", u"10", u"now"},
        {u"CHECK-ACCOUNT " + copy, u"426", u" 2 record(s)"},
        {u"CHECK-ACCOUNT '" + folder.Path("none") + u"'", u"10", folder.Path("none")},
        {u"REPAIR-ACCOUNT " + copy, u"428", u"nothing was changed"},
        {u"damage", u"", u""},
        {u"CHECK-ACCOUNT " + copy, u"427", u"REPAIR-ACCOUNT mends"},
        {u"REPAIR-ACCOUNT " + copy, u"427", u"\"1\""},  // what is lost, by its id
        {u"CHECK-ACCOUNT " + copy, u"426", u" 1 record(s)"},
    };
    for (const auto& one : cases) {
        if (one.sentence == u"damage") {
            damage();
            continue;
        }
        const command::Answer answer = session.Execute(one.sentence);
        EXPECT_EQ(answer.codes, one.codes) << text::Drawn(one.sentence);
        EXPECT_NE(answer.output.find(one.part), Text::npos) << text::Drawn(answer.output);
    }
    session.UseKeeper(nullptr);
    EXPECT_EQ(session.Execute(u"CHECK-ACCOUNT").codes, u"10");
}

}  // namespace
}  // namespace kel::embedded
