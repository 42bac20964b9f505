// Finds the indexes that help a query, and reads ids out of them.
#include "hosts/multivalue/query/index_use.h"

#include <algorithm>

#include "hosts/multivalue/query/index_fields.h"
#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/store/index_key.h"

namespace kel::query {

namespace {

// Reading more records than this by their ids, one by one, is no faster than reading all in a row.
constexpr std::size_t kMaxCandidates = 100'000;
constexpr std::size_t kChunk = 256;

// The usable index over a field, by name.
class IndexFinder {
public:
    IndexFinder(FileNumber file, Store& store, Environment& environment)
        : environment_(environment), indexes_(store.Indexes(file)) {}

    bool Any() const { return !indexes_.empty(); }

    const IndexInfo* Find(const Field& field, TextView file) const {
        const std::optional<Text> description = IndexDescription(field.Item(), file, environment_);
        const auto found =
            std::find_if(indexes_.begin(), indexes_.end(), [&](const IndexInfo& index) {
                return !index.stale && description == index.description;
            });
        return found == indexes_.end() ? nullptr : &*found;
    }

private:
    Environment& environment_;
    std::vector<IndexInfo> indexes_;
};

using Ranges = std::vector<IndexRange>;

IndexRange Exactly(Text key) {
    IndexRange range;
    range.withKeys = false;
    range.low = IndexBound{key, true};
    range.high = IndexBound{std::move(key), true};
    return range;
}

// The keys with a prefix, from `low` to `high` where given.
IndexRange Within(TextView prefix, std::optional<IndexBound> low, std::optional<IndexBound> high) {
    IndexRange range;
    range.withKeys = false;
    range.low = low ? std::move(low) : IndexBound{Text(prefix), true};
    if (high) {
        range.high = std::move(high);
    } else if (std::optional<Text> end = KeyAfterPrefix(prefix)) {
        range.high = IndexBound{*std::move(end), false};
    }
    return range;
}

bool IsPlain(const Constant& constant) {
    return constant.part == Constant::Part::kWhole && !constant.anyUnits;
}

// The keys of all values that equal the constant.
void AddEqual(const Constant& constant, bool isRight, Ranges& ranges) {
    if (constant.number) {
        Text plain;
        constant.number->AppendTo(plain);
        ranges.push_back(Exactly(NumericSortKey(plain)));
    } else {
        ranges.push_back(
            Exactly(isRight ? NumericSortKey(constant.text) : PlainKey(constant.text)));
    }
}

// The keys of at least all values in an order relation to the constants.
bool AddOrdered(const Test& test, bool isRight, Ranges& ranges) {
    const bool hasLow = test.comparison == Comparison::kGreater ||
                        test.comparison == Comparison::kGreaterOrEqual ||
                        test.comparison == Comparison::kBetween;
    const bool hasHigh = test.comparison == Comparison::kLess ||
                         test.comparison == Comparison::kLessOrEqual ||
                         test.comparison == Comparison::kBetween;
    const Constant& first = test.constants.front();
    const Constant& last = test.constants.back();
    if ((!hasLow && !hasHigh) || first.number.has_value() != isRight ||
        last.number.has_value() != isRight ||
        (test.constants.size() > 1 && test.comparison != Comparison::kBetween)) {
        return false;
    }
    const auto key = [isRight](const Constant& constant) {
        if (!isRight) {
            return PlainKey(constant.text);
        }
        Text plain;
        constant.number->AppendTo(plain);
        return NumericSortKey(plain);
    };
    const std::optional<IndexBound> low =
        hasLow ? std::optional(IndexBound{key(first), true}) : std::nullopt;
    const std::optional<IndexBound> high =
        hasHigh ? std::optional(IndexBound{key(last), true}) : std::nullopt;
    if (!isRight) {
        ranges.push_back(Within(kPlainKeys, low, high));
        return true;
    }
    // Empty values have the key of 0 but come before every number; other text compares by length.
    const Text zero = NumericSortKey({});
    ranges.push_back(Within(kNumberKeys, low, high));
    if (hasHigh && high->key < zero) {
        ranges.push_back(Exactly(zero));
    }
    ranges.push_back(Within(kOtherKeys, std::nullopt, std::nullopt));
    return true;
}

// Ranges of keys that hold every record which passes the test; nothing when an index cannot tell.
Ranges RangesOf(const Test& test) {
    Ranges ranges;
    const bool isRight = test.field->Item().justification == u'R';
    if (test.negated || test.ignoresCase || test.constants.empty() ||
        !std::all_of(test.constants.begin(), test.constants.end(), IsPlain)) {
        return ranges;
    }
    if (test.comparison != Comparison::kEqual) {
        return AddOrdered(test, isRight, ranges) ? ranges : Ranges();
    }
    for (const Constant& constant : test.constants) {
        AddEqual(constant, isRight, ranges);
    }
    return ranges;
}

// The tests that a record cannot fail and still meet the condition.
void AddRequired(const Condition& condition, std::uint32_t node, std::vector<const Test*>& tests) {
    const Condition::Node& top = condition.nodes[node];
    if (top.kind == Condition::Kind::kTest) {
        tests.push_back(&condition.tests[top.left]);
    } else if (top.kind == Condition::Kind::kAnd) {
        AddRequired(condition, top.left, tests);
        AddRequired(condition, top.right, tests);
    }
}

// The ids of one key, which lie in the order of the file.
class KeyList : public SelectList {
public:
    explicit KeyList(std::unique_ptr<IndexScan> scan) : scan_(std::move(scan)) {}

    bool Next(SelectedId& entry) override {
        entry = {};
        if (at_ == chunk_.size()) {
            at_ = 0;
            if (!scan_->Next(chunk_, kChunk)) {
                return false;
            }
        }
        entry.id = std::move(chunk_[at_++].id);
        return true;
    }

private:
    std::unique_ptr<IndexScan> scan_;
    std::vector<IndexEntry> chunk_;
    std::size_t at_ = 0;
};

// All ids of several ranges, without repetition and in the order of the file; null when too many.
std::unique_ptr<SelectList> Merged(const Ranges& ranges,
                                   TextView index,
                                   FileNumber file,
                                   Store& store) {
    std::vector<Text> ids;
    std::vector<IndexEntry> chunk;
    for (const IndexRange& range : ranges) {
        const std::unique_ptr<IndexScan> scan = store.OpenIndexScan(file, index, range);
        while (scan->Next(chunk, kChunk)) {
            for (IndexEntry& entry : chunk) {
                ids.push_back(std::move(entry.id));
            }
            if (ids.size() > kMaxCandidates) {
                return nullptr;
            }
        }
    }
    std::sort(ids.begin(), ids.end(), ByCodePoint());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return ListOfIds(std::move(ids));
}

// Walks an index in order. Of records under one key the last comes first, as when sorting, unless
// their ids are the next key to sort by.
class OrderedList : public SelectList {
public:
    OrderedList(std::unique_ptr<IndexScan> scan, bool lastFirst)
        : scan_(std::move(scan)), lastFirst_(lastFirst) {}

    bool Next(SelectedId& entry) override {
        entry = {};
        if (group_.empty() && !ReadGroup()) {
            return false;
        }
        entry.id = std::move(group_.back());
        group_.pop_back();
        return true;
    }

private:
    bool ReadGroup() {
        if (!Available()) {
            return false;
        }
        const Text key = chunk_[at_].key;
        do {
            group_.push_back(std::move(chunk_[at_++].id));
        } while (lastFirst_ && Available() && chunk_[at_].key == key);
        return true;
    }

    bool Available() {
        if (at_ < chunk_.size()) {
            return true;
        }
        at_ = 0;
        return scan_->Next(chunk_, kChunk);
    }

    std::unique_ptr<IndexScan> scan_;
    bool lastFirst_;
    std::vector<IndexEntry> chunk_;
    std::size_t at_ = 0;
    std::vector<Text> group_;
};

bool HasKeys(TextView prefix, TextView index, FileNumber file, Store& store) {
    std::vector<IndexEntry> chunk;
    return store.OpenIndexScan(file, index, Within(prefix, std::nullopt, std::nullopt))
        ->Next(chunk, 1);
}

}  // namespace

std::unique_ptr<SelectList> IndexCandidates(const Query& query,
                                            FileNumber file,
                                            Store& store,
                                            Environment& environment) {
    const IndexFinder indexes(file, store, environment);
    if (query.with.Empty() || !indexes.Any()) {
        return nullptr;
    }
    std::vector<const Test*> tests;
    AddRequired(query.with, query.with.Root(), tests);
    // Equality first: it leaves fewer records.
    std::stable_partition(tests.begin(), tests.end(), [](const Test* test) {
        return test->comparison == Comparison::kEqual;
    });
    for (const Test* test : tests) {
        const Ranges ranges = RangesOf(*test);
        const IndexInfo* index =
            ranges.empty() ? nullptr : indexes.Find(*test->field, query.dictionary);
        if (index == nullptr) {
            continue;
        }
        if (ranges.size() == 1 && test->comparison == Comparison::kEqual) {
            return std::make_unique<KeyList>(
                store.OpenIndexScan(file, index->name, ranges.front()));
        }
        if (std::unique_ptr<SelectList> ids = Merged(ranges, index->name, file, store)) {
            return ids;
        }
    }
    return nullptr;
}

std::unique_ptr<SelectList> IndexOrder(const Query& query,
                                       const std::vector<SortKey>& keys,
                                       FileNumber file,
                                       Store& store,
                                       Environment& environment) {
    const bool thenById = keys.size() == 2 && keys[1].field == query.idField &&
                          !keys[1].descending && query.idField->Item().justification != u'R';
    const Field& field = *keys.front().field;
    if ((keys.size() > 1 && !thenById) || keys.front().exploded || field.Item().multivalued) {
        return nullptr;
    }
    const IndexFinder indexes(file, store, environment);
    const IndexInfo* index = indexes.Any() ? indexes.Find(field, query.dictionary) : nullptr;
    if (index == nullptr) {
        return nullptr;
    }
    IndexRange range;
    if (field.Item().justification != u'R') {
        range = Within(kPlainKeys, std::nullopt, std::nullopt);
    } else if (HasKeys(kOtherKeys, index->name, file, store) &&
               HasKeys(kNumberKeys, index->name, file, store)) {
        return nullptr;  // such values are sorted otherwise than their keys
    }
    range.withKeys = true;
    range.order = keys.front().descending ? ScanOrder::kDescending : ScanOrder::kAscending;
    return std::make_unique<OrderedList>(store.OpenIndexScan(file, index->name, range), !thenById);
}

}  // namespace kel::query
