// Totals of columns over records: sums, averages, extremes, counts.
#pragma once

#include <cstdint>
#include <optional>

#include "hosts/multivalue/number/arithmetic.h"
#include "hosts/multivalue/query/tree.h"
#include "hosts/multivalue/text/text.h"

namespace kel::query {

class RunningTotal {
public:
    // Values that are no numbers count as 0 in sums and averages, and not at all among extremes.
    void Add(TextView value);

    // In stored form; "" where there is nothing to tell.
    Text Result(const Column& column) const;

private:
    Number sum_;
    std::int64_t values_ = 0;
    std::int64_t empty_ = 0;
    std::optional<Number> greatest_;
    std::optional<Number> least_;
};

}  // namespace kel::query
