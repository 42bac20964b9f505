// Sorts entries by their keys, also where the rules name no single order.
#include "hosts/multivalue/query/sort.h"

#include <algorithm>
#include <limits>
#include <numeric>

#include "hosts/multivalue/query/index_fields.h"
#include "hosts/multivalue/text/error.h"

namespace kel::query {

namespace {

constexpr std::uint32_t kNobody = std::numeric_limits<std::uint32_t>::max();

// Comparisons that putting n entries into a tree may take before it is given up: entries that come
// nearly sorted would otherwise take forever.
constexpr std::uint64_t kSpareComparisons = 1'000'000;
constexpr std::uint64_t kComparisonsPerEntry = 64;

}  // namespace

EntrySorter::EntrySorter(const std::vector<SortKey>& keys) {
    for (const SortKey& key : keys) {
        keys_.push_back({key.field->Item().justification == u'R', key.descending});
    }
}

void EntrySorter::Append(TextView text) {
    units_.push_back(static_cast<char16_t>(text.size() >> 16));
    units_.push_back(static_cast<char16_t>(text.size() & 0xFFFF));
    units_.append(text);
}

TextView EntrySorter::Read(std::size_t& at) const {
    const std::size_t size = (std::size_t{units_[at]} << 16) | units_[at + 1];
    const TextView text = TextView(units_).substr(at + 2, size);
    at += 2 + size;
    return text;
}

void EntrySorter::Add(SelectedId entry, const std::vector<TextView>& values) {
    if (entries_.size() >= kNobody - 1) {
        throw Error(ErrorKind::kTooLong, u"There are too many records to sort.");
    }
    entries_.push_back({std::move(entry), units_.size()});
    for (std::size_t i = 0; i < keys_.size(); ++i) {
        Key& key = keys_[i];
        if (!key.isRight) {
            Append(values[i]);
            continue;
        }
        const Text number = NumericSortKey(values[i]);
        if (!values[i].empty()) {
            (IsNumberKey(number) ? key.hasNumbers : key.hasOthers) = true;
        }
        Append(number);
        Append(values[i]);
    }
}

// `mixed`: by the rules for two values, which are no order over all of them.
int EntrySorter::Compare(std::uint32_t left, std::uint32_t right, bool mixed) const {
    std::size_t atLeft = entries_[left].keys;
    std::size_t atRight = entries_[right].keys;
    for (const Key& key : keys_) {
        const TextView leftKey = Read(atLeft);
        const TextView rightKey = Read(atRight);
        int order = 0;
        if (!key.isRight) {
            order = leftKey.compare(rightKey);
        } else {
            const TextView leftValue = Read(atLeft);
            const TextView rightValue = Read(atRight);
            if (!mixed || (IsNumberKey(leftKey) && IsNumberKey(rightKey))) {
                order = leftKey.compare(rightKey);
            } else if (leftValue.size() != rightValue.size()) {
                order = leftValue.size() < rightValue.size() ? -1 : 1;
            } else {
                order = leftValue.compare(rightValue);
            }
        }
        if (order != 0) {
            return key.descending ? -order : order;
        }
    }
    return 0;
}

void EntrySorter::Sort() {
    const bool mixed = std::any_of(
        keys_.begin(), keys_.end(), [](const Key& key) { return key.hasNumbers && key.hasOthers; });
    if (mixed && SortByInsertion()) {
        return;
    }
    order_.resize(entries_.size());
    std::iota(order_.begin(), order_.end(), 0U);
    std::sort(order_.begin(), order_.end(), [this](std::uint32_t left, std::uint32_t right) {
        const int order = Compare(left, right, false);
        return order != 0 ? order < 0 : left > right;
    });
}

bool EntrySorter::SortByInsertion() {
    struct Branches {
        std::uint32_t before = kNobody;
        std::uint32_t after = kNobody;
    };
    const auto count = static_cast<std::uint32_t>(entries_.size());
    std::vector<Branches> tree(count);
    std::uint64_t left = kSpareComparisons + kComparisonsPerEntry * count;
    for (std::uint32_t added = 1; added < count; ++added) {
        std::uint32_t at = 0;
        while (true) {
            if (left-- == 0) {
                return false;
            }
            std::uint32_t& branch =
                Compare(added, at, true) <= 0 ? tree[at].before : tree[at].after;
            if (branch == kNobody) {
                branch = added;
                break;
            }
            at = branch;
        }
    }
    std::vector<std::uint32_t> path;
    for (std::uint32_t at = 0; at != kNobody || !path.empty();) {
        if (at != kNobody) {
            path.push_back(at);
            at = tree[at].before;
            continue;
        }
        order_.push_back(path.back());
        at = tree[path.back()].after;
        path.pop_back();
    }
    return true;
}

bool EntrySorter::Next(SelectedId& entry) {
    if (next_ == order_.size()) {
        entry = {};
        return false;
    }
    entry = std::move(entries_[order_[next_++]].selected);
    return true;
}

}  // namespace kel::query
