// Scans of an account in memory. Each chunk looks up anew where the last one ended.
#include <iterator>
#include <utility>

#include "hosts/multivalue/text/error.h"
#include "tests/support/memory_account.h"

namespace kel::store {

namespace {

class MemoryScan final : public Scan {
public:
    MemoryScan(MemoryStore& store, FileNumber file, const ScanRange& range)
        : store_(store), file_(file), range_(range) {}

    bool Next(std::vector<ScanEntry>& entries, std::size_t limit) override {
        entries.clear();
        const std::lock_guard guard(store_.mutex());
        const auto& records = store_.FileOf(file_).records;
        if (range_.order == ScanOrder::kAscending) {
            auto at = !range_.from ? records.begin()
                      : passed_    ? records.upper_bound(*range_.from)
                                   : records.lower_bound(*range_.from);
            for (; at != records.end() && entries.size() < limit; ++at) {
                Add(entries, *at);
            }
        } else {
            auto at = !range_.from ? records.end()
                      : passed_    ? records.lower_bound(*range_.from)
                                   : records.upper_bound(*range_.from);
            while (at != records.begin() && entries.size() < limit) {
                Add(entries, *--at);
            }
        }
        if (!entries.empty()) {
            range_.from = entries.back().id;
            passed_ = true;
        }
        return !entries.empty();
    }

private:
    void Add(std::vector<ScanEntry>& entries, const std::pair<const Text, Text>& record) const {
        entries.push_back({record.first, range_.withRecords ? record.second : Text()});
    }

    MemoryStore& store_;
    const FileNumber file_;
    ScanRange range_;
    bool passed_ = false;  // the record at `from` was handed out
};

class MemoryIndexScan final : public IndexScan {
public:
    MemoryIndexScan(MemoryStore& store, FileNumber file, TextView name, const IndexRange& range)
        : store_(store), file_(file), name_(name), range_(range) {}

    bool Next(std::vector<IndexEntry>& entries, std::size_t limit) override {
        entries.clear();
        const std::lock_guard guard(store_.mutex());
        const auto& keys = store_.FreshIndex(file_, name_).ids;
        if (range_.order == ScanOrder::kAscending) {
            const std::optional<IndexBound>& start = range_.low;
            for (auto at = !start             ? keys.begin()
                           : start->inclusive ? keys.lower_bound(start->key)
                                              : keys.upper_bound(start->key);
                 at != keys.end() && !IsBeyond(at->first) && entries.size() < limit;
                 ++at) {
                Add(entries, *at, limit);
            }
        } else {
            const std::optional<IndexBound>& start = range_.high;
            for (auto at = !start             ? keys.end()
                           : start->inclusive ? keys.upper_bound(start->key)
                                              : keys.lower_bound(start->key);
                 at != keys.begin() && !IsBeyond(std::prev(at)->first) && entries.size() < limit;) {
                Add(entries, *--at, limit);
            }
        }
        if (!entries.empty()) {
            lastId_ = entries.back().id;
            auto& start = range_.order == ScanOrder::kAscending ? range_.low : range_.high;
            start = IndexBound{lastKey_, true};
            if (!range_.withKeys) {
                for (IndexEntry& entry : entries) {
                    entry.key.clear();
                }
            }
        }
        return !entries.empty();
    }

private:
    // Past the far end of the range.
    bool IsBeyond(TextView key) const {
        const bool up = range_.order == ScanOrder::kAscending;
        const std::optional<IndexBound>& end = up ? range_.high : range_.low;
        if (!end) {
            return false;
        }
        return key == end->key ? !end->inclusive : (key > TextView(end->key)) == up;
    }

    void Add(std::vector<IndexEntry>& entries,
             const std::pair<const Text, std::set<Text, ByCodePoint>>& group,
             std::size_t limit) {
        const bool resume = lastId_ && group.first == lastKey_;
        for (auto id = resume ? group.second.upper_bound(*lastId_) : group.second.begin();
             id != group.second.end() && entries.size() < limit;
             ++id) {
            entries.push_back({group.first, *id});
        }
        if (!entries.empty()) {
            lastKey_ = entries.back().key;
        }
    }

    MemoryStore& store_;
    const FileNumber file_;
    const Text name_;
    IndexRange range_;
    Text lastKey_;
    std::optional<Text> lastId_;  // handed out last, under lastKey_
};

}  // namespace

std::unique_ptr<Scan> MemoryStore::OpenScan(FileNumber file, const ScanRange& range) {
    const std::lock_guard guard(mutex());
    FileOf(file);
    return std::make_unique<MemoryScan>(*this, file, range);
}

std::unique_ptr<IndexScan> MemoryStore::OpenIndexScan(FileNumber file,
                                                      TextView name,
                                                      const IndexRange& range) {
    const std::lock_guard guard(mutex());
    FreshIndex(file, name);
    return std::make_unique<MemoryIndexScan>(*this, file, name, range);
}

}  // namespace kel::store
