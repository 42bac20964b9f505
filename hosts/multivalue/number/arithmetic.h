// Numbers in correlatives and expressions: read from text, calculated exactly, compared.
//
// Text that is not a number counts as 0 in calculations. So does a number of more than
// kMaxNumberUnits units: nobody means one, and products of such would take forever.
#pragma once

#include <cstdint>
#include <optional>

#include "hosts/multivalue/number/decimal.h"
#include "hosts/multivalue/text/text.h"

namespace kel::number {

enum class Arithmetic : std::uint8_t { kAdd, kSubtract, kMultiply, kDivide, kRemainder };

// Written out by number in compiled expressions: never renumber.
enum class Relation : std::uint8_t {
    kEqual,
    kUnequal,
    kLess,
    kGreater,
    kLessOrEqual,
    kGreaterOrEqual,
    kMatches
};

inline constexpr std::size_t kMaxNumberUnits = 1000;

// Whole numbers of up to eighteen digits, nearly all there are, are calculated as such.
class Number {
public:
    Number() = default;
    explicit Number(std::int64_t value) : small_(value) {}
    explicit Number(Decimal value) : big_(std::move(value)) {}

    static std::optional<Number> Parse(TextView text);
    static Number OrZero(TextView text) { return Parse(text).value_or(Number()); }

    bool IsZero() const { return big_ ? big_->IsZero() : small_ == 0; }
    bool IsNegative() const { return big_ ? big_->IsNegative() : small_ < 0; }
    Decimal ToDecimal() const { return big_ ? *big_ : Decimal(small_); }

    // Towards zero.
    Number Whole() const;
    // Towards zero, and to the nearest a count or position can be.
    std::int32_t ToPosition() const;

    Number Negated() const;
    Number ScaledDown(std::int32_t digits) const;  // without the last digits of the whole number
    Number Rounded(std::int32_t decimals) const;   // a half goes away from zero
    void AppendTo(Text& out) const;                // without trailing zeros behind the point

    // Divided by 0 is 0, and so is what remains.
    static Number Calculate(Arithmetic operation, const Number& left, const Number& right);
    // Negative, zero or positive.
    static int Compare(const Number& left, const Number& right);

private:
    std::int64_t small_ = 0;  // while big_ is empty
    std::optional<Decimal> big_;
};

// A number's whole part, towards zero; empty when the text is no number or beyond 18 digits.
std::optional<std::int64_t> WholeNumber(TextView text);

// Calculates with two texts as Number::Calculate does; if `whole`, with their whole parts and to a
// whole number.
void AppendCalculated(Arithmetic operation, TextView left, TextView right, bool whole, Text& out);

// Two numbers by size, anything else unit by unit; an empty text is no number. kMatches: whether
// the left is of the pattern on the right.
bool Holds(Relation relation, TextView left, TextView right);

// What counts as true: anything but "" and zero.
bool IsTrue(TextView text);

}  // namespace kel::number
