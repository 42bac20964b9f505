// What every store does: what goes in comes out, scans, batches, indexes, record locks. Run against
// the store in memory and the one in a file.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "hosts/embedded/store/sqlite_store.h"
#include "hosts/multivalue/store/index_key.h"
#include "hosts/multivalue/text/dynamic_array.h"
#include "tests/host/account_folder.h"
#include "tests/support/memory_store.h"
#include "tests/support/text_support.h"

namespace kel::store {
namespace {

using test::Throws;
using namespace std::chrono_literals;

// One account of the kind in question; any number of sessions.
class StoreContract : public testing::TestWithParam<bool> {
protected:
    bool InMemory() const { return GetParam(); }

    std::unique_ptr<Store> Open(TextView user = {}, std::uint32_t busyWaitMs = 5000) {
        if (InMemory()) {
            return OpenMemoryStore(memory_, {Text(user), busyWaitMs});
        }
        embedded::StoreOptions options = test::Quick();
        options.user = user;
        options.busyWaitMs = busyWaitMs;
        return embedded::OpenStore(folder_.Path(), options);
    }

private:
    const std::shared_ptr<MemoryAccount> memory_ = MakeMemoryAccount();
    const test::AccountFolder folder_;
};

std::string NameOfKind(const testing::TestParamInfo<bool>& kind) {
    return kind.param ? "Memory" : "File";
}

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

TEST_P(StoreContract, KeepsEveryUnitOfRecordsAndIds) {
    Text every;
    for (unsigned unit = 0; unit < 0x10000; ++unit) {
        every.push_back(static_cast<char16_t>(unit));
    }
    const Text records[] = {Text(),
                            Text(1, u'\0'),
                            Marked("one^two]2\\3^"),
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
    store->RenameFile(orders, u"DICT \u00D6RDERS");
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

// ---- Indexes ----

// The description is an attribute's number; its values are the keys.
class ValuesAsKeys final : public IndexKeys {
public:
    void KeysOf(FileNumber,
                TextView description,
                TextView,
                TextView record,
                std::vector<Text>& keys) override {
        const Text values = DynamicArray(record).Extract({description[0] - u'0', 0, 0});
        if (values == u"refuse") {
            throw Error(ErrorKind::kBadArgument, u"refuse");
        }
        for (std::size_t at = 0, end = 0; end != Text::npos; at = end + 1) {
            end = values.find(kValueMark, at);
            keys.push_back(values.substr(at, end - at));
        }
    }
};

using Pairs = std::vector<std::pair<Text, Text>>;

Pairs Walk(Store& store, FileNumber file, const IndexRange& range, std::size_t limit) {
    Pairs pairs;
    std::vector<IndexEntry> entries;
    const auto scan = store.OpenIndexScan(file, u"I", range);
    while (scan->Next(entries, limit)) {
        EXPECT_LE(entries.size(), limit);
        for (const IndexEntry& entry : entries) {
            pairs.emplace_back(entry.key, entry.id);
        }
    }
    return pairs;
}

// What the index must give, worked out from the records.
Pairs Expected(Store& store, FileNumber file, IndexKeys& maker, const IndexRange& range) {
    Pairs pairs;
    std::vector<ScanEntry> entries;
    const auto scan = store.OpenScan(file, {});
    while (scan->Next(entries, 100)) {
        for (const ScanEntry& entry : entries) {
            std::vector<Text> keys;
            maker.KeysOf(file, u"2", entry.id, entry.record, keys);
            for (const Text& key : std::set<Text>(keys.begin(), keys.end())) {
                const auto inside = [&](const std::optional<IndexBound>& bound, bool above) {
                    return !bound ||
                           (key == bound->key ? bound->inclusive : (key > bound->key) == above);
                };
                if (inside(range.low, true) && inside(range.high, false)) {
                    pairs.emplace_back(key, entry.id);
                }
            }
        }
    }
    const bool up = range.order == ScanOrder::kAscending;
    std::stable_sort(pairs.begin(), pairs.end(), [&](const auto& a, const auto& b) {
        return up ? a.first < b.first : b.first < a.first;
    });
    return pairs;
}

TEST_P(StoreContract, IndexesFollowEveryChange) {
    ValuesAsKeys maker;
    const auto store = Open();
    const auto other = Open();
    store->UseIndexKeys(&maker);
    other->UseIndexKeys(&maker);
    const FileNumber file = store->CreateFile(u"F");
    std::mt19937 random(7);  // NOLINT(bugprone-random-generator-seed): the same run every time
    const auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    const Text words[] = {u"", u"a", u"ab", u"b", Text(1, u'\0'), u"\uE000", u"\U0001F600"};
    const auto word = [&] { return words[below(std::size(words))]; };
    const auto change = [&](Store& session) {
        const Text id(1, static_cast<char16_t>(u'A' + below(20)));
        switch (below(12)) {
            case 0:
                return session.ClearFile(file);
            case 1:
            case 2:
                session.Delete(file, id);
                return;
            default:
                Put(session, file, id, u"x\u00FE" + word() + u"\u00FD" + word());
        }
    };
    for (int i = 0; i < 30; ++i) {
        change(*store);
    }
    store->CreateIndex(file, u"I", u"2");
    for (int i = 0; i < 60; ++i) {
        if (below(4) == 0) {
            Batch batch(*store);
            change(*store);
            change(*store);
            if (below(2) == 0) {
                batch.Commit();
            }
        } else {
            change(below(2) == 0 ? *store : *other);
        }
        IndexRange range;
        range.order = below(2) == 0 ? ScanOrder::kAscending : ScanOrder::kDescending;
        if (below(3) != 0) {
            range.low = IndexBound{word(), below(2) == 0};
        }
        if (below(3) != 0) {
            range.high = IndexBound{word(), below(2) == 0};
        }
        ASSERT_EQ(Walk(*other, file, range, 1 + below(5)), Expected(*store, file, maker, range))
            << i;
    }
    store->RenameFile(file, u"G");
    EXPECT_EQ(other->Indexes(file).size(), 1U);
    store->DropIndex(file, u"I");
    EXPECT_EQ(other->Indexes(file).size(), 0U);
    EXPECT_TRUE(Throws(ErrorKind::kNoSuchIndex, u"\"I\"", [&] { Walk(*other, file, {}, 1); }));
}

TEST_P(StoreContract, IndexesAreNeverSilentlyWrong) {
    ValuesAsKeys maker;
    const auto store = Open();
    const auto without = Open();
    store->UseIndexKeys(&maker);
    const FileNumber file = store->CreateFile(u"F");
    const auto failing = [&](ErrorKind kind, auto work) { return Throws(kind, u"\"", work); };
    EXPECT_TRUE(failing(ErrorKind::kMisuse, [&] { without->CreateIndex(file, u"I", u"1"); }));
    store->CreateIndex(file, u"I", u"1");
    EXPECT_TRUE(failing(ErrorKind::kIndexExists, [&] { store->CreateIndex(file, u"I", u"2"); }));
    EXPECT_TRUE(failing(ErrorKind::kNoSuchIndex, [&] { store->DropIndex(file, u"J"); }));
    EXPECT_TRUE(failing(ErrorKind::kNoSuchIndex, [&] { store->RebuildIndex(file, u"J"); }));
    Put(*store, file, u"1", u"k");
    Put(*store, file, u"2", u"l");

    // Keys that cannot be told fail the write as a whole.
    EXPECT_TRUE(
        Throws(ErrorKind::kBadArgument, u"refuse", [&] { Put(*store, file, u"1", u"refuse"); }));
    EXPECT_EQ(Walk(*store, file, {}, 9), Pairs({{u"k", u"1"}, {u"l", u"2"}}));

    // A session that cannot tell keys deletes, and then writes.
    const auto scan = store->OpenIndexScan(file, u"I", {});
    without->Delete(file, u"2");
    EXPECT_EQ(Walk(*store, file, {}, 9), Pairs({{u"k", u"1"}}));
    {
        Batch batch(*without);
        Put(*without, file, u"3", u"m");
    }
    EXPECT_FALSE(store->Indexes(file)[0].stale);
    Put(*without, file, u"3", u"m");
    EXPECT_TRUE(store->Indexes(file)[0].stale);
    std::vector<IndexEntry> entries;
    EXPECT_TRUE(failing(ErrorKind::kStaleIndex, [&] { scan->Next(entries, 9); }));
    EXPECT_TRUE(failing(ErrorKind::kStaleIndex, [&] { Walk(*store, file, {}, 9); }));
    EXPECT_TRUE(failing(ErrorKind::kMisuse, [&] { without->RebuildIndex(file, u"I"); }));
    Put(*store, file, u"4", u"n");
    store->RebuildIndex(file, u"I");
    EXPECT_EQ(Walk(*store, file, {}, 9), Pairs({{u"k", u"1"}, {u"m", u"3"}, {u"n", u"4"}}));
    store->DeleteFile(file);
    EXPECT_TRUE(Throws(ErrorKind::kNoSuchFile, u"account", [&] { Walk(*store, file, {}, 9); }));
}

TEST(IndexKeyOrder, IsThatOfValues) {
    const Text inOrder[] = {u"",
                            u"-1000",
                            u"-12.51",
                            u"-12.5",
                            u"-0.01",
                            u"0",
                            u"0.000999",
                            u".001",
                            u"0.1",
                            u"1",
                            u"1.0000000000000000000000001",
                            u"9",
                            u"12.5",
                            u"12.51",
                            u"123456789012345678901234567890",
                            u"+1" + Text(290, u'0'),
                            u"-",
                            u".",
                            u"A",
                            u"1A",
                            u"AB",
                            u"1E5",
                            Text(300, u'A')};
    for (std::size_t i = 0; i < std::size(inOrder); ++i) {
        for (std::size_t j = 0; j < std::size(inOrder); ++j) {
            EXPECT_EQ(
                IndexKey(inOrder[i], KeyOrder::kNumeric) < IndexKey(inOrder[j], KeyOrder::kNumeric),
                i < j)
                << i << " " << j;
        }
    }
    for (const char16_t* same : {u"-0", u"+0.00", u"000", u"0."}) {
        EXPECT_EQ(IndexKey(same, KeyOrder::kNumeric), IndexKey(u"0", KeyOrder::kNumeric));
    }
    EXPECT_EQ(KeyAfterPrefix(Text(u"ab\uFFFF")), u"ac");
    EXPECT_EQ(KeyAfterPrefix(u"\uFFFF"), std::nullopt);
}

// ---- Locks ----

class RecordLocks : public StoreContract {
protected:
    RecordLocks() : first_(Open(u"first user")), second_(Open()), file_(first_->CreateFile(u"F")) {}

    // Whether the second session can have the lock; it does not keep it.
    bool IsFree(TextView id) {
        const bool granted = !second_->Lock(file_, id, 0);
        second_->Unlock(file_, id);
        return granted;
    }

    std::unique_ptr<Store> first_;
    std::unique_ptr<Store> second_;
    FileNumber file_{};
};

TEST_P(RecordLocks, AreKnownToOtherSessionsWithTheirHolder) {
    EXPECT_FALSE(first_->Lock(file_, u"1", 0));  // the record need not exist
    EXPECT_FALSE(first_->Lock(file_, u"1", 0));  // and the owner may ask again
    const LockAnswer holder = second_->Lock(file_, u"1", 0);
    ASSERT_TRUE(holder);
    EXPECT_EQ(holder->user, u"first user");
    EXPECT_EQ(holder->processId, InMemory() ? 0 : embedded::CurrentProcessId());
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::system_clock::now().time_since_epoch());
    EXPECT_NEAR(static_cast<double>(holder->sinceMs), static_cast<double>(now.count()), 60000.0);
    EXPECT_TRUE(IsFree(u"2"));
    const FileNumber otherFile = first_->CreateFile(u"G");
    EXPECT_FALSE(second_->Lock(otherFile, u"1", 0));
    second_->Unlock(file_, u"1");  // not its own: nothing
    EXPECT_FALSE(IsFree(u"1"));
    first_->Unlock(file_, u"1");
    EXPECT_TRUE(IsFree(u"1"));
}

TEST_P(RecordLocks, EndWithWritesDeletesAndSessions) {
    using Change = void (*)(Store&, FileNumber);
    const struct {
        const char* what;
        Change change;
        bool freeAfterwards;
    } cases[] = {
        {"write",
         [](Store& s, FileNumber f) { s.Write(f, u"1", u"x", AfterWrite::kRelease); },
         true},
        {"write and keep",
         [](Store& s, FileNumber f) { s.Write(f, u"1", u"x", AfterWrite::kKeep); },
         false},
        {"delete", [](Store& s, FileNumber f) { s.Delete(f, u"1"); }, true},
        {"delete of nothing", [](Store& s, FileNumber f) { s.Delete(f, u"1"); }, true},
        {"write of another record",
         [](Store& s, FileNumber f) { s.Write(f, u"2", u"x", AfterWrite::kRelease); },
         false},
        {"unlock all", [](Store& s, FileNumber) { s.UnlockAll(); }, true},
    };
    for (const auto& c : cases) {
        ASSERT_FALSE(first_->Lock(file_, u"1", 0)) << c.what;
        c.change(*first_, file_);
        EXPECT_EQ(IsFree(u"1"), c.freeAfterwards) << c.what;
        first_->UnlockAll();
    }
    first_->Write(file_, u"3", u"x", AfterWrite::kKeep);  // takes a lock it had not
    EXPECT_FALSE(IsFree(u"3"));
    first_.reset();
    EXPECT_TRUE(IsFree(u"3"));
}

TEST_P(RecordLocks, DoNotKeepOthersFromWriting) {
    ASSERT_FALSE(first_->Lock(file_, u"1", 0));
    second_->Write(file_, u"1", u"written", AfterWrite::kRelease);
    second_->Write(file_, u"1", u"again", AfterWrite::kKeep);
    EXPECT_FALSE(IsFree(u"1"));  // and nobody's lock is broken by that
    EXPECT_TRUE(second_->Delete(file_, u"1"));
    EXPECT_FALSE(IsFree(u"1"));
}

TEST_P(RecordLocks, GivenUpInABatchEndWhenItCommits) {
    ASSERT_FALSE(first_->Lock(file_, u"1", 0));
    {
        Batch batch(*first_);
        first_->Write(file_, u"1", u"x", AfterWrite::kRelease);
        EXPECT_FALSE(IsFree(u"1"));
    }
    EXPECT_FALSE(IsFree(u"1"));  // the write never was
    Batch batch(*first_);
    first_->Write(file_, u"1", u"x", AfterWrite::kRelease);
    batch.Commit();
    EXPECT_TRUE(IsFree(u"1"));
}

TEST_P(RecordLocks, AreWaitedForWithinTheTimeGiven) {
    ASSERT_FALSE(first_->Lock(file_, u"1", 0));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(second_->Lock(file_, u"1", 200));
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, 200ms);
    EXPECT_LT(waited, 5s);

    std::thread release([&] {
        std::this_thread::sleep_for(100ms);
        first_->Unlock(file_, u"1");
    });
    EXPECT_FALSE(second_->Lock(file_, u"1", 20000));
    release.join();

    // Each wants what the other has: one is answered at once, and the other gets what that one
    // gives up.
    ASSERT_FALSE(first_->Lock(file_, u"2", 0));
    const auto crossed = std::chrono::steady_clock::now();
    const auto wantThenGiveWay = [&](Store& store, TextView wanted, TextView had) {
        const bool refused = store.Lock(file_, wanted, 20000).has_value();
        if (refused) {
            store.Unlock(file_, had);
        }
        return refused;
    };
    bool firstRefused = false;
    std::thread cross([&] { firstRefused = wantThenGiveWay(*first_, u"1", u"2"); });
    const bool secondRefused = wantThenGiveWay(*second_, u"2", u"1");
    cross.join();
    EXPECT_NE(firstRefused, secondRefused);
    EXPECT_LT(std::chrono::steady_clock::now() - crossed, 5s);
}

TEST_P(RecordLocks, AreListed) {
    first_->Lock(file_, u"b", 0);
    second_->Lock(file_, u"a", 0);
    first_->Lock(first_->CreateFile(u"G"), u"c", 0);
    std::vector<Text> listed;
    for (const HeldLock& lock : second_->Locks()) {
        listed.push_back(lock.id + (lock.holder.user == u"first user" ? u" first" : u""));
        EXPECT_EQ(lock.file == file_, lock.id != u"c");
    }
    EXPECT_EQ(listed, std::vector<Text>({u"a", u"b first", u"c first"}));
}

INSTANTIATE_TEST_SUITE_P(Kinds, StoreContract, testing::Bool(), NameOfKind);
INSTANTIATE_TEST_SUITE_P(Kinds, RecordLocks, testing::Bool(), NameOfKind);

}  // namespace
}  // namespace kel::store
