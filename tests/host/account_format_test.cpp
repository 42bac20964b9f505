// Accounts of earlier formats, and accounts whose schema somebody else has written.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "hosts/embedded/store/maintenance.h"
#include "tests/host/account_folder.h"
#include "tests/host/raw_account.h"
#include "tests/host/recording_files.h"

namespace kel::embedded {
namespace {

using store::AfterWrite;
using store::FileNumber;
using store::IndexEntry;
using store::Store;
using test::AccountFolder;
using test::Quick;
using test::RawAccount;
using test::Throws;
using text::ErrorKind;
using text::Text;
using text::TextView;

constexpr int kRecords = 1200;

Text NumberText(int number) {
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

Text RecordOf(int number) {
    return u"record " + Text(static_cast<std::size_t>(number % 50) * 100, u'r') +
           (number % 3 == 0 ? u"\u20AC" : u"") + NumberText(number);
}

std::string Hex(const std::string& bytes) {
    static const char digits[] = "0123456789ABCDEF";
    std::string hex;
    for (const char c : bytes) {
        hex += digits[static_cast<unsigned char>(c) >> 4];
        hex += digits[static_cast<unsigned char>(c) & 15];
    }
    return "x'" + hex + "'";
}

std::string StoredWithoutChecksum(const Text& record) {
    const bool isNarrow = record.find(u'\u20AC') == Text::npos;
    std::string bytes(1, isNarrow ? '\0' : '\1');
    for (const char16_t unit : record) {
        bytes += static_cast<char>(unit);
        if (!isNarrow) {
            bytes += static_cast<char>(unit >> 8);
        }
    }
    return bytes;
}

class WholeRecordAsKey final : public store::IndexKeys {
public:
    void KeysOf(FileNumber, TextView, TextView, TextView record, std::vector<Text>& keys) override {
        keys.emplace_back(record.substr(record.size() - 1));
    }
};

std::unique_ptr<store::IndexKeys> MakeKeys(Store& /*session*/) {
    return std::make_unique<WholeRecordAsKey>();
}

// As the first versions made them: file 3 was deleted, F is file 1, and from format 2 on there are
// an index and a stale one.
void MakeEarlierAccount(const std::filesystem::path& path, int format) {
    RawAccount raw(path);
    raw.Execute(
        "PRAGMA journal_mode = WAL; PRAGMA application_id = 0x6B656C31; BEGIN;"
        "CREATE TABLE catalogue( number INTEGER PRIMARY KEY AUTOINCREMENT,"
        " name BLOB NOT NULL UNIQUE);"
        "INSERT INTO catalogue VALUES(1, x'46'), (2, x'C3A4'), (3, x'47');"
        "DELETE FROM catalogue WHERE number = 3;"
        "CREATE TABLE f1(id BLOB PRIMARY KEY NOT NULL, rec BLOB NOT NULL);"
        "CREATE TABLE f2(id BLOB PRIMARY KEY NOT NULL, rec BLOB NOT NULL);"
        "PRAGMA user_version = " +
        std::to_string(format));
    if (format == 2) {
        raw.Execute(
            "CREATE TABLE indexes( number INTEGER PRIMARY KEY AUTOINCREMENT,"
            " file INTEGER NOT NULL, name BLOB NOT NULL, description BLOB NOT NULL,"
            " UNIQUE(file, name));"
            "INSERT INTO indexes VALUES(1, 1, x'49', x''), (2, 1, x'4A', x'');"
            "CREATE TABLE x1(key BLOB NOT NULL, id BLOB NOT NULL, PRIMARY KEY(key, id))"
            " WITHOUT ROWID;"
            "CREATE INDEX y1 ON x1(id)");
    }
    for (int i = 0; i < kRecords; ++i) {
        const std::string id = std::to_string(i);
        raw.Execute("INSERT INTO f1 VALUES(" + Hex(id) + ", " +
                    Hex(StoredWithoutChecksum(RecordOf(i))) + ")");
        if (format == 2) {
            raw.Execute("INSERT INTO x1 VALUES(" + Hex(id.substr(id.size() - 1)) + ", " + Hex(id) +
                        ")");
        }
    }
    raw.Execute("COMMIT");
}

std::string Content(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void ExpectAllRecords(Store& store) {
    const FileNumber file = store.FindFile(u"F").value();
    Text record;
    for (int i = 0; i < kRecords; ++i) {
        ASSERT_TRUE(store.Read(file, NumberText(i), record));
        ASSERT_TRUE(record == RecordOf(i)) << i;
    }
    EXPECT_EQ(store.CountRecords(file), static_cast<std::uint64_t>(kRecords));
    EXPECT_EQ(store.FileNames(), std::vector<Text>({u"F", u"\u00E4"}));
}

TEST(EarlierFormats, AreReadAndConverted) {
    for (const int format : {1, 2}) {
        SCOPED_TRACE(format);
        const AccountFolder folder;
        MakeEarlierAccount(folder / "account", format);
        const std::string before = Content(folder / "account");
        StoreOptions readOnly = Quick();
        readOnly.readOnly = true;
        {
            const auto reader = OpenStore(folder.Path(), readOnly);
            ExpectAllRecords(*reader);
            // Whoever still reads the earlier format keeps it from being converted.
            StoreOptions hurried = Quick();
            hurried.busyWaitMs = 50;
            EXPECT_TRUE(
                Throws(ErrorKind::kBusy, u"converted", [&] { OpenStore(folder.Path(), hurried); }));
            ExpectAllRecords(*reader);
        }
        EXPECT_TRUE(Content(folder / "account") == before);
        {
            const auto store = OpenStore(folder.Path(), Quick());
            ExpectAllRecords(*store);
            const FileNumber file = store->FindFile(u"F").value();
            if (format == 2) {
                const auto indexes = store->Indexes(file);
                ASSERT_EQ(indexes.size(), 2U);
                EXPECT_FALSE(indexes[0].stale);
                EXPECT_TRUE(indexes[1].stale);
                std::vector<IndexEntry> entries;
                store->OpenIndexScan(file, u"I", {})->Next(entries, 5000);
                EXPECT_EQ(entries.size(), static_cast<std::size_t>(kRecords));
            }
            EXPECT_EQ(store->CreateFile(u"new"), FileNumber{4});  // not the deleted one's number
            store->DeleteFile(FileNumber{4});
        }
        const AccountReport report = CheckAccount(folder.Path(), MakeKeys);
        EXPECT_EQ(report.faults, std::vector<Text>());
        EXPECT_EQ(report.records, static_cast<std::uint64_t>(kRecords));
        ExpectAllRecords(*OpenStore(folder.Path(), readOnly));
    }
}

TEST(EarlierFormats, StayAsTheyAreWhenTheyAreDamaged) {
    for (const char* harm : {"UPDATE f1 SET rec = x'' WHERE id = x'37'",
                             "UPDATE f1 SET rec = x'01410042' WHERE id = x'37'",
                             "DROP TABLE f2; CREATE VIEW f2 AS SELECT id, rec FROM f1"}) {
        const AccountFolder folder;
        MakeEarlierAccount(folder / "account", 2);
        RawAccount(folder / "account").Execute(harm);
        const AccountReport report = RepairAccount(folder.Path(), MakeKeys);
        EXPECT_GT(report.faults.size(), 0U) << harm;
        EXPECT_GT(report.losses.size(), 0U) << harm;
        EXPECT_EQ(CheckAccount(folder.Path(), MakeKeys).faults, std::vector<Text>()) << harm;
        const auto store = OpenStore(folder.Path(), Quick());
        const FileNumber file = store->FindFile(u"F").value();
        EXPECT_GE(store->CountRecords(file), static_cast<std::uint64_t>(kRecords - 1)) << harm;
    }
}

// All of the conversion is there afterwards, or nothing.
TEST(EarlierFormats, SurviveAPowerFailureWhileTheyAreConverted) {
    const AccountFolder folder;
    MakeEarlierAccount(folder / "account", 2);
    const std::string before = Content(folder / "account");
    const test::RecordingFiles files("account");
    OpenStore(folder.Path(), Quick()).reset();
    std::mt19937 random(5);  // NOLINT(bugprone-random-generator-seed): the same every time
    for (int i = 0; i < 12; ++i) {
        const std::size_t cut = random() % (files.Steps() + 1);
        const test::Loss losses[] = {test::Loss::kNone, test::Loss::kAll, test::Loss::kTorn};
        files.WriteImage((folder / "image").string(), cut, losses[i % 3], random, before);
        SCOPED_TRACE("cut before step " + std::to_string(cut) + " of " +
                     std::to_string(files.Steps()) + ", loss " + std::to_string(i % 3));
        ExpectAllRecords(*OpenStore(folder.Path("image"), Quick()));
        EXPECT_EQ(CheckAccount(folder.Path("image"), MakeKeys).faults, std::vector<Text>());
    }
}

// ---- Schemas that nobody of ours wrote ----

TEST(ForeignSchemas, AreRefusedAndRepaired) {
    const struct {
        const char* harm;
        TextView named;
    } cases[] = {
        {"CREATE TRIGGER t AFTER INSERT ON f1 BEGIN DELETE FROM f1; END", u"trigger \"t\""},
        {"CREATE VIEW f7 AS WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n)"
         " SELECT i AS id, i AS rec FROM n",
         u"view \"f7\""},
        {"CREATE TABLE other(x)", u"table \"other\""},
        {"CREATE INDEX z ON f1(rec)", u"index \"z\""},
        {"CREATE TABLE f01(id BLOB PRIMARY KEY NOT NULL, rec BLOB NOT NULL)", u"f01"},
        {"UPDATE sqlite_schema SET sql = 'CREATE TABLE f1(id BLOB PRIMARY KEY NOT NULL,"
         " rec BLOB NOT NULL CHECK(length(zeroblob(900000000)) > 0))' WHERE name = 'f1'",
         u"table \"f1\""},
        {"UPDATE sqlite_schema SET sql = 'CREATE TABLE f1(id BLOB PRIMARY KEY NOT NULL,"
         " rec BLOB NOT NULL COLLATE NOCASE)' WHERE name = 'f1'",
         u"table \"f1\""},
        {"UPDATE sqlite_schema SET sql = 'CREATE INDEX y1 ON x1(id, abs(length(key)))'"
         " WHERE name = 'y1'",
         u"index \"y1\""},
        {"DROP TABLE indexes", u"\"indexes\""},
    };
    for (const auto& c : cases) {
        const AccountFolder folder;
        {
            const auto store = OpenStore(folder.Path(), Quick());
            WholeRecordAsKey keys;
            store->UseIndexKeys(&keys);
            const FileNumber file = store->CreateFile(u"F");
            store->CreateIndex(file, u"I", u"");
            for (int i = 0; i < 50; ++i) {
                store->Write(file, NumberText(i), RecordOf(i), AfterWrite::kRelease);
            }
        }
        RawAccount(folder / "account").Execute(c.harm);
        for (const bool readOnly : {false, true}) {
            StoreOptions options = Quick();
            options.readOnly = readOnly;
            EXPECT_TRUE(Throws(ErrorKind::kDamaged, c.named, [&] {
                OpenStore(folder.Path(), options);
            })) << c.harm;
        }
        EXPECT_GT(CheckAccount(folder.Path()).faults.size(), 0U) << c.harm;
        RepairAccount(folder.Path(), MakeKeys);
        EXPECT_EQ(CheckAccount(folder.Path(), MakeKeys).faults, std::vector<Text>()) << c.harm;
        const auto store = OpenStore(folder.Path(), Quick());
        EXPECT_EQ(store->CountRecords(store->FindFile(u"F").value()), 50U) << c.harm;
    }
}

// It was sound when the session opened it.
TEST(ForeignSchemas, AreNotRunInOpenSessions) {
    const AccountFolder folder;
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->CreateFile(u"F");
    const FileNumber other = store->CreateFile(u"G");
    store->Write(file, u"1", u"one", AfterWrite::kRelease);
    RawAccount(folder / "account")
        .Execute(
            "CREATE TRIGGER t AFTER INSERT ON f1 BEGIN DELETE FROM f1; END;"
            "DROP TABLE f2; CREATE VIEW f2 AS SELECT id, rec FROM f1");
    store->Write(file, u"2", u"two", AfterWrite::kRelease);
    EXPECT_EQ(store->CountRecords(file), 2U);
    EXPECT_THROW(store->CountRecords(other), text::Error);
}

// The text that the engine keeps of each table is on the first page. A bit of it that changes costs
// no record.
TEST(Repair, ReadsAccountsWhoseSchemaIsDamaged) {
    const AccountFolder original;
    {
        const auto store = OpenStore(original.Path(), Quick());
        store->CreateFile(u"G");
        const FileNumber file = store->CreateFile(u"F");
        for (int i = 0; i < 300; ++i) {
            store->Write(file, NumberText(i), RecordOf(i), AfterWrite::kRelease);
        }
    }
    const std::string content = Content(original / "account");
    for (const char* text : {"CREATE TABLE catalogue(",
                             "tablecataloguecatalogue",
                             "number INTEGER PRIMARY KEY AUTOINCREMENT,",
                             "sum INTEGER NOT NULL)",
                             "tablef2f2",
                             "CREATE TABLE f2(",
                             "rec BLOB NOT NULL)",
                             "sqlite_autoindex_f2_1",
                             "sqlite_sequence(name,seq)",
                             "CREATE TABLE indexes("}) {
        const std::size_t start = content.find(text);
        ASSERT_LT(start, 4096U) << text;
        for (std::size_t at = 0; at < std::string(text).size(); at += 5) {
            const AccountFolder folder;
            std::string damaged = content;
            damaged[start + at] = static_cast<char>(damaged[start + at] ^ 2);
            folder.Put("account", damaged);
            SCOPED_TRACE(std::string(text) + " at " + std::to_string(at));
            const AccountReport report = RepairAccount(folder.Path());
            EXPECT_GT(report.faults.size(), 0U);
            EXPECT_EQ(report.losses, std::vector<Text>());
            EXPECT_EQ(CheckAccount(folder.Path()).faults, std::vector<Text>());
            const auto store = OpenStore(folder.Path(), Quick());
            EXPECT_EQ(store->FileNames(), std::vector<Text>({u"F", u"G"}));
            EXPECT_EQ(store->CountRecords(store->FindFile(u"F").value()), 300U);
        }
    }
    // Without the catalogue nothing is exchanged.
    const AccountFolder folder;
    std::string damaged = content;
    damaged.replace(100, 8092, std::string(8092, '\x5A'));
    folder.Put("account", damaged);
    const AccountReport report = RepairAccount(folder.Path());
    EXPECT_GT(report.losses.size(), 0U);
    EXPECT_EQ(report.repairs, std::vector<Text>());
    EXPECT_TRUE(Content(folder / "account") == damaged);
    EXPECT_FALSE(std::filesystem::exists(folder / "account-damaged"));
}

}  // namespace
}  // namespace kel::embedded
