// The store on one account: what goes in comes out, scans, batches, and everything that may be
// found where an account should be.
#include "hosts/embedded/store/sqlite_store.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "hosts/embedded/store/database.h"
#include "tests/host/account_folder.h"
#include "tests/host/text_support.h"

namespace kel::embedded {
namespace {

using multivalue::AfterWrite;
using multivalue::Batch;
using multivalue::ErrorKind;
using multivalue::FileNumber;
using multivalue::Scan;
using multivalue::ScanEntry;
using multivalue::ScanOrder;
using multivalue::ScanRange;
using multivalue::Store;
using multivalue::Text;
using multivalue::TextView;
using test::AccountFolder;
using test::Quick;
using test::Throws;

void Put(Store& store, FileNumber file, TextView id, TextView record) {
    store.Write(file, id, record, AfterWrite::kRelease);
}

std::vector<Text> Ids(Store& store,
                      FileNumber file,
                      const ScanRange& range,
                      std::size_t limit = 3) {
    std::vector<Text> ids;
    std::vector<ScanEntry> entries;
    const auto scan = store.OpenScan(file, range);
    while (scan->Next(entries, limit)) {
        for (const ScanEntry& entry : entries) {
            ids.push_back(entry.id);
        }
    }
    return ids;
}

TEST(SqliteStore, KeepsEveryUnitOfRecordsAndIds) {
    const AccountFolder folder;
    Text every;
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        every.push_back(static_cast<char16_t>(unit));
    }
    const Text records[] = {Text(),
                            Text(1, u'\0'),
                            multivalue::Marked("one^two]2\\3^"),
                            every.substr(0, 256),
                            Text(100, u'\u00FF'),
                            Text(100, u'a') + u'\u0100',
                            Text(1, u'\xD800'),
                            every};
    const Text ids[] = {Text(1, u'\0'),
                        Text(u"A\0B", 3),
                        u"\u00FA",
                        u"\u0100",
                        Text(1, u'\xD800'),
                        Text(u"\xDC00\xD800", 2),
                        u"\U0001F600",
                        Text(multivalue::kMaxIdUnits, u'\xFFFF')};
    {
        const auto store = OpenStore(folder.Path(), Quick());
        const FileNumber file = store->CreateFile(u"ANY");
        for (std::size_t i = 0; i < std::size(ids); ++i) {
            Put(*store, file, ids[i], u"to be replaced");
            Put(*store, file, ids[i], records[i]);
        }
    }
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->FindFile(u"ANY").value();
    for (std::size_t i = 0; i < std::size(ids); ++i) {
        Text record = u"old";
        EXPECT_TRUE(store->Read(file, ids[i], record)) << i;
        EXPECT_EQ(record, records[i]) << i;
    }
    EXPECT_EQ(
        Ids(*store, file, {}),
        std::vector<Text>(
            {ids[0], ids[1], ids[2], ids[3], ids[4], ids[5], ids[7], ids[6]}));  // by code point
    EXPECT_EQ(store->CountRecords(file), std::size(ids));
    Text record = u"old";
    EXPECT_FALSE(store->Read(file, u"not there", record));
    EXPECT_EQ(record, u"");
}

TEST(SqliteStore, RefusesIdsAndNamesOutsideTheirRules) {
    const AccountFolder folder;
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->CreateFile(u"F");
    Text record;
    for (const Text& id : {Text(),
                           Text(u"x\u00FE"),
                           Text(u"\u00FBx"),
                           Text(u"\u00FF"),
                           Text(multivalue::kMaxIdUnits + 1, u'x')}) {
        const TextView shown = TextView(id).substr(0, 10);
        EXPECT_TRUE(Throws(ErrorKind::kBadArgument, shown, [&] { Put(*store, file, id, u"r"); }));
        EXPECT_TRUE(Throws(ErrorKind::kBadArgument, shown, [&] { store->Read(file, id, record); }));
        EXPECT_TRUE(Throws(ErrorKind::kBadArgument, shown, [&] { store->Lock(file, id, 0); }));
    }
    for (const Text& name : {Text(),
                             Text(u" F"),
                             Text(u"F "),
                             Text(u"A\u00FDB"),
                             Text(u"A\tB"),
                             Text(1, u'\0'),
                             Text(multivalue::kMaxFileName + 1, u'F')}) {
        EXPECT_TRUE(Throws(ErrorKind::kBadArgument, {}, [&] { store->CreateFile(name); }));
        EXPECT_TRUE(Throws(ErrorKind::kBadArgument, {}, [&] { store->RenameFile(file, name); }));
    }
    EXPECT_EQ(store->CountRecords(file), 0U);
}

TEST(SqliteStore, KnowsFilesByExactNameAndNeverReusesANumber) {
    const AccountFolder folder;
    const auto store = OpenStore(folder.Path(), Quick());
    const auto other = OpenStore(folder.Path(), Quick());
    const FileNumber orders = store->CreateFile(u"ORDERS");
    store->CreateFile(u"Orders");
    EXPECT_TRUE(Throws(ErrorKind::kFileExists, u"ORDERS", [&] { other->CreateFile(u"ORDERS"); }));
    EXPECT_EQ(other->FindFile(u"ORDERS"), orders);
    EXPECT_EQ(other->FindFile(u"orders"), std::nullopt);
    EXPECT_TRUE(
        Throws(ErrorKind::kFileExists, u"Orders", [&] { store->RenameFile(orders, u"Orders"); }));

    Put(*other, orders, u"1", u"one");
    store->RenameFile(orders, u"DICT \u00D6RDERS");
    EXPECT_TRUE(other->Exists(orders, u"1"));
    EXPECT_EQ(other->FileNames(), std::vector<Text>({u"DICT \u00D6RDERS", u"Orders"}));

    Text record;
    EXPECT_TRUE(other->Read(orders, u"1", record));
    store->DeleteFile(orders);
    const FileNumber again = store->CreateFile(u"ORDERS");
    EXPECT_NE(again, orders);
    const auto gone = [&](auto work) {
        return Throws(ErrorKind::kNoSuchFile, folder.Path(), work);
    };
    EXPECT_TRUE(gone([&] { other->Read(orders, u"1", record); }));
    EXPECT_TRUE(gone([&] { Put(*other, orders, u"1", u"x"); }));
    EXPECT_TRUE(gone([&] { other->Delete(orders, u"1"); }));
    EXPECT_TRUE(gone([&] { other->OpenScan(orders, {}); }));
    EXPECT_TRUE(gone([&] { other->DeleteFile(orders); }));
    EXPECT_FALSE(other->Exists(again, u"1"));
}

TEST(SqliteStore, ScansInOrderInChunksWhileTheFileChanges) {
    const AccountFolder folder;
    const auto store = OpenStore(folder.Path(), Quick());
    const FileNumber file = store->CreateFile(u"F");
    for (const char16_t* id : {u"d", u"a", u"c", u"b", u"ba", u"e", u"f"}) {
        Put(*store, file, id, Text(u"record ") + id);
    }
    const ScanOrder up = ScanOrder::kAscending;
    const ScanOrder down = ScanOrder::kDescending;
    const struct {
        ScanRange range;
        std::vector<Text> ids;
    } cases[] = {
        {{up, true, {}}, {u"a", u"b", u"ba", u"c", u"d", u"e", u"f"}},
        {{down, false, {}}, {u"f", u"e", u"d", u"c", u"ba", u"b", u"a"}},
        {{up, false, u"bb"}, {u"c", u"d", u"e", u"f"}},
        {{up, true, u"c"}, {u"c", u"d", u"e", u"f"}},
        {{down, true, u"c"}, {u"c", u"ba", u"b", u"a"}},
        {{up, true, u"z"}, {}},
    };
    for (const auto& c : cases) {
        for (std::size_t limit = 1; limit < 9; ++limit) {
            EXPECT_EQ(Ids(*store, file, c.range, limit), c.ids) << limit;
        }
    }

    std::vector<ScanEntry> entries;
    const auto scan = store->OpenScan(file, {});
    ASSERT_TRUE(scan->Next(entries, 3));
    EXPECT_EQ(entries[2].record, u"record ba");
    store->Delete(file, u"ba");  // where the scan stands,
    store->Delete(file, u"c");   // ahead of it,
    Put(*store, file, u"aa", u"new");
    Put(*store, file, u"dd", u"new");
    ASSERT_TRUE(scan->Next(entries, 3));
    ASSERT_EQ(entries.size(), 3U);
    EXPECT_EQ(entries[0].id, u"d");
    EXPECT_EQ(entries[1].id, u"dd");
    ASSERT_TRUE(scan->Next(entries, 3));
    EXPECT_EQ(entries[0].id, u"f");
    EXPECT_FALSE(scan->Next(entries, 3));
    EXPECT_TRUE(entries.empty());
}

TEST(SqliteStore, BatchesAreWholeOrNothing) {
    const AccountFolder folder;
    StoreOptions impatient = Quick();
    impatient.busyWaitMs = 50;
    const auto store = OpenStore(folder.Path(), Quick());
    const auto other = OpenStore(folder.Path(), impatient);
    const FileNumber file = store->CreateFile(u"F");
    FileNumber made{};
    {
        Batch batch(*store);
        Put(*store, file, u"1", u"one");
        made = store->CreateFile(u"MADE");
        Put(*store, made, u"1", u"one");
        EXPECT_TRUE(Throws(ErrorKind::kFileExists, u"MADE", [&] { store->CreateFile(u"MADE"); }));
        EXPECT_TRUE(Throws(ErrorKind::kMisuse, {}, [&] { store->Begin(); }));
        EXPECT_TRUE(store->Exists(file, u"1"));
        EXPECT_FALSE(other->Exists(file, u"1"));
        EXPECT_TRUE(
            Throws(ErrorKind::kBusy, folder.Path(), [&] { Put(*other, file, u"2", u"two"); }));
    }
    EXPECT_FALSE(store->Exists(file, u"1"));
    EXPECT_EQ(store->FindFile(u"MADE"), std::nullopt);
    EXPECT_TRUE(Throws(ErrorKind::kMisuse, {}, [&] { store->Commit(); }));
    {
        Batch batch(*store);
        Put(*store, file, u"1", u"one");
        batch.Commit();
    }
    EXPECT_TRUE(other->Exists(file, u"1"));
    Put(*other, file, u"2", u"two");
    store->ClearFile(file);
    EXPECT_EQ(other->CountRecords(file), 0U);
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

TEST(SqliteStore, AFullAccountKeepsWhatItHas) {
    const AccountFolder folder;
    StoreOptions options = Quick();
    options.maxBytes = 256 * 1024;
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
        } catch (const multivalue::Error& error) {
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
        Text large(25'000'000, unit);
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
