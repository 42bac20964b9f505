// Works a compiled correlative out for one record after the other.
//
// Every operation has a text of its own to put its result into, kept from record to record, so that
// a settled evaluator allocates little or nothing.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "hosts/multivalue/conversion/environment.h"
#include "hosts/multivalue/expression/compiled.h"
#include "hosts/multivalue/text/record_fields.h"
#include "hosts/multivalue/text/text.h"

namespace kel::expression {

// What a correlative sees. All of it is borrowed for the time of a call.
struct EvaluationInput {
    RecordFields* record;
    TextView id;
    TextView value;             // what the first correlative is applied to
    std::int32_t position = 0;  // the value asked for, from 1; 0: all
    std::int64_t itemCounter = 0;
    std::int32_t breakLevel = 0;
};

class CorrelativeEvaluator {
public:
    // `environment` must outlive this object.
    CorrelativeEvaluator(CompiledExpression compiled, Environment& environment);
    CorrelativeEvaluator(const CorrelativeEvaluator&) = delete;
    CorrelativeEvaluator& operator=(const CorrelativeEvaluator&) = delete;
    ~CorrelativeEvaluator();

    const CompiledExpression& Compiled() const { return compiled_; }

    // The result for all values, or for the one at input.position: a result that is one by its
    // nature (a sum, a converted `value`) whatever the position, otherwise the element there and ""
    // past the end. The view holds until the next call or as long as `input`. Raises what the
    // environment raises, and kTooLong for a result beyond any record.
    TextView Evaluate(const EvaluationInput& input);

private:
    class Walk;

    void FindAttributes(std::uint32_t node);

    CompiledExpression compiled_;
    Environment& environment_;
    std::vector<std::int32_t> attributes_;  // that the result is made of, constants aside
    std::vector<Text> scratch_;             // results, by node
    std::vector<TextView> stepResults_;
    std::vector<bool> stepsDone_;
    // The expressions for records of other files, each with the record it is at.
    struct Other;
    std::vector<std::unique_ptr<Other>> others_;
};

}  // namespace kel::expression
