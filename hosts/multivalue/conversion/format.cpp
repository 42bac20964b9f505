// Values laid out for columns: {width}{fill}justification{decimals{scaling}}{options}{mask}, or a
// date or masked decimal code.
#include "hosts/multivalue/conversion/codes.h"
#include "hosts/multivalue/conversion/mask.h"
#include "hosts/multivalue/conversion/number_style.h"
#include "hosts/multivalue/number/decimal.h"
#include "hosts/multivalue/text/mark_scan.h"

namespace kel::conversion {

namespace {

// A value's own decimals stay at this scaling; each digit more moves the point left by one.
constexpr int kUsualScaling = 4;

struct LayoutCode {
    int width = -1;  // -1: none
    char16_t fill = u' ';
    char16_t justification = u'L';
    int decimals = -1;  // -1: the value's own
    int scaling = kUsualScaling;
    bool isBlankZero = false;
    bool isStyled = false;
    NumberStyle style;
    TextView mask;
};

bool IsJustification(char16_t unit) {
    return unit == u'L' || unit == u'R' || unit == u'T' || unit == u'U' || unit == u'C';
}

bool TakeSignOption(CodeReader& reader, SignStyle& sign) {
    switch (reader.Peek()) {
        case u'B':
            sign = {u"", u"db", u"", u"  "};
            break;
        case u'C':
            sign = {u"", u"cr", u"", u"  "};
            break;
        case u'D':
            sign = {u"", u"  ", u"", u"db"};
            break;
        case u'E':
            sign = {u"<", u">", u"", u" "};
            break;
        case u'M':
            sign = {u"", u"-", u"", u" "};
            break;
        case u'N':
            sign = {u"", u"", u"", u""};
            break;
        default:
            return false;
    }
    reader.Next();
    return true;
}

void ParseOptions(CodeReader& reader, LayoutCode& layout) {
    if (const std::optional<int> decimals = reader.TakeDigit()) {
        layout.decimals = *decimals;
        layout.scaling = reader.TakeDigit().value_or(kUsualScaling);
    }
    while (true) {
        if (reader.Take(u',')) {
            layout.style.thousands = u",";
        } else if (reader.Take(u'$')) {
            layout.style.currency = u"$";
        } else if (reader.Take(u'Z')) {
            layout.isBlankZero = true;
        } else if (!TakeSignOption(reader, layout.style.sign)) {
            break;
        }
        layout.isStyled = true;
    }
    layout.mask = reader.Rest();
}

bool ParseLayout(TextView text, LayoutCode& layout) {
    CodeReader reader(text);
    layout.width = reader.TakeNumber().value_or(-1);
    const std::optional<TextView> quoted = reader.TakeQuoted();
    if (quoted && !quoted->empty()) {
        layout.fill = quoted->front();
    } else if (!quoted && IsJustification(reader.Peek(1)) && !IsJustification(reader.Peek())) {
        layout.fill = reader.Next();
    }
    layout.justification = reader.Peek();
    if (layout.width > kMaxFieldWidth || !IsJustification(layout.justification)) {
        return false;
    }
    reader.Next();
    layout.style.isSignInside = true;
    ParseOptions(reader, layout);
    return true;
}

// The number as the options want it; a text that is none stays as it is.
void AppendNumber(Text& out, TextView value, const LayoutCode& layout) {
    std::optional<Decimal> number;
    if (value.empty() && layout.decimals >= 0) {
        number.emplace();
    } else if (layout.decimals >= 0 || layout.isStyled) {
        number = Decimal::Parse(value);
    }
    if (!number) {
        out.append(value);
        return;
    }
    if (layout.isBlankZero && number->IsZero()) {
        out.append(layout.style.currency);
        return;
    }
    if (layout.decimals >= 0) {
        number->Shift(kUsualScaling - layout.scaling);
        number->Round(static_cast<std::size_t>(layout.decimals), Rounding::kHalfUp);
    }
    AppendStyled(out, *number, layout.style);
}

void AppendJustified(Text& out, TextView line, std::size_t width, const LayoutCode& layout) {
    const std::size_t room = width - line.size();
    const std::size_t before = layout.justification == u'R'   ? room
                               : layout.justification == u'C' ? room / 2
                                                              : 0;
    out.append(before, layout.fill);
    out.append(line);
    out.append(room - before, layout.fill);
}

// How much of a text goes into a line: whole words where that is wanted and one fits.
std::size_t LineLength(TextView text, std::size_t width, bool wholeWords) {
    if (wholeWords) {
        const std::size_t blank = text.rfind(u' ', width);
        if (blank != TextView::npos && blank > 0) {
            return blank;
        }
    }
    return width;
}

// A text too long for the width goes on in further lines, parted by text marks and filled up
// behind.
void AppendLines(Text& out, TextView text, const LayoutCode& layout) {
    const auto width = static_cast<std::size_t>(layout.width);
    if (width == 0) {
        return;
    }
    if (text.size() <= width) {
        AppendJustified(out, text, width, layout);
        return;
    }
    const bool wholeWords = layout.justification == u'T';
    while (text.size() > width) {
        const std::size_t length = LineLength(text, width, wholeWords);
        out.append(text.substr(0, length));
        out.append(width - length, layout.fill);
        out.push_back(kTextMark);
        text.remove_prefix(length);
        if (wholeWords && !text.empty() && text[0] == u' ') {
            text.remove_prefix(1);
        }
    }
    out.append(text);
    if (!wholeWords || text.size() < width) {
        out.append(width - text.size(), layout.fill);
    }
}

bool AppendFormatted(Text& out, TextView value, const LayoutCode& layout) {
    Text number;
    AppendNumber(number, value, layout);
    if (!layout.mask.empty()) {
        Text masked;
        if (!AppendMasked(masked, number, layout.mask, layout.justification == u'R')) {
            return false;
        }
        number.swap(masked);
    }
    if (layout.width < 0) {
        out.append(number);
    } else {
        AppendLines(out, number, layout);
    }
    return true;
}

}  // namespace

Converted Format(TextView value, TextView format, Environment& environment) {
    const char16_t first = format.empty() ? u'\0' : UpperAscii(format[0]);
    if (first == u'D' || first == u'M') {
        return Oconv(value, format, environment);
    }
    Converted result;
    LayoutCode layout;
    bool isGood = ParseLayout(format, layout);
    constexpr UnitRange kElements{kSubvalueMark, kAttributeMark};
    for (TextView rest = value; isGood;) {
        const std::size_t length = FindInRange(rest.data(), rest.size(), kElements);
        isGood = AppendFormatted(result.value, rest.substr(0, length), layout);
        if (length == rest.size()) {
            break;
        }
        result.value.push_back(rest[length]);
        rest.remove_prefix(length + 1);
    }
    if (!isGood) {
        result = {Text(value), ConversionStatus::kBadCode};
    }
    return result;
}

}  // namespace kel::conversion
