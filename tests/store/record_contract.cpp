// Records, files, scans and batches of any store.
#include "tests/store/store_contract.h"

#include <string>
#include <vector>

#include "hosts/multivalue/text/error.h"
#include "tests/support/text_support.h"
#include "tests/support/throws.h"

namespace kel::store {
namespace {

using test::Throws;

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

TEST_P(StoreContract, KeepsEveryUnitOfRecordsAndIds) {
    Text every;
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        every.push_back(static_cast<char16_t>(unit));
    }
    const Text records[] = {Text(),
                            Text(1, u'\0'),
                            Marked("one^two]2\\3^"),
                            every.substr(0, 256),
                            u'\u0100' + Text(100, u'\u00FF'),
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
                        Text(kMaxIdUnits, u'\xFFFF')};
    {
        const auto store = Open();
        const FileNumber file = store->CreateFile(u"ANY");
        for (std::size_t i = 0; i < std::size(ids); ++i) {
            Put(*store, file, ids[i], u"to be replaced");
            Put(*store, file, ids[i], records[i]);
        }
    }
    const auto store = Open();
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

TEST_P(StoreContract, RefusesIdsAndNamesOutsideTheirRules) {
    const auto store = Open();
    const FileNumber file = store->CreateFile(u"F");
    Text record;
    for (const Text& id : {Text(),
                           Text(u"x\u00FE"),
                           Text(u"\u00FBx"),
                           Text(u"\u00FF"),
                           Text(kMaxIdUnits + 1, u'x')}) {
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
                             Text(kMaxFileName + 1, u'F')}) {
        EXPECT_TRUE(Throws(ErrorKind::kBadArgument, {}, [&] { store->CreateFile(name); }));
        EXPECT_TRUE(Throws(ErrorKind::kBadArgument, {}, [&] { store->RenameFile(file, name); }));
    }
    EXPECT_EQ(store->CountRecords(file), 0U);
}

TEST_P(StoreContract, KnowsFilesByExactNameAndNeverReusesANumber) {
    const auto store = Open();
    const auto other = Open();
    const FileNumber orders = store->CreateFile(u"ORDERS");
    store->CreateFile(u"Orders");
    EXPECT_TRUE(Throws(ErrorKind::kFileExists, u"ORDERS", [&] { other->CreateFile(u"ORDERS"); }));
    EXPECT_EQ(other->FindFile(u"ORDERS"), orders);
    EXPECT_EQ(other->FindFile(u"orders"), std::nullopt);
    EXPECT_TRUE(
        Throws(ErrorKind::kFileExists, u"Orders", [&] { store->RenameFile(orders, u"Orders"); }));

    Put(*other, orders, u"1", u"one");
    for (int i = 0; i < 2; ++i) {  // it may keep its name
        store->RenameFile(orders, u"DICT \u00D6RDERS");
    }
    EXPECT_TRUE(other->Exists(orders, u"1"));
    EXPECT_EQ(other->FileNames(), std::vector<Text>({u"DICT \u00D6RDERS", u"Orders"}));

    Text record;
    EXPECT_TRUE(other->Read(orders, u"1", record));
    store->DeleteFile(orders);
    const FileNumber again = store->CreateFile(u"ORDERS");
    EXPECT_NE(again, orders);
    const auto gone = [&](auto work) { return Throws(ErrorKind::kNoSuchFile, u"account", work); };
    EXPECT_TRUE(gone([&] { other->Read(orders, u"1", record); }));
    EXPECT_TRUE(gone([&] { Put(*other, orders, u"1", u"x"); }));
    EXPECT_TRUE(gone([&] { other->Delete(orders, u"1"); }));
    EXPECT_TRUE(gone([&] { other->OpenScan(orders, {}); }));
    EXPECT_TRUE(gone([&] { other->DeleteFile(orders); }));
    EXPECT_FALSE(other->Exists(again, u"1"));
}

TEST_P(StoreContract, ScansInOrderInChunksWhileTheFileChanges) {
    const auto store = Open();
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
    ASSERT_TRUE(store->OpenScan(file, {up, false, {}})->Next(entries, 3));
    EXPECT_EQ(entries[2].record, u"");
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

TEST_P(StoreContract, BatchesAreWholeOrNothing) {
    const auto store = Open();
    const auto other = Open({}, 50);
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
        EXPECT_TRUE(Throws(ErrorKind::kBusy, u"account", [&] { Put(*other, file, u"2", u"two"); }));
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

}  // namespace
}  // namespace kel::store
