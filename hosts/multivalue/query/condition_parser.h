// Parses the conditions of query sentences. For the query parser only.
#pragma once

#include <optional>

#include "hosts/multivalue/query/options.h"
#include "hosts/multivalue/query/reader.h"

namespace kel::query {

class ConditionParser {
public:
    // What the sentence's conditions are read by; borrowed.
    ConditionParser(QueryReader& reader,
                    const Field& idField,
                    const QueryOptions& options,
                    Environment& environment)
        : reader_(reader), idField_(idField), options_(options), environment_(environment) {}

    // Reads a condition and joins it to what `condition` already holds, as `joint` says or, without
    // one, as conditions that follow each other are joined. `clause` is kWith or kWhen, which has
    // been taken.
    void Continue(Condition& condition, Keyword clause, std::optional<Condition::Kind> joint);

private:
    using Node = std::uint32_t;
    static constexpr Node kNoNode = 0xFFFFFFFF;

    // `left`: a node in front, or kNoNode.
    Node Sequence(Condition& condition, Node left, Condition::Kind joint);
    std::optional<Condition::Kind> TakeJoint();
    Node Term(Condition& condition);
    Node TestTerm(Condition& condition);
    std::optional<Comparison> TakeComparison();
    void TakeOperands(Test& test);
    Constant MakeConstant(const Test& test, TextView text);
    Condition::Kind ImpliedJoint() const;
    bool Wildcards() const;

    QueryReader& reader_;
    const Field& idField_;
    const QueryOptions& options_;
    Environment& environment_;
    Keyword clause_ = Keyword::kWith;
    const Field* field_ = nullptr;  // of the test before
    Comparison comparison_ = Comparison::kEqual;
    int depth_ = 0;
};

}  // namespace kel::query
