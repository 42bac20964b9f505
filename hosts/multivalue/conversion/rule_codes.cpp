// R, P, S, C and B: values checked, replaced and put together by rules.
#include "hosts/multivalue/conversion/codes.h"
#include "hosts/multivalue/number/decimal.h"
#include "hosts/multivalue/text/pattern.h"

namespace kel::conversion {

namespace {

bool IsWhole(TextView text) {
    if (!text.empty() && text[0] == u'-') {
        text.remove_prefix(1);
    }
    return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

std::optional<std::int64_t> TakeBound(CodeReader& reader) {
    const TextView rest = reader.Rest();
    reader.Take(u'-');
    reader.TakeNumber();
    const TextView bound = rest.substr(0, rest.size() - reader.Rest().size());
    return IsWhole(bound) ? WholeNumber(bound) : std::nullopt;
}

bool IsFalse(TextView value) {
    if (value.empty()) {
        return true;
    }
    const std::optional<Decimal> number = Decimal::Parse(value);
    return number && number->IsZero();
}

// An operand of S and C: "text", * for the value itself, or the number of a field.
bool AppendOperand(Text& out, CodeReader& reader, const Element& element) {
    if (const std::optional<TextView> quoted = reader.TakeQuoted()) {
        out.append(*quoted);
    } else if (reader.Take(u'*')) {
        out.append(element.value);
    } else if (const std::optional<int> field = reader.TakeNumber()) {
        out.append(element.environment.FieldOfRecord(*field));
    } else {
        return false;
    }
    return true;
}

}  // namespace

// Rn,m{;n,m}: a whole number within one of the ranges.
Outcome ConvertRange(const Element& element, TextView code, Text& out) {
    if (!element.value.empty() && !IsWhole(element.value)) {
        return ConversionStatus::kBadValue;
    }
    const std::optional<std::int64_t> number =
        element.value.empty() ? 0 : WholeNumber(element.value);
    bool isInside = false;
    CodeReader reader(code);
    do {
        const std::optional<std::int64_t> low = TakeBound(reader);
        const bool hasComma = reader.Take(u',');
        const std::optional<std::int64_t> high = TakeBound(reader);
        if (!low || !hasComma || !high) {
            return ConversionStatus::kBadCode;
        }
        isInside = isInside || (number && *number >= *low && *number <= *high);
    } while (reader.Take(u';') || reader.Take(u'/'));
    if (!reader.AtEnd()) {
        return ConversionStatus::kBadCode;
    }
    if (!isInside) {
        return {ConversionStatus::kBadCode, true};
    }
    out.append(element.value);
    return ConversionStatus::kGood;
}

// P(pattern){;(pattern)}: the value if it is of one of the patterns, else nothing.
Outcome ConvertPattern(const Element& element, TextView code, Text& out) {
    bool isOne = false;
    CodeReader reader(code);
    do {
        if (!reader.Take(u'(')) {
            return ConversionStatus::kBadCode;
        }
        const TextView rest = reader.Rest();
        while (!reader.AtEnd() && reader.Peek() != u')') {
            if (!reader.TakeQuoted()) {
                reader.Next();
            }
        }
        isOne = isOne || Matches(element.value, rest.substr(0, rest.size() - reader.Rest().size()));
        if (!reader.Take(u')')) {
            return ConversionStatus::kBadCode;
        }
    } while (reader.Take(u';') || reader.Take(u'/'));
    if (isOne) {
        out.append(element.value);
    }
    return reader.AtEnd() ? ConversionStatus::kGood : ConversionStatus::kBadCode;
}

// S;a;b: a for a value, b for an empty one or a zero.
Outcome ConvertSubstitution(const Element& element, TextView code, Text& out) {
    CodeReader reader(code);
    if (!reader.Take(u';')) {
        return ConversionStatus::kBadCode;
    }
    if (IsFalse(element.value)) {
        while (!reader.AtEnd() && reader.Peek() != u';') {
            if (!reader.TakeQuoted()) {
                reader.Next();
            }
        }
        reader.Take(u';');
    }
    if (reader.AtEnd() || reader.Peek() == u';') {
        return ConversionStatus::kGood;
    }
    return AppendOperand(out, reader, element) ? ConversionStatus::kGood
                                               : ConversionStatus::kBadCode;
}

// C;a;b...: operands put together; a separator other than ; goes between them, and before the first
// where it stands there.
Outcome ConvertConcatenation(const Element& element, TextView code, Text& out) {
    for (CodeReader reader(code); !reader.AtEnd();) {
        const char16_t separator = reader.Next();
        if (separator != u';') {
            out.push_back(separator);
        }
        if (!reader.AtEnd() && !AppendOperand(out, reader, element)) {
            return ConversionStatus::kBadCode;
        }
    }
    return ConversionStatus::kGood;
}

// B: 1 and 0, shown as Y and N.
Outcome ConvertTruth(const Element& element, TextView /*code*/, Text& out) {
    if (element.direction == Direction::kOut) {
        out.push_back(IsFalse(element.value) ? u'N' : u'Y');
        return ConversionStatus::kGood;
    }
    const char16_t letter = element.value.size() == 1 ? UpperAscii(element.value[0]) : u'\0';
    if (letter == u'Y' || letter == u'N') {
        out.push_back(letter == u'Y' ? u'1' : u'0');
    } else if (!element.value.empty()) {
        return ConversionStatus::kBadValue;
    }
    return ConversionStatus::kGood;
}

}  // namespace kel::conversion
