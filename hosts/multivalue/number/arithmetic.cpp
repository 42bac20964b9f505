// Calculates with whole numbers as far as they go, with exact decimals beyond.
#include "hosts/multivalue/number/arithmetic.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/pattern.h"

namespace kel::number {

namespace {

constexpr std::size_t kSmallDigits = 18;

// Decimals of a quotient before it is rounded for show. More than any exact use needs, so that
// A / 3 * 3 comes back to A.
constexpr std::size_t kQuotientScale = 20;

Decimal CalculateDecimal(Arithmetic operation, const Decimal& left, const Decimal& right) {
    switch (operation) {
        case Arithmetic::kAdd:
            return left + right;
        case Arithmetic::kSubtract:
            return left - right;
        case Arithmetic::kMultiply:
            return left * right;
        case Arithmetic::kDivide:
            return Decimal::Divide(left, right, kQuotientScale, Rounding::kHalfUp);
        default:
            return Decimal::Remainder(left, right);
    }
}

// Empty when the result is not a whole number in range.
std::optional<std::int64_t> CalculateSmall(Arithmetic operation,
                                           std::int64_t left,
                                           std::int64_t right) {
    std::int64_t result = 0;
    bool overflow = false;
    switch (operation) {
        case Arithmetic::kAdd:
            overflow = __builtin_add_overflow(left, right, &result);
            break;
        case Arithmetic::kSubtract:
            overflow = __builtin_sub_overflow(left, right, &result);
            break;
        case Arithmetic::kMultiply:
            overflow = __builtin_mul_overflow(left, right, &result);
            break;
        case Arithmetic::kDivide:
            // The smallest number over -1 would overflow, and parsed numbers never are that small.
            if (left % right != 0) {
                return std::nullopt;
            }
            result = left / right;
            break;
        default:
            result = left % right;
            break;
    }
    constexpr std::int64_t kLimit = 1'000'000'000'000'000'000;
    if (overflow || result >= kLimit || result <= -kLimit) {
        return std::nullopt;
    }
    return result;
}

// A whole number of as many digits as are calculated without a Decimal, written plainly.
std::optional<std::int64_t> ParseSmall(TextView text) {
    const bool negative = !text.empty() && text.front() == u'-';
    const TextView digits = text.substr(negative ? 1 : 0);
    if (digits.empty() || digits.size() > kSmallDigits) {
        return std::nullopt;
    }
    std::int64_t value = 0;
    for (const char16_t unit : digits) {
        if (!IsDigit(unit)) {
            return std::nullopt;
        }
        value = value * 10 + (unit - u'0');
    }
    return negative ? -value : value;
}

int CompareSmall(std::int64_t left, std::int64_t right) {
    return left < right ? -1 : static_cast<int>(left > right);
}

int CompareValues(TextView left, TextView right) {
    const std::optional<std::int64_t> leftSmall = ParseSmall(left);
    const std::optional<std::int64_t> rightSmall = leftSmall ? ParseSmall(right) : std::nullopt;
    if (rightSmall) {
        return CompareSmall(*leftSmall, *rightSmall);
    }
    const std::optional<Number> leftNumber = Number::Parse(left);
    const std::optional<Number> rightNumber = leftNumber ? Number::Parse(right) : std::nullopt;
    return rightNumber ? Number::Compare(*leftNumber, *rightNumber) : left.compare(right);
}

}  // namespace

std::optional<Number> Number::Parse(TextView text) {
    if (const std::optional<std::int64_t> small = ParseSmall(text)) {
        return Number(*small);
    }
    // Most texts that are no numbers start with a letter, or are empty.
    if (text.empty() || text.front() > u'9') {
        return std::nullopt;
    }
    if (text.size() > kMaxNumberUnits) {
        return std::nullopt;
    }
    if (std::optional<Decimal> decimal = Decimal::Parse(text)) {
        return Number(*std::move(decimal));
    }
    return std::nullopt;
}

Number Number::Whole() const {
    if (!big_) {
        return *this;
    }
    Decimal whole = *big_;
    whole.Round(0, Rounding::kTruncate);
    return Number(whole.IsZero() ? Decimal() : std::move(whole));
}

std::int32_t Number::ToPosition() const {
    constexpr std::int64_t kLimit = std::numeric_limits<std::int32_t>::max();
    std::int64_t value = small_;
    if (big_) {
        value = big_->ToInteger().value_or(big_->IsNegative() ? -kLimit : kLimit);
    }
    return static_cast<std::int32_t>(std::clamp(value, -kLimit, kLimit));
}

Number Number::Negated() const {
    return big_ ? Number(big_->Negated()) : Number(-small_);
}

Number Number::ScaledDown(std::int32_t digits) const {
    Decimal value = ToDecimal();
    value.Shift(-digits);
    return Number(std::move(value)).Whole();
}

Number Number::Rounded(std::int32_t decimals) const {
    if (!big_ || big_->Scale() <= static_cast<std::size_t>(decimals)) {
        return *this;
    }
    Decimal value = *big_;
    value.Round(static_cast<std::size_t>(decimals), Rounding::kHalfUp);
    return Number(std::move(value));
}

void Number::AppendTo(Text& out) const {
    if (big_) {
        if (big_->IsZero()) {
            out.push_back(u'0');
            return;
        }
        Decimal shown = *big_;
        shown.Trim();
        shown.AppendTo(out);
        return;
    }
    AppendInteger(out, small_);
}

Number Number::Calculate(Arithmetic operation, const Number& left, const Number& right) {
    const bool divides = operation == Arithmetic::kDivide || operation == Arithmetic::kRemainder;
    if (divides && right.IsZero()) {
        return {};
    }
    if (!left.big_ && !right.big_) {
        if (const auto result = CalculateSmall(operation, left.small_, right.small_)) {
            return Number(*result);
        }
    }
    return Number(CalculateDecimal(operation, left.ToDecimal(), right.ToDecimal()));
}

int Number::Compare(const Number& left, const Number& right) {
    if (!left.big_ && !right.big_) {
        return CompareSmall(left.small_, right.small_);
    }
    const std::strong_ordering order = left.ToDecimal() <=> right.ToDecimal();
    return order < 0 ? -1 : static_cast<int>(order > 0);
}

std::optional<std::int64_t> WholeNumber(TextView text) {
    if (const std::optional<std::int64_t> small = ParseSmall(text)) {
        return small;
    }
    const std::optional<Decimal> number = Decimal::Parse(text);
    return number ? number->ToInteger() : std::nullopt;
}

void AppendCalculated(Arithmetic operation, TextView left, TextView right, bool whole, Text& out) {
    const std::optional<std::int64_t> leftSmall = ParseSmall(left);
    const std::optional<std::int64_t> rightSmall = leftSmall ? ParseSmall(right) : std::nullopt;
    if (rightSmall && *rightSmall != 0) {
        if (whole && operation == Arithmetic::kDivide) {
            return AppendInteger(out, *leftSmall / *rightSmall);
        }
        if (const auto result = CalculateSmall(operation, *leftSmall, *rightSmall)) {
            return AppendInteger(out, *result);
        }
    }
    const Number first = Number::OrZero(left);
    const Number second = Number::OrZero(right);
    if (whole) {
        Number::Calculate(operation, first.Whole(), second.Whole()).Whole().AppendTo(out);
    } else {
        Number::Calculate(operation, first, second).AppendTo(out);
    }
}

bool Holds(Relation relation, TextView left, TextView right) {
    if (relation == Relation::kMatches) {
        return Matches(left, right);
    }
    const int order = CompareValues(left, right);
    switch (relation) {
        case Relation::kEqual:
            return order == 0;
        case Relation::kUnequal:
            return order != 0;
        case Relation::kLess:
            return order < 0;
        case Relation::kGreater:
            return order > 0;
        case Relation::kLessOrEqual:
            return order <= 0;
        default:
            return order >= 0;
    }
}

bool IsTrue(TextView text) {
    const std::optional<Number> number = Number::Parse(text);
    return number ? !number->IsZero() : !text.empty();
}

}  // namespace kel::number
