// The fields of one file's records, by name, as sentences and forms see them.
//
//     FieldEvaluator fields(environment, u"ORDERS");
//     const Field* total = fields.Resolve(u"TOTAL");
//     while (...) {
//         fields.SetRecord(id, record);
//         fields.Internal(*total)    // "97799"
//         fields.External(*total)    // "977.99"
//     }
//
// A name is resolved once: its item read, its correlative compiled. Per record nothing is parsed
// but the record, and only as far as the fields asked for lie; results stand in memory that is
// kept.
//
// One thread at a time.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/expression/correlative_evaluator.h"
#include "hosts/multivalue/expression/dictionary.h"
#include "hosts/multivalue/text/record_fields.h"
#include "hosts/multivalue/text/text.h"

namespace kel::expression {

// A resolved field. Belongs to its FieldEvaluator and lives as long.
class Field {
public:
    const Text& Name() const { return name_; }  // as first asked for
    const DictionaryItem& Item() const { return item_; }

private:
    friend class FieldEvaluator;

    Text name_;
    DictionaryItem item_;
    std::unique_ptr<CorrelativeEvaluator> computed_;  // empty: the attribute itself

    mutable TextView result_;  // the whole field of the record that serial_ numbers
    mutable std::uint64_t serial_ = 0;
};

// Which of a field's values, each from 1; 0 means all of the level.
struct ValuePosition {
    std::int32_t value = 0;
    std::int32_t subvalue = 0;
};

class FieldEvaluator {
public:
    // `environment` must outlive this object. The file's dictionary is read when names are
    // resolved.
    FieldEvaluator(Environment& environment, Text file);
    FieldEvaluator(const FieldEvaluator&) = delete;
    FieldEvaluator& operator=(const FieldEvaluator&) = delete;
    ~FieldEvaluator();

    // The field of a name (see FindDictionaryItem), or null when the dictionary has no such field;
    // a phrase is not a field. Raises kBadArgument for an item whose correlative is wrong.
    const Field* Resolve(TextView name);

    // A field worked out by an expression that a sentence brings along. `item` tells how it is
    // shown; its attribute and correlative are not looked at. Raises kBadArgument for an expression
    // that is wrong.
    const Field& ResolveExpression(TextView expression, DictionaryItem item = {});

    // The record that the members below speak of. The two texts are borrowed: they must stay as
    // they are until the next SetRecord or the end.
    void SetRecord(TextView id, TextView record);

    // For NI and NB in correlatives: the number of the record in a listing, the level of a break.
    void SetCounters(std::int64_t item, std::int32_t breakLevel);

    // The stored form: the whole field with its marks, or one value or subvalue of it ("" past the
    // end). A field that has one value by its nature, such as a sum, has it at every value. The
    // view holds until the next SetRecord or the next call for the same field. Raises what the
    // environment raises.
    TextView Internal(const Field& field, ValuePosition position = {});

    // The form people read: Internal by the field's conversion.
    Text External(const Field& field, ValuePosition position = {});

private:
    std::unique_ptr<Field> Made(TextView name, DictionaryItem item) const;
    TextView Whole(const Field& field);

    Environment& environment_;
    Text file_;
    std::map<Text, std::unique_ptr<Field>, std::less<>> fields_;
    std::vector<std::unique_ptr<Field>> expressions_;
    RecordFields record_;
    TextView id_;
    std::uint64_t serial_ = 0;
    std::int64_t itemCounter_ = 0;
    std::int32_t breakLevel_ = 0;
};

}  // namespace kel::expression
