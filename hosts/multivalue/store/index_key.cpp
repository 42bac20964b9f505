// Makes keys that sort as values do.
#include "hosts/multivalue/store/index_key.h"

#include <algorithm>

#include "hosts/multivalue/text/ascii.h"

namespace kel::store {

namespace {

// The forms of a numeric key, in their order. They are stored: never renumber.
//
//   (empty)                               an empty value
//   N A <exponent> <digits> ~             a negative number, exponent and digits complemented
//   N B                                   zero
//   N C <exponent> <digits>               a positive number: 0.digits times ten to the exponent
//   T <length high> <length low> <text>   anything else
constexpr char16_t kNumber = u'N';
constexpr char16_t kNegative = u'A';
constexpr char16_t kZero = u'B';
constexpr char16_t kPositive = u'C';
constexpr char16_t kText = u'T';
constexpr char16_t kAboveDigits = u'~';
constexpr int kExponentZero = 0x200;
constexpr unsigned kLengthBits = 14;  // both halves stay below the surrogates

constexpr std::size_t kMaxDigits = 300;

struct Number {
    bool negative = false;
    int exponent = 0;
    Text digits;  // neither first nor last is 0; none for zero
};

std::optional<Number> ParseNumber(TextView value) {
    Number number;
    if (!value.empty() && (value.front() == u'-' || value.front() == u'+')) {
        number.negative = value.front() == u'-';
        value.remove_prefix(1);
    }
    const std::size_t point = std::min(value.find(u'.'), value.size());
    const TextView whole = value.substr(0, point);
    const TextView fraction = value.substr(std::min(point + 1, value.size()));
    if (whole.size() + fraction.size() == 0 || whole.size() > kMaxDigits ||
        fraction.size() > kMaxDigits || !std::all_of(whole.begin(), whole.end(), IsDigit) ||
        !std::all_of(fraction.begin(), fraction.end(), IsDigit)) {
        return std::nullopt;
    }
    number.digits.append(whole).append(fraction);
    const std::size_t first = std::min(number.digits.find_first_not_of(u'0'), number.digits.size());
    number.digits.erase(0, first);
    number.digits.erase(number.digits.find_last_not_of(u'0') + 1);
    number.exponent = static_cast<int>(whole.size()) - static_cast<int>(first);
    return number;
}

Text KeyOf(const Number& number) {
    if (number.digits.empty()) {
        return {kNumber, kZero};
    }
    Text key = {kNumber, number.negative ? kNegative : kPositive};
    const int exponent = number.negative ? -number.exponent : number.exponent;
    key.push_back(static_cast<char16_t>(kExponentZero + exponent));
    if (!number.negative) {
        return key + number.digits;
    }
    for (const char16_t digit : number.digits) {
        key.push_back(static_cast<char16_t>(u'0' + u'9' - digit));
    }
    key.push_back(kAboveDigits);
    return key;
}

}  // namespace

Text IndexKey(TextView value, KeyOrder order) {
    if (order == KeyOrder::kText || value.empty()) {
        return Text(value);
    }
    if (const std::optional<Number> number = ParseNumber(value)) {
        return KeyOf(*number);
    }
    Text key = {kText,
                static_cast<char16_t>(value.size() >> kLengthBits),
                static_cast<char16_t>(value.size() & ((1U << kLengthBits) - 1))};
    return key.append(value);
}

std::optional<Text> KeyAfterPrefix(TextView prefix) {
    Text key(prefix);
    while (!key.empty() && key.back() == u'\xFFFF') {
        key.pop_back();
    }
    if (key.empty()) {
        return std::nullopt;
    }
    ++key.back();
    return key;
}

}  // namespace kel::store
