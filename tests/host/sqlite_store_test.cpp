// What is particular to the store in a file: everything that may be found where an account should
// be, reading only, full disks.
#include "hosts/embedded/store/sqlite_store.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hosts/embedded/store/database.h"
#include "tests/host/account_folder.h"
#include "tests/host/raw_account.h"
#include "tests/support/text_support.h"

namespace kel::embedded {
namespace {

using store::AfterWrite;
using store::Batch;
using store::FileNumber;
using store::ScanEntry;
using store::Store;
using test::AccountFolder;
using test::Quick;
using test::Throws;
using text::ErrorKind;
using text::Text;
using text::TextView;

void Put(Store& store, FileNumber file, TextView id, TextView record) {
    store.Write(file, id, record, AfterWrite::kRelease);
}

TEST(SqliteStore, SaysWhatIsWrongWithAPath) {
    const AccountFolder folder;
    folder.Put("text",
               "Dear Sir or Madam, this is a letter and by no means a database of any kind.");
    folder.Put("tiny", "x");
    std::filesystem::create_directory(folder / "folder");
    const auto foreign = [&](const std::string& name, const char* sql) {
        Database(folder.Path(name), Database::Mode::kCreate, 0).Execute(sql);
    };
    foreign("foreign", "CREATE TABLE t(x)");
    foreign("marked", "PRAGMA application_id = 4711; PRAGMA user_version = 1; CREATE TABLE t(x)");
    OpenStore(folder.Path("newer"), Quick());
    foreign("newer", "PRAGMA user_version = 99");
    {
        const auto store = OpenStore(folder.Path("cut"), Quick());
        const FileNumber file = store->CreateFile(u"F");
        Put(*store, file, u"1", Text(100000, u'x'));
    }
    std::filesystem::resize_file(folder / "cut", 5000);

    const struct {
        const char* name;
        ErrorKind kind;
        bool readOnly;
    } cases[] = {
        {"text", ErrorKind::kNotAnAccount, false},
        {"tiny", ErrorKind::kNotAnAccount, false},
        {"foreign", ErrorKind::kNotAnAccount, false},
        {"marked", ErrorKind::kNotAnAccount, false},
        {"newer", ErrorKind::kNewerFormat, false},
        {"newer", ErrorKind::kNewerFormat, true},
        {"folder", ErrorKind::kCannotOpen, false},
        {"missing", ErrorKind::kCannotOpen, true},
        {"no-such-folder/account", ErrorKind::kCannotOpen, false},
        {"cut", ErrorKind::kDamaged, false},
    };
    for (const auto& c : cases) {
        StoreOptions options = Quick();
        options.readOnly = c.readOnly;
        const Text path = folder.Path(c.name);
        EXPECT_TRUE(Throws(c.kind, path, [&] { OpenStore(path, options); })) << c.name;
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "missing"));
    EXPECT_EQ(std::filesystem::file_size(folder / "tiny"), 1U);
    for (const Text& path : {Text(), Text(u":memory:"), Text(u"a\0b", 3)}) {
        EXPECT_TRUE(Throws(ErrorKind::kCannotOpen, path, [&] { OpenStore(path, Quick()); }));
    }
    folder.Put("empty", "");  // as a caller that reserved the name may have left it
    EXPECT_EQ(OpenStore(folder.Path("empty"), Quick())->FileNames().size(), 0U);
    EXPECT_TRUE(OpenStore(folder.Path("\xC3\xA4\xE2\x82\xAC account"), Quick()));
}

// Under a name of its own a session would have a log and locks of its own.
TEST(SqliteStore, IsOneAccountByWhateverPath) {
    const AccountFolder folder;
    std::filesystem::create_directory(folder / "deep");
    std::vector<Text> paths = {folder.Path(), folder.Path("deep/../account")};
#if !defined(_WIN32)
    std::filesystem::create_symlink(folder / "account", folder / "deep" / "link");
    EXPECT_TRUE(Throws(ErrorKind::kCannotOpen, folder.Path("deep/link"), [&] {
        OpenStore(folder.Path("deep/link"), Quick());
    }));
    std::filesystem::create_directory_symlink(folder / "deep", folder / "way");
    paths.push_back(folder.Path("deep/link"));
    paths.push_back(folder.Path("way/link"));
#endif
    auto first = OpenStore(folder.Path(), Quick());
    const FileNumber file = first->CreateFile(u"F");
    first->Lock(file, u"locked", 0);
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const auto other = OpenStore(paths[i], Quick());
        EXPECT_TRUE(other->Lock(file, u"locked", 0)) << i;
        Put(*other, file, u"n", Text(1, static_cast<char16_t>(u'0' + i)));
        Text record;
        EXPECT_TRUE(first->Read(file, u"n", record));
        EXPECT_EQ(record, Text(1, static_cast<char16_t>(u'0' + i)));
    }
    for (const auto& entry : std::filesystem::directory_iterator(folder / "deep")) {
        EXPECT_EQ(entry.path().filename(), "link");
    }

    first.reset();
    std::filesystem::create_hard_link(folder / "account", folder / "second");
    for (const char* name : {"second", "account"}) {
        EXPECT_TRUE(Throws(ErrorKind::kSeveralNames, folder.Path(name), [&] {
            OpenStore(folder.Path(name), Quick());
        })) << name;
    }
    std::filesystem::remove(folder / "second");
    EXPECT_TRUE(OpenStore(folder.Path(), Quick())->FindFile(u"F"));
}

TEST(SqliteStore, ReadOnlySessionsReadAndChangeNothing) {
    const AccountFolder folder;
    const auto writer = OpenStore(folder.Path(), Quick());
    const FileNumber file = writer->CreateFile(u"F");
    Put(*writer, file, u"1", u"one");
    StoreOptions options = Quick();
    options.readOnly = true;
    const auto reader = OpenStore(folder.Path(), options);
    Text record;
    EXPECT_TRUE(reader->Read(file, u"1", record));
    Put(*writer, file, u"1", u"two");
    EXPECT_TRUE(reader->Read(file, u"1", record));
    EXPECT_EQ(record, u"two");
    const auto refused = [&](auto work) {
        return Throws(ErrorKind::kReadOnly, folder.Path(), work);
    };
    EXPECT_TRUE(refused([&] { Put(*reader, file, u"1", u"x"); }));
    EXPECT_TRUE(refused([&] { reader->Delete(file, u"1"); }));
    EXPECT_TRUE(refused([&] { reader->CreateFile(u"G"); }));
    EXPECT_TRUE(refused([&] { reader->ClearFile(file); }));
    EXPECT_TRUE(refused([&] { reader->Lock(file, u"1", 0); }));
    EXPECT_TRUE(refused([&] { reader->Begin(); }));
}

// Rows with a slot that no session has are what is left of one that was killed.
TEST(SqliteStore, LocksOfASessionThatIsGoneBindNobody) {
    const AccountFolder folder;
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->CreateFile(u"F");
    store->Lock(file, u"own", 0);
    test::RawAccount(folder / "account-locks")
        .Execute("INSERT INTO locks VALUES(1, x'31', 99, 4711, x'', 0)");
    EXPECT_FALSE(store->Lock(file, u"1", 0));
    EXPECT_EQ(store->Locks().size(), 2U);
}

TEST(SqliteStore, AFullAccountKeepsWhatItHas) {
    const AccountFolder folder;
    StoreOptions options = Quick();
    options.maxBytes = 262144;
    const auto store = OpenStore(folder.Path(), options);
    const FileNumber file = store->CreateFile(u"F");
    const Text record(10000, u'x');
    int written = 0;
    EXPECT_TRUE(Throws(ErrorKind::kFull, folder.Path(), [&] {
        for (; written < 1000; ++written) {
            Put(*store, file, Text(1, static_cast<char16_t>(u'A' + written)), record);
        }
    }));
    EXPECT_GT(written, 5);
    EXPECT_EQ(store->CountRecords(file), static_cast<std::uint64_t>(written));
    {
        Batch batch(*store);
        store->Delete(file, u"A");
        EXPECT_TRUE(Throws(ErrorKind::kFull, folder.Path(), [&] {
            Put(*store, file, u"big", Text(999999, u'x'));
        }));
        // Whether the batch outlives the failure is the engine's to say; half of it is never kept.
        try {
            Put(*store, file, u"after", u"small");
            batch.Commit();
            EXPECT_FALSE(store->Exists(file, u"A"));
        } catch (const text::Error& error) {
            EXPECT_EQ(error.kind(), ErrorKind::kMisuse);
        }
    }
    EXPECT_NE(store->Exists(file, u"A"), store->Exists(file, u"after"));
    store->Delete(file, u"B");
    Put(*store, file, u"B", u"small");
}

TEST(SqliteStore, KeepsARecordOfFiftyMegabytes) {
    const AccountFolder folder;
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->CreateFile(u"F");
    for (char16_t unit : {u'\u00FC', u'\u20AC'}) {
        Text large;
        large.resize(25000000, unit);
        large.back() = u'z';
        Put(*store, file, u"1", large);
        Text record;
        ASSERT_TRUE(store->Read(file, u"1", record));
        EXPECT_TRUE(record == large);
        std::vector<ScanEntry> entries;
        ASSERT_TRUE(store->OpenScan(file, {})->Next(entries, 10));
        EXPECT_TRUE(entries[0].record == large);
    }
}

}  // namespace
}  // namespace kel::embedded
