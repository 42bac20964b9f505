// Keeps sums, counts and extremes of a column.
#include "hosts/multivalue/query/report_totals.h"

#include "hosts/multivalue/query/index_fields.h"

namespace kel::query {

namespace {

constexpr std::int32_t kAverageDecimals = 4;

}  // namespace

void RunningTotal::Add(TextView value) {
    ++values_;
    if (value.empty()) {
        ++empty_;
        return;
    }
    const std::optional<Number> number = ComparedNumber(value);
    if (!number) {
        return;
    }
    sum_ = Number::Calculate(Arithmetic::kAdd, sum_, *number);
    if (!greatest_ || Number::Compare(*number, *greatest_) > 0) {
        greatest_ = number;
    }
    if (!least_ || Number::Compare(*number, *least_) < 0) {
        least_ = number;
    }
}

Text RunningTotal::Result(const Column& column) const {
    Text result;
    const std::int64_t filled = values_ - empty_;
    switch (column.total) {
        case Total::kNone:
            break;
        case Total::kSum:
            sum_.AppendTo(result);
            break;
        case Total::kAverage: {
            const std::int64_t count = column.averageWithoutEmpty ? filled : values_;
            if (count > 0) {
                Number::Calculate(Arithmetic::kDivide, sum_, Number(count))
                    .Rounded(kAverageDecimals)
                    .AppendTo(result);
            }
            break;
        }
        case Total::kMaximum:
        case Total::kMinimum: {
            const std::optional<Number>& extreme =
                column.total == Total::kMaximum ? greatest_ : least_;
            if (extreme) {
                extreme->AppendTo(result);
            }
            break;
        }
        case Total::kCount:
            Number(filled).AppendTo(result);
            break;
    }
    return result;
}

}  // namespace kel::query
