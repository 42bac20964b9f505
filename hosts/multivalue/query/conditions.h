// Whether a record, or one value of it, meets the condition of a query.
#pragma once

#include "hosts/multivalue/query/tree.h"

namespace kel::query {

class ConditionEvaluator {
public:
    // Both are borrowed; `fields` is set to the record in question when members are called.
    ConditionEvaluator(const Condition& condition, FieldEvaluator& fields)
        : condition_(condition), fields_(fields) {}

    // An empty condition holds.
    bool Holds() { return condition_.Empty() || HoldsNode(condition_.Root(), nullptr); }
    // The same with only the values at a position looked at, as far as fields have several.
    bool HoldsAt(ValuePosition position) {
        return condition_.Empty() || HoldsNode(condition_.Root(), &position);
    }

private:
    bool HoldsNode(std::uint32_t node, const ValuePosition* position);
    bool HoldsTest(const Test& test, const ValuePosition* position);
    bool Passes(const Test& test, TextView value, TextView other);

    const Condition& condition_;
    FieldEvaluator& fields_;
    Text external_;
    Text upper_;
};

}  // namespace kel::query
