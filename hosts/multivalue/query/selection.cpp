// Goes from the records that may be selected to the entries that are.
#include "hosts/multivalue/query/selection.h"

#include <algorithm>
#include <utility>

#include "hosts/multivalue/query/index_use.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/text/mark_scan.h"

namespace kel::query {

namespace {

constexpr std::size_t kFirstChunk = 8;  // the first record is not to wait for many others
constexpr std::size_t kChunk = 256;
constexpr std::size_t kMissingKept = 100;

bool IsPlainId(const Field& field) {
    return field.Item().correlative.empty() && field.Item().attribute == 0;
}

bool AsksRecords(const Condition& condition) {
    return std::any_of(condition.tests.begin(), condition.tests.end(), [](const Test& test) {
        return !IsPlainId(*test.field) || (test.other != nullptr && !IsPlainId(*test.other));
    });
}

std::int32_t CountParts(TextView text, char16_t mark) {
    return static_cast<std::int32_t>(std::count(text.begin(), text.end(), mark) + 1);
}

}  // namespace

// Where the records to look at come from.
class Selection::Source {
public:
    virtual ~Source() = default;

    // Makes the next record the one that the query's fields speak of.
    virtual bool Next(Selection& selection) = 0;

protected:
    static void Found(Selection& selection, TextView id, TextView record, ValuePosition position) {
        selection.foundId_ = id;
        selection.foundPosition_ = position;
        selection.query_.fields->SetRecord(id, record);
    }
};

class Selection::FileSource : public Source {
public:
    explicit FileSource(std::unique_ptr<Scan> scan) : scan_(std::move(scan)) {}

    bool Next(Selection& selection) override {
        if (at_ == chunk_.size()) {
            at_ = 0;
            if (!scan_->Next(chunk_, limit_)) {
                return false;
            }
            limit_ = std::min(limit_ * 2, kChunk);
        }
        const ScanEntry& entry = chunk_[at_++];
        Found(selection, entry.id, entry.record, {});
        return true;
    }

private:
    std::unique_ptr<Scan> scan_;
    std::vector<ScanEntry> chunk_;
    std::size_t at_ = 0;
    std::size_t limit_ = kFirstChunk;
};

class Selection::ListSource : public Source {
public:
    // `reports`: what the file does not have is told.
    ListSource(std::unique_ptr<SelectList> list, bool reports)
        : list_(std::move(list)), reports_(reports) {}

    bool Next(Selection& selection) override {
        while (list_->Next(entry_)) {
            if (CanBeId(entry_.id) && Read(selection)) {
                Found(selection, entry_.id, record_, entry_.position);
                return true;
            }
            if (reports_ && selection.missingCount_++ < kMissingKept) {
                selection.missing_.push_back(entry_.id);
            }
        }
        return false;
    }

private:
    bool Read(Selection& selection) {
        return selection.needsRecords_ ? selection.store_.Read(selection.file_, entry_.id, record_)
                                       : selection.store_.Exists(selection.file_, entry_.id);
    }

    std::unique_ptr<SelectList> list_;
    bool reports_;
    SelectedId entry_;
    Text record_;
};

Selection::Selection(Query query,
                     std::unique_ptr<SelectList> list,
                     Store& store,
                     Environment& environment)
    : query_(std::move(query)),
      store_(store),
      file_(RequireFile(store, query_.file).number),
      keys_(query_.sorts),
      with_(query_.with, *query_.fields),
      when_(query_.when, *query_.fields),
      left_(query_.sample.value_or(~std::uint64_t{0})) {
    for (const SortKey& key : keys_) {
        if (key.exploded) {
            exploded_.push_back(key.field);
        }
    }
    for (const Test& test : query_.when.tests) {
        whenFields_.push_back(test.field);
    }
    if (query_.verb == QueryVerb::kSortedSelect || query_.verb == QueryVerb::kSortedList) {
        keys_.push_back({query_.idField});
    } else if (query_.verb == QueryVerb::kCount || query_.verb == QueryVerb::kSum) {
        keys_.clear();
    }
    needsRecords_ = NeedsRecords();
    MakeSource(std::move(list), environment);
    if (!keys_.empty()) {
        sorter_.emplace(keys_);
    }
}

Selection::~Selection() = default;

bool Selection::NeedsRecords() const {
    const bool keysAsk = std::any_of(
        keys_.begin(), keys_.end(), [](const SortKey& key) { return !IsPlainId(*key.field); });
    return keysAsk || !exploded_.empty() || !query_.columns.empty() ||
           (query_.saving && !IsPlainId(*query_.saving->field)) || AsksRecords(query_.with) ||
           AsksRecords(query_.when);
}

// Whether the sort is one by ids, as files are walked anyway.
bool Selection::ScansInOrder() const {
    return keys_.size() == 1 && exploded_.empty() && IsPlainId(*keys_[0].field) &&
           keys_[0].field->Item().justification != u'R' && (!keys_[0].descending || !query_.sample);
}

void Selection::MakeSource(std::unique_ptr<SelectList> list, Environment& environment) {
    if (!query_.ids.empty()) {
        list = ListOfIds(query_.ids);
    }
    if (list) {
        source_ = std::make_unique<ListSource>(std::move(list), true);
        return;
    }
    ScanRange range;
    range.withRecords = needsRecords_;
    const bool inOrder = ScansInOrder();
    const bool descending = inOrder && keys_[0].descending;
    if (inOrder) {
        keys_.clear();
        range.order = descending ? ScanOrder::kDescending : ScanOrder::kAscending;
    }
    std::unique_ptr<SelectList> ids;
    if (query_.usesIndexes && !descending) {
        ids = IndexCandidates(query_, file_, store_, environment);
        const bool wantsAll = query_.with.Empty() && query_.when.Empty() && !query_.sample;
        if (!keys_.empty() && wantsAll) {
            ids = IndexOrder(query_, keys_, file_, store_, environment);
            if (ids) {
                keys_.clear();
                needsRecords_ = NeedsRecords();
            }
        }
    }
    if (ids) {
        source_ = std::make_unique<ListSource>(std::move(ids), false);
    } else {
        source_ = std::make_unique<FileSource>(store_.OpenScan(file_, range));
    }
}

// Finds the next record that meets the conditions and queues or sorts its entries.
bool Selection::NextFound() {
    while (left_ > 0 && source_->Next(*this)) {
        if (with_.Holds() && when_.Holds()) {
            --left_;
            QueueEntries();
            return true;
        }
    }
    return false;
}

void Selection::QueueEntries() {
    queue_.clear();
    queued_ = 0;
    if (exploded_.empty() || foundPosition_.value > 0) {
        QueueValues(foundPosition_);
    } else {
        Explode();
    }
}

void Selection::Explode() {
    std::int32_t values = 1;
    for (const Field* field : exploded_) {
        values = std::max(values, CountParts(Fields().Internal(*field), kValueMark));
    }
    for (std::int32_t value = 1; value <= values; ++value) {
        std::int32_t subvalues = 1;
        for (const Field* field : exploded_) {
            subvalues = std::max(subvalues,
                                 CountParts(Fields().Internal(*field, {value, 0}), kSubvalueMark));
        }
        for (std::int32_t subvalue = 1; subvalue <= subvalues; ++subvalue) {
            const ValuePosition position{value, subvalues > 1 ? subvalue : 0};
            if (when_.HoldsAt(position)) {
                QueueValues(position);
            }
        }
    }
}

// Whether a field goes with one of the others value by value.
bool Selection::Follows(const Field& field, const std::vector<const Field*>& others) {
    const Text& association = field.Item().association;
    return field.Item().multivalued &&
           std::any_of(others.begin(), others.end(), [&](const Field* other) {
               return other == &field ||
                      (!association.empty() && other->Item().association == association);
           });
}

bool Selection::ShowsValue(const Field& field, ValuePosition entry, std::int32_t value) {
    const bool isEntrys = entry.value == 0 || entry.value == value || !Follows(field, exploded_);
    return isEntrys && (!Follows(field, whenFields_) || when_.HoldsAt({value, 0}));
}

TextView Selection::ValueAt(const Field& field, ValuePosition position) {
    return position.value > 0 && Follows(field, exploded_) ? Fields().Internal(field, position)
                                                           : Fields().Internal(field);
}

void Selection::QueueValues(ValuePosition position) {
    if (!query_.saving) {
        Queue(foundId_, position);
        return;
    }
    const Field& field = *query_.saving->field;
    std::vector<Text> values;
    TextView rest = ValueAt(field, position);
    for (bool more = true; more;) {
        const std::size_t end =
            field.Item().multivalued ? std::min(rest.find(kValueMark), rest.size()) : rest.size();
        if (end > 0 || !query_.saving->withoutEmpty) {
            values.emplace_back(rest.substr(0, end));
        }
        more = end < rest.size();
        rest.remove_prefix(more ? end + 1 : end);
    }
    if (sorter_) {
        // Of equal entries the last comes first; the values of one record are to keep their order.
        std::reverse(values.begin(), values.end());
    }
    for (const Text& value : values) {
        Queue(value, position);
    }
}

void Selection::Queue(TextView id, ValuePosition position) {
    SelectedId entry{Text(id), query_.saving ? ValuePosition{} : position};
    if (!sorter_) {
        queue_.push_back(std::move(entry));
        return;
    }
    keyValues_.clear();
    for (const SortKey& key : keys_) {
        keyValues_.push_back(ValueAt(*key.field, position));
    }
    sorter_->Add(std::move(entry), keyValues_);
}

void Selection::SortAll() {
    while (NextFound()) {
    }
    sorter_->Sort();
    isSorted_ = true;
}

bool Selection::NextUnsorted(SelectedId& entry) {
    while (queued_ == queue_.size()) {
        if (!NextFound()) {
            entry = {};
            return false;
        }
    }
    entry = std::move(queue_[queued_++]);
    return true;
}

bool Selection::Next(SelectedId& entry) {
    if (sorter_ && !isSorted_) {
        SortAll();
    }
    bool found = false;
    do {
        found = sorter_ ? sorter_->Next(entry) : NextUnsorted(entry);
    } while (found && query_.saving && query_.saving->unique && !saved_.insert(entry.id).second);
    if (sorter_ && needsRecords_) {
        delivered_ = entry;
    }
    return found;
}

bool Selection::Load() {
    if (!sorter_) {
        return true;
    }
    if (!store_.Read(file_, delivered_.id, loaded_)) {
        return false;
    }
    Fields().SetRecord(delivered_.id, loaded_);
    return true;
}

}  // namespace kel::query
