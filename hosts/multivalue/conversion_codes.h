// What the dispatcher of conversions and the families of codes share. Not for users of the library.
//
// Each family converts one element and appends what comes out to `out`, which may hold earlier
// elements. What it has appended when it fails is taken off again.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "hosts/multivalue/ascii.h"
#include "hosts/multivalue/conversion.h"

namespace kel::multivalue {

enum class Direction { kOut, kIn };

// The widest field a code may ask for: far above any form or report, and it keeps a mistyped code
// from asking for gigabytes of fill.
inline constexpr int kMaxFieldWidth = 32767;

struct Outcome {
    // Not explicit: mostly the status is all there is to say.
    constexpr Outcome(ConversionStatus own, bool emptied = false)
        : status(own), emptiesValue(emptied) {}

    ConversionStatus status;
    // A failure that answers "" on output too, instead of the value unchanged.
    bool emptiesValue;
};

struct Element {
    TextView value;
    Direction direction;
    Surroundings& around;
};

// A code read from left to right.
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

// A number's whole part, towards zero; empty when the text is no number or beyond 18 digits.
std::optional<std::int64_t> WholeNumber(TextView text);

// `count` groups of a text parted by `delimiter`, from behind the first `skip`, with the delimiters
// between them.
TextView GroupsOf(TextView text, char16_t delimiter, int skip, int count);

// The input side of D.
Outcome FromDate(const Element& element, TextView code, Text& out);

// The codes, by first letter. `code` starts behind the letters that choose the family.
Outcome ConvertDate(const Element& element, TextView code, Text& out);    // D
Outcome ConvertTime(const Element& element, TextView code, Text& out);    // MT
Outcome ConvertNumber(const Element& element, TextView code, Text& out);  // MD ML MR, from D L R
Outcome ConvertCharacters(const Element& element, TextView code, Text& out);  // MC
Outcome ConvertRadix(const Element& element, TextView code, Text& out);    // MX MO MB, from X O B
Outcome ConvertBase64(const Element& element, TextView code, Text& out);   // B64
Outcome ConvertTruth(const Element& element, TextView code, Text& out);    // B
Outcome ConvertGroup(const Element& element, TextView code, Text& out);    // G
Outcome ConvertLength(const Element& element, TextView code, Text& out);   // L
Outcome ConvertRange(const Element& element, TextView code, Text& out);    // R
Outcome ConvertPattern(const Element& element, TextView code, Text& out);  // P
Outcome ConvertSubstitution(const Element& element, TextView code, Text& out);   // S
Outcome ConvertConcatenation(const Element& element, TextView code, Text& out);  // C
Outcome ConvertExtraction(const Element& element, TextView code, Text& out);     // T m,n
Outcome ConvertTranslation(const Element& element, TextView code, Text& out);    // T file;...
Outcome ConvertPosition(const Element& element, TextView code, Text& out);       // <a,v,s>

}  // namespace kel::multivalue
