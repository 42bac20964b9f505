// Indexes of any store: they follow every change and are never silently wrong.
#include "tests/store/store_contract.h"

#include <algorithm>
#include <random>
#include <set>
#include <vector>

#include "hosts/multivalue/text/dynamic_array.h"
#include "hosts/multivalue/text/error.h"
#include "tests/support/throws.h"

namespace kel::store {
namespace {

using test::Throws;

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
    std::vector<IndexEntry> entries(1, {u"left", u"over"});
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
    const Text words[] = {u"", u"a", u"a\u0800", u"b", Text(1, u'\0'), u"\uE000", u"\U0001F600"};
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
    IndexRange idsOnly;
    idsOnly.withKeys = false;
    EXPECT_EQ(Walk(*store, file, idsOnly, 9), Pairs({{u"", u"1"}, {u"", u"3"}, {u"", u"4"}}));
    store->DeleteFile(file);
    EXPECT_TRUE(Throws(ErrorKind::kNoSuchFile, u"account", [&] { Walk(*store, file, {}, 9); }));
}

}  // namespace
}  // namespace kel::store
