// MD, ML and MR: numbers kept without their point, shown with point, thousands, currency and sign.
#include <iterator>

#include "hosts/multivalue/conversion/codes.h"
#include "hosts/multivalue/conversion/mask.h"
#include "hosts/multivalue/conversion/number_style.h"
#include "hosts/multivalue/number/decimal.h"

namespace kel::conversion {

namespace {

struct NumberCode {
    char16_t kind = u'D';  // D, L or R
    int decimals = 0;
    int scaling = 0;
    bool isBlankZero = false;  // Z
    bool keepsPoint = false;   // P: a value that has its point is not scaled
    Rounding rounding = Rounding::kHalfUp;
    NumberStyle style;
    TextView mask;
    int width = 0;  // 0: none
    char16_t fill = u' ';
};

// [currency,thousands,point,suffix], each of them optional and in quotes if it holds a comma.
bool ParseStyleList(CodeReader& reader, NumberStyle& style) {
    TextView parts[4];
    std::size_t at = 0;
    while (!reader.Take(u']')) {
        if (reader.AtEnd() || at == std::size(parts)) {
            return false;
        }
        if (const std::optional<TextView> quoted = reader.TakeQuoted()) {
            parts[at] = *quoted;
        } else {
            const TextView rest = reader.Rest();
            while (!reader.AtEnd() && reader.Peek() != u',' && reader.Peek() != u']') {
                reader.Next();
            }
            parts[at] = rest.substr(0, rest.size() - reader.Rest().size());
        }
        reader.Take(u',');
        ++at;
    }
    style.currency = parts[0].empty() ? style.currency : parts[0];
    style.thousands = parts[1].empty() ? style.thousands : parts[1];
    style.point = parts[2].empty() ? style.point : parts[2];
    style.suffix = parts[3];
    return true;
}

void ParseSign(CodeReader& reader, SignStyle& sign) {
    if (reader.Take(u'-')) {
        sign = {u"", u"-", u"", u" "};
    } else if (reader.Take(u'+')) {
        sign = {u"", u"-", u"", u"+"};
    } else if (reader.Take(u'<')) {
        sign = {u"<", u">", u" ", u" "};
    } else if (reader.Take(u'(')) {
        sign = {u"(", u")", u" ", u" "};
    } else if (reader.Take(u'C')) {
        sign = {u"", u"cr", u"", u"  "};
    } else if (reader.Take(u'D')) {
        sign = {u"", u"db", u"", u"  "};
    }
}

// The options stand in a fixed order and may be left out; from the first character out of order on
// the code says nothing more.
bool ParseNumberCode(TextView text, NumberCode& code) {
    CodeReader reader(text);
    code.kind = UpperAscii(reader.Next());
    code.decimals = reader.TakeDigit().value_or(0);
    code.scaling = reader.TakeDigit().value_or(code.decimals);
    code.isBlankZero = code.kind != u'D' && reader.Take(u'Z');
    while (reader.Peek() == u',' || reader.Peek() == u'$') {
        if (reader.Next() == u',') {
            code.style.thousands = u",";
        } else {
            code.style.currency = u"$";
        }
    }
    if (reader.Take(u'[') && !ParseStyleList(reader, code.style)) {
        return false;
    }
    ParseSign(reader, code.style.sign);
    code.keepsPoint = reader.Take(u'P');
    code.isBlankZero = reader.Take(u'Z') || code.isBlankZero;
    code.rounding = reader.Take(u'T') ? Rounding::kTruncate : Rounding::kHalfUp;
    if (IsMaskPlace(reader.Peek())) {
        code.mask = reader.Rest();
    } else if (const std::optional<int> width = reader.TakeNumber()) {
        code.width = *width;
        code.fill = reader.AtEnd() ? u' ' : reader.Next();
    }
    return code.width <= kMaxFieldWidth;
}

// A width cuts off behind; ML fills up behind, MR before, MD not at all.
void LayOut(Text& out, std::size_t start, const NumberCode& code) {
    const std::size_t length = out.size() - start;
    const auto width = static_cast<std::size_t>(code.width);
    if (length > width) {
        out.resize(start + width);
    } else if (code.kind == u'R') {
        out.insert(start, width - length, code.fill);
    } else if (code.kind == u'L') {
        out.append(width - length, code.fill);
    }
}

Outcome ToDisplay(const Element& element, const NumberCode& code, Text& out) {
    const bool isEmpty = element.value.empty();
    std::optional<Decimal> number = isEmpty ? Decimal() : Decimal::Parse(element.value);
    if (!number) {
        return ConversionStatus::kBadValue;
    }
    const std::size_t start = out.size();
    if (!(code.isBlankZero && number->IsZero())) {
        const bool hasPoint = element.value.find(u'.') != TextView::npos;
        if (!(code.keepsPoint && hasPoint)) {
            number->Shift(-code.scaling);
        }
        number->Round(static_cast<std::size_t>(code.decimals), code.rounding);
        AppendStyled(out, *number, code.style);
    }
    if (!code.mask.empty()) {
        const Text plain = out.substr(start);
        out.resize(start);
        if (!AppendMasked(out, plain, code.mask, code.kind == u'R')) {
            return ConversionStatus::kBadCode;
        }
    } else if (code.width > 0) {
        LayOut(out, start, code);
    }
    return ConversionStatus::kGood;
}

bool EndsNegative(TextView text) {
    while (!text.empty() && text.back() == u' ') {
        text.remove_suffix(1);
    }
    const std::size_t size = text.size();
    if (size == 0) {
        return false;
    }
    const char16_t last = UpperAscii(text[size - 1]);
    const char16_t before = size > 1 ? UpperAscii(text[size - 2]) : u'\0';
    return last == u'-' || (before == u'C' && last == u'R') || (before == u'D' && last == u'B');
}

// What may stand before the digits: blanks, fill, currency and a sign or an opening bracket, each
// in any order but signs only once.
bool TakeLead(TextView& text, const NumberCode& code, bool& isNegative) {
    const TextView currency = code.style.currency;
    bool hasSign = false;
    while (!text.empty()) {
        const char16_t unit = text[0];
        if (!currency.empty() && text.starts_with(currency)) {
            text.remove_prefix(currency.size());
            continue;
        }
        if (unit == u'-' || unit == u'+' || unit == u'(' || unit == u'<') {
            if (hasSign) {
                return false;
            }
            hasSign = true;
            isNegative = unit != u'+';
        } else if (unit != u' ' && unit != u'$' && unit != u'*') {
            return true;
        }
        text.remove_prefix(1);
    }
    return true;
}

// Reads as far as the number goes: what people write behind it (a percent sign, a unit) is passed
// over. Thousands separators and blanks inside are skipped.
Outcome ToStored(const Element& element, const NumberCode& code, Text& out) {
    if (element.value.empty()) {
        return ConversionStatus::kGood;
    }
    TextView rest = element.value;
    bool isNegative = EndsNegative(rest);
    if (!TakeLead(rest, code, isNegative)) {
        return ConversionStatus::kBadValue;
    }
    if (rest.empty()) {
        return ConversionStatus::kGood;  // a sign alone: nothing
    }
    const TextView thousands = code.style.thousands.empty() ? u"," : code.style.thousands;
    const TextView point = code.style.point;
    Text plain;
    bool hasPoint = false;
    while (!rest.empty()) {
        if (IsDigit(rest[0])) {
            plain.push_back(rest[0]);
        } else if (!hasPoint && rest.starts_with(point)) {
            hasPoint = true;
            plain.push_back(u'.');
            rest.remove_prefix(point.size());
            continue;
        } else if (!hasPoint && rest.starts_with(thousands)) {
            rest.remove_prefix(thousands.size());
            continue;
        } else if (rest[0] != u' ') {
            break;
        }
        rest.remove_prefix(1);
    }
    std::optional<Decimal> number = Decimal::Parse(plain);
    if (!number) {
        return ConversionStatus::kBadValue;
    }
    number->Shift(code.scaling);
    number->Round(0, code.rounding);
    if (isNegative) {
        out.push_back(u'-');
    }
    number->AppendTo(out);
    return ConversionStatus::kGood;
}

}  // namespace

Outcome ConvertNumber(const Element& element, TextView code, Text& out) {
    NumberCode parsed;
    if (!ParseNumberCode(code, parsed)) {
        return ConversionStatus::kBadCode;
    }
    if (element.direction == Direction::kIn) {
        return ToStored(element, parsed, out);
    }
    if (element.value.empty() && parsed.kind == u'D') {
        return ConversionStatus::kGood;
    }
    return ToDisplay(element, parsed, out);
}

}  // namespace kel::conversion
