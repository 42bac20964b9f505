// Arithmetic on strings of decimal digits.
#include "hosts/multivalue/number/decimal.h"

#include <algorithm>
#include <vector>

#include "hosts/multivalue/text/ascii.h"

namespace kel::number {

namespace {

// Digits as they would stand with `scale` digits behind the point, scale being at least the own.
std::string Aligned(std::string_view digits, std::size_t own, std::size_t scale) {
    std::string aligned(digits);
    if (!aligned.empty()) {
        aligned.append(scale - own, '0');
    }
    return aligned;
}

// Of two digit strings without leading zeros.
std::strong_ordering CompareDigits(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) {
        return left.size() <=> right.size();
    }
    return left.compare(right) <=> 0;
}

std::string AddDigits(std::string_view left, std::string_view right) {
    if (left.size() < right.size()) {
        std::swap(left, right);
    }
    std::string sum(left.size() + 1, '0');
    int carry = 0;
    for (std::size_t i = 0; i < left.size(); ++i) {
        int digit = left[left.size() - 1 - i] - '0' + carry;
        if (i < right.size()) {
            digit += right[right.size() - 1 - i] - '0';
        }
        carry = digit >= 10 ? 1 : 0;
        sum[sum.size() - 1 - i] = static_cast<char>('0' + digit - 10 * carry);
    }
    sum[0] = static_cast<char>('0' + carry);
    return sum;
}

// left must not be smaller.
std::string SubtractDigits(std::string_view left, std::string_view right) {
    std::string difference(left);
    int borrow = 0;
    for (std::size_t i = 0; i < left.size() && (i < right.size() || borrow != 0); ++i) {
        char& at = difference[difference.size() - 1 - i];
        int digit = at - '0' - borrow;
        if (i < right.size()) {
            digit -= right[right.size() - 1 - i] - '0';
        }
        borrow = digit < 0 ? 1 : 0;
        at = static_cast<char>('0' + digit + 10 * borrow);
    }
    return difference;
}

std::uint64_t Small(std::string_view digits) {
    std::uint64_t value = 0;
    for (char digit : digits) {
        value = value * 10 + static_cast<unsigned>(digit - '0');
    }
    return value;
}

// Digits of a whole quotient, with leading zeros. A divisor of up to 18 digits leaves a remainder
// that fits a word with one digit more.
std::string DivideDigits(std::string_view left, std::string_view right) {
    std::string quotient;
    quotient.reserve(left.size());
    if (right.size() <= 18) {
        const std::uint64_t divisor = Small(right);
        std::uint64_t remainder = 0;
        for (char digit : left) {
            remainder = remainder * 10 + static_cast<unsigned>(digit - '0');
            quotient.push_back(static_cast<char>('0' + remainder / divisor));
            remainder %= divisor;
        }
        return quotient;
    }
    std::string remainder;
    for (char digit : left) {
        if (!remainder.empty() || digit != '0') {
            remainder.push_back(digit);
        }
        char count = '0';
        while (CompareDigits(remainder, right) >= 0) {
            remainder = SubtractDigits(remainder, right);
            remainder.erase(0, std::min(remainder.find_first_not_of('0'), remainder.size()));
            ++count;
        }
        quotient.push_back(count);
    }
    return quotient;
}

}  // namespace

Decimal::Decimal(std::int64_t value) : negative_(value < 0) {
    auto magnitude = static_cast<std::uint64_t>(value);
    if (negative_) {
        magnitude = 0 - magnitude;
    }
    if (magnitude != 0) {
        digits_ = std::to_string(magnitude);
    }
}

void Decimal::StripLeadingZeros() {
    if (!digits_.empty() && digits_[0] == '0') {
        digits_.erase(0, std::min(digits_.find_first_not_of('0'), digits_.size()));
    }
}

std::optional<Decimal> Decimal::Parse(TextView text) {
    while (!text.empty() && text.front() == u' ') {
        text.remove_prefix(1);
    }
    while (!text.empty() && text.back() == u' ') {
        text.remove_suffix(1);
    }
    bool negative = false;
    if (!text.empty() && (text[0] == u'-' || text[0] == u'+')) {
        negative = text[0] == u'-';
        text.remove_prefix(1);
    }
    if (text.empty()) {
        return std::nullopt;
    }
    Decimal number;
    number.digits_.reserve(text.size());
    bool point = false;
    for (char16_t unit : text) {
        if (IsDigit(unit)) {
            if (unit != u'0' || !number.digits_.empty()) {
                number.digits_.push_back(static_cast<char>(unit));
            }
            number.scale_ += point ? 1 : 0;
        } else if (unit == u'.' && !point) {
            point = true;
        } else {
            return std::nullopt;
        }
    }
    number.negative_ = negative && !number.IsZero();
    return number;
}

void Decimal::Shift(int places) {
    if (places <= 0) {
        scale_ += static_cast<std::size_t>(-places);
        return;
    }
    const auto up = static_cast<std::size_t>(places);
    if (up > scale_ && !IsZero()) {
        digits_.append(up - scale_, '0');
    }
    scale_ = up > scale_ ? 0 : scale_ - up;
}

void Decimal::Round(std::size_t scale, Rounding rounding) {
    if (scale >= scale_) {
        if (!IsZero()) {
            digits_.append(scale - scale_, '0');
        }
        scale_ = scale;
        return;
    }
    const std::size_t drop = scale_ - scale;
    scale_ = scale;
    if (drop > digits_.size()) {
        digits_.clear();
        return;
    }
    const std::size_t kept = digits_.size() - drop;
    const bool up = rounding == Rounding::kHalfUp && digits_[kept] >= '5';
    digits_.resize(kept);
    if (!up) {
        return;
    }
    std::size_t i = kept;
    while (i > 0 && digits_[i - 1] == '9') {
        digits_[--i] = '0';
    }
    if (i > 0) {
        ++digits_[i - 1];
    } else {
        digits_.insert(digits_.begin(), '1');
    }
}

void Decimal::Trim() {
    if (IsZero()) {
        scale_ = 0;
        return;
    }
    while (scale_ > 0 && digits_.back() == '0') {
        digits_.pop_back();
        --scale_;
    }
}

Decimal Decimal::Negated() const {
    Decimal result = *this;
    result.negative_ = !negative_ && !IsZero();
    return result;
}

Decimal operator+(const Decimal& left, const Decimal& right) {
    Decimal sum;
    sum.scale_ = std::max(left.scale_, right.scale_);
    const std::string a = Aligned(left.digits_, left.scale_, sum.scale_);
    const std::string b = Aligned(right.digits_, right.scale_, sum.scale_);
    if (left.negative_ == right.negative_) {
        sum.digits_ = AddDigits(a, b);
        sum.negative_ = left.negative_;
    } else {
        const bool leftLarger = CompareDigits(a, b) >= 0;
        sum.digits_ = leftLarger ? SubtractDigits(a, b) : SubtractDigits(b, a);
        sum.negative_ = leftLarger ? left.negative_ : right.negative_;
    }
    sum.StripLeadingZeros();
    sum.negative_ = sum.negative_ && !sum.IsZero();
    return sum;
}

Decimal operator-(const Decimal& left, const Decimal& right) {
    return left + right.Negated();
}

Decimal operator*(const Decimal& left, const Decimal& right) {
    Decimal product;
    product.scale_ = left.scale_ + right.scale_;
    const std::string& a = left.digits_;
    const std::string& b = right.digits_;
    if (a.empty() || b.empty()) {
        return product;
    }
    product.negative_ = left.negative_ != right.negative_;
    if (a.size() + b.size() <= 19) {
        product.digits_ = std::to_string(Small(a) * Small(b));
        return product;
    }
    // Each sum holds at most 81 per digit of the shorter factor.
    std::vector<std::uint64_t> sums(a.size() + b.size(), 0);
    for (std::size_t i = 0; i < a.size(); ++i) {
        for (std::size_t j = 0; j < b.size(); ++j) {
            sums[i + j + 1] += static_cast<unsigned>((a[i] - '0') * (b[j] - '0'));
        }
    }
    product.digits_.resize(sums.size());
    std::uint64_t carry = 0;
    for (std::size_t i = sums.size(); i-- > 0;) {
        carry += sums[i];
        product.digits_[i] = static_cast<char>('0' + carry % 10);
        carry /= 10;
    }
    product.StripLeadingZeros();
    return product;
}

Decimal Decimal::Divide(const Decimal& left,
                        const Decimal& right,
                        std::size_t scale,
                        Rounding rounding) {
    // One digit more than wanted decides the rounding; what lies behind it never does.
    Decimal quotient;
    quotient.negative_ = left.negative_ != right.negative_ && !left.IsZero();
    quotient.scale_ = scale + 1;
    const std::size_t wanted = scale + 1 + right.scale_;
    if (wanted >= left.scale_) {
        quotient.digits_ = DivideDigits(Aligned(left.digits_, left.scale_, wanted), right.digits_);
    } else {
        const std::string divisor = Aligned(right.digits_, wanted, left.scale_);
        quotient.digits_ = DivideDigits(left.digits_, divisor);
    }
    quotient.StripLeadingZeros();
    quotient.Round(scale, rounding);
    quotient.negative_ = quotient.negative_ && !quotient.IsZero();
    return quotient;
}

Decimal Decimal::Remainder(const Decimal& left, const Decimal& right) {
    return left - Divide(left, right, 0, Rounding::kTruncate) * right;
}

std::strong_ordering operator<=>(const Decimal& left, const Decimal& right) {
    const bool leftNegative = left.negative_ && !left.IsZero();
    const bool rightNegative = right.negative_ && !right.IsZero();
    if (leftNegative != rightNegative) {
        return leftNegative ? std::strong_ordering::less : std::strong_ordering::greater;
    }
    std::strong_ordering order = std::strong_ordering::equal;
    if (left.scale_ == right.scale_) {
        order = CompareDigits(left.digits_, right.digits_);
    } else {
        const std::size_t scale = std::max(left.scale_, right.scale_);
        order = CompareDigits(Aligned(left.digits_, left.scale_, scale),
                              Aligned(right.digits_, right.scale_, scale));
    }
    return leftNegative ? 0 <=> order : order;
}

std::optional<std::int64_t> Decimal::ToInteger() const {
    const std::size_t whole = digits_.size() > scale_ ? digits_.size() - scale_ : 0;
    if (whole > 18) {
        return std::nullopt;
    }
    const auto magnitude =
        static_cast<std::int64_t>(Small(std::string_view(digits_).substr(0, whole)));
    return negative_ ? -magnitude : magnitude;
}

void Decimal::AppendTo(Text& text) const {
    if (negative_ && !IsZero()) {
        text.push_back(u'-');
    }
    const std::size_t whole = digits_.size() > scale_ ? digits_.size() - scale_ : 0;
    if (whole == 0) {
        text.push_back(u'0');
    }
    text.append(digits_.begin(), digits_.begin() + static_cast<std::ptrdiff_t>(whole));
    if (scale_ > 0) {
        text.push_back(u'.');
        text.append(scale_ - (digits_.size() - whole), u'0');
        text.append(digits_.begin() + static_cast<std::ptrdiff_t>(whole), digits_.end());
    }
}

Text Decimal::ToText() const {
    Text text;
    AppendTo(text);
    return text;
}

}  // namespace kel::number
