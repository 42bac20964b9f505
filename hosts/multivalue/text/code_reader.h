// Codes, patterns and masks read from left to right.
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>

#include "hosts/multivalue/text/ascii.h"
#include "hosts/multivalue/text/text.h"

namespace kel::text {

class CodeReader {
public:
    explicit CodeReader(TextView code) : rest_(code) {}

    bool AtEnd() const { return rest_.empty(); }
    TextView Rest() const { return rest_; }
    // The next unit, capital; 0 at the end.
    char16_t Peek(std::size_t ahead = 0) const {
        return ahead < rest_.size() ? UpperAscii(rest_[ahead]) : u'\0';
    }
    // The next unit as it is written. Not at the end.
    char16_t Next() {
        const char16_t unit = rest_.front();
        rest_.remove_prefix(1);
        return unit;
    }
    bool Take(char16_t capital) {
        if (AtEnd() || Peek() != capital) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }
    std::optional<int> TakeDigit() {
        return IsDigit(Peek()) ? std::optional<int>(Next() - u'0') : std::nullopt;
    }
    // Any number of digits; what is too large for any use stays at the limit.
    std::optional<int> TakeNumber() {
        if (!IsDigit(Peek())) {
            return std::nullopt;
        }
        int number = 0;
        while (IsDigit(Peek())) {
            number = std::min(number * 10 + (Next() - u'0'), kNumberLimit);
        }
        return number;
    }
    // Text in quotes of either kind, without them; empty when none starts here or none ends.
    std::optional<TextView> TakeQuoted() {
        if (AtEnd() || (rest_[0] != u'"' && rest_[0] != u'\'')) {
            return std::nullopt;
        }
        const std::size_t end = rest_.find(rest_[0], 1);
        if (end == TextView::npos) {
            return std::nullopt;
        }
        const TextView inside = rest_.substr(1, end - 1);
        rest_.remove_prefix(end + 1);
        return inside;
    }

private:
    static constexpr int kNumberLimit = 100'000'000;

    TextView rest_;
};

}  // namespace kel::text
