// Resolves names to fields and works fields out, once per record.
#include "hosts/multivalue/expression/field_evaluator.h"

#include <utility>

#include "hosts/multivalue/conversion/conversion.h"
#include "hosts/multivalue/expression/correlative.h"
#include "hosts/multivalue/expression/record_environment.h"

namespace kel::expression {

FieldEvaluator::FieldEvaluator(Environment& environment, Text file)
    : environment_(environment), file_(std::move(file)) {}

FieldEvaluator::~FieldEvaluator() = default;

std::unique_ptr<Field> FieldEvaluator::Made(TextView name, DictionaryItem item) const {
    auto field = std::make_unique<Field>();
    field->name_ = name;
    if (!item.correlative.empty()) {
        field->computed_ = std::make_unique<CorrelativeEvaluator>(
            CompileItem(item, file_, environment_), environment_);
    }
    field->item_ = std::move(item);
    return field;
}

const Field* FieldEvaluator::Resolve(TextView name) {
    if (const auto known = fields_.find(name); known != fields_.end()) {
        return known->second.get();
    }
    std::optional<DictionaryItem> item = FindDictionaryItem(environment_, file_, name);
    if (!item || item->kind != DictionaryItem::Kind::kField) {
        return nullptr;
    }
    return fields_.emplace(name, Made(name, *std::move(item))).first->second.get();
}

const Field& FieldEvaluator::ResolveExpression(TextView expression, DictionaryItem item) {
    item.kind = DictionaryItem::Kind::kField;
    item.attribute = 0;
    item.correlative = Text(kExpressionPrefix) + Text(expression);
    expressions_.push_back(Made(expression, std::move(item)));
    return *expressions_.back();
}

void FieldEvaluator::SetRecord(TextView id, TextView record) {
    record_.Read(record);
    id_ = id;
    ++serial_;
}

void FieldEvaluator::SetCounters(std::int64_t item, std::int32_t breakLevel) {
    itemCounter_ = item;
    breakLevel_ = breakLevel;
    ++serial_;
}

TextView FieldEvaluator::Internal(const Field& field, ValuePosition position) {
    if (field.serial_ != serial_) {
        field.result_ = Whole(field);
        field.serial_ = serial_;
    }
    TextView result = field.result_;
    if (position.value > 0 && !(field.computed_ && field.computed_->Compiled().Top().repeats)) {
        result = ElementOf(result, kValueMark, position.value);
    }
    return position.subvalue > 0 ? ElementOf(result, kSubvalueMark, position.subvalue) : result;
}

TextView FieldEvaluator::Whole(const Field& field) {
    if (!field.computed_) {
        return field.item_.attribute == 0 ? id_ : record_.Attribute(field.item_.attribute);
    }
    EvaluationInput input{&record_, id_, {}};
    input.itemCounter = itemCounter_;
    input.breakLevel = breakLevel_;
    return field.computed_->Evaluate(input);
}

Text FieldEvaluator::External(const Field& field, ValuePosition position) {
    const TextView internal = Internal(field, position);
    if (field.item_.conversion.empty()) {
        return Text(internal);
    }
    RecordEnvironment environment(environment_, record_, id_);
    return Oconv(internal, field.item_.conversion, environment).value;
}

}  // namespace kel::expression
