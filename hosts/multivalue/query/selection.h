// Runs a query: delivers the records it selects, one after the other.
#pragma once

#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/query/conditions.h"
#include "hosts/multivalue/query/select_list.h"
#include "hosts/multivalue/query/sort.h"
#include "hosts/multivalue/query/tree.h"
#include "hosts/multivalue/store/store.h"

namespace kel::query {

// Without a sort, and with one that an index has, nothing is read ahead but a chunk of records.
// Otherwise the first Next reads all.
class Selection : public SelectList {
public:
    // The query's own ids, else `list`, else an index, else the whole file say which records to
    // look at. What is borrowed must outlive this object. Raises kNoSuchFile.
    Selection(Query query,
              std::unique_ptr<SelectList> list,
              Store& store,
              Environment& environment);
    ~Selection() override;

    // The next entry; with SAVING the value saved stands in the place of the id.
    bool Next(SelectedId& entry) override;

    // Makes the record of the entry delivered last the one that Fields() speak of, as long as no
    // other is asked for. False when it is no longer there. Not with SAVING.
    bool Load();
    FieldEvaluator& Fields() const { return *query_.fields; }
    const Query& Sentence() const { return query_; }

    // Whether the value of a field at a position is to be shown: the position is that of the entry,
    // where entries stand for values of the field, and meets WHEN, where that is about the field.
    // Of the record loaded.
    bool ShowsValue(const Field& field, ValuePosition entry, std::int32_t value);

    // Ids of the list, or of the sentence itself, that the file did not have: the first few.
    const std::vector<Text>& Missing() const { return missing_; }
    std::uint64_t MissingCount() const { return missingCount_; }

private:
    class Source;
    class FileSource;
    class ListSource;

    void MakeSource(std::unique_ptr<SelectList> list, Environment& environment);
    bool NeedsRecords() const;
    bool ScansInOrder() const;
    bool NextFound();
    void QueueEntries();
    void QueueValues(ValuePosition position);
    void Queue(TextView id, ValuePosition position);
    void Explode();
    static bool Follows(const Field& field, const std::vector<const Field*>& others);
    TextView ValueAt(const Field& field, ValuePosition position);
    void SortAll();
    bool NextUnsorted(SelectedId& entry);

    Query query_;
    Store& store_;
    FileNumber file_{};
    std::vector<SortKey> keys_;  // with the id, where the verb sorts by it
    std::vector<const Field*> exploded_;
    std::vector<const Field*> whenFields_;
    bool needsRecords_ = false;
    ConditionEvaluator with_;
    ConditionEvaluator when_;
    std::optional<EntrySorter> sorter_;
    bool isSorted_ = false;
    std::uint64_t left_;  // of SAMPLE
    std::set<Text, std::less<>> saved_;
    std::unique_ptr<Source> source_;
    TextView foundId_;  // of the record being looked at; the source's own
    ValuePosition foundPosition_;
    std::vector<SelectedId> queue_;  // entries of that record, and how many were delivered
    std::size_t queued_ = 0;
    SelectedId delivered_;
    Text loaded_;
    std::vector<TextView> keyValues_;
    std::vector<Text> missing_;
    std::uint64_t missingCount_ = 0;
};

}  // namespace kel::query
