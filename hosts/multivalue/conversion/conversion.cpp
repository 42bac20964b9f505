// Takes values apart into elements and codes, and finds the family of each code.
#include "hosts/multivalue/conversion/conversion.h"

#include <iterator>
#include <utility>

#include "hosts/multivalue/conversion/codes.h"
#include "hosts/multivalue/text/mark_scan.h"

namespace kel::conversion {

namespace {

constexpr UnitRange kElementMarks{kTextMark, kAttributeMark};

Outcome ConvertMasked(const Element& element, TextView code, Text& out) {
    if (code.size() < 2) {
        return ConversionStatus::kBadCode;
    }
    switch (UpperAscii(code[1])) {
        case u'D':
        case u'L':
        case u'R':
            return ConvertNumber(element, code.substr(1), out);
        case u'T':
            return ConvertTime(element, code.substr(2), out);
        case u'C':
            return ConvertCharacters(element, code.substr(2), out);
        case u'X':
        case u'O':
        case u'B':
            return ConvertRadix(element, code.substr(1), out);
        default:
            return ConversionStatus::kBadCode;
    }
}

Outcome ConvertByOneCode(const Element& element, TextView code, Text& out) {
    if (code.empty()) {
        out.append(element.value);
        return ConversionStatus::kGood;
    }
    const TextView rest = code.substr(1);
    switch (UpperAscii(code[0])) {
        case u'D':
            return ConvertDate(element, rest, out);
        case u'M':
            return ConvertMasked(element, code, out);
        case u'B':
            return rest == u"64" ? ConvertBase64(element, rest, out)
                                 : ConvertTruth(element, rest, out);
        case u'C':
            return ConvertConcatenation(element, rest, out);
        case u'G':
            return ConvertGroup(element, rest, out);
        case u'L':
            return ConvertLength(element, rest, out);
        case u'P':
            return ConvertPattern(element, rest, out);
        case u'R':
            return ConvertRange(element, rest, out);
        case u'S':
            return ConvertSubstitution(element, rest, out);
        case u'T':
            return rest.find(u';') == TextView::npos ? ConvertExtraction(element, rest, out)
                                                     : ConvertTranslation(element, rest, out);
        case u'<':
            return ConvertPosition(element, rest, out);
        default:
            return ConversionStatus::kBadCode;
    }
}

bool IsFailure(ConversionStatus status) {
    return status == ConversionStatus::kBadValue || status == ConversionStatus::kBadCode;
}

// Appends the converted element, or what stands for it when it does not convert: itself on output,
// nothing on input, where the caller refuses the entry.
ConversionStatus ConvertElementOnce(const Element& element, TextView code, Text& out) {
    const std::size_t start = out.size();
    const Outcome outcome = ConvertByOneCode(element, code, out);
    if (IsFailure(outcome.status)) {
        out.resize(start);
        if (element.direction == Direction::kOut && !outcome.emptiesValue) {
            out.append(element.value);
        }
    }
    return outcome.status;
}

// One element through all codes, stopping where one fails.
ConversionStatus ConvertElement(const Element& element, TextView codes, Text& out) {
    const bool isOut = element.direction == Direction::kOut;
    std::size_t mark = isOut ? codes.find(kValueMark) : codes.rfind(kValueMark);
    if (mark == TextView::npos) {
        return ConvertElementOnce(element, codes, out);
    }
    ConversionStatus status = ConversionStatus::kGood;
    Text value(element.value);
    Text next;
    while (true) {
        const TextView code = mark == TextView::npos ? codes
                              : isOut                ? codes.substr(0, mark)
                                                     : codes.substr(mark + 1);
        next.clear();
        const ConversionStatus step =
            ConvertElementOnce({value, element.direction, element.environment}, code, next);
        value.swap(next);
        if (step != ConversionStatus::kGood) {
            status = step;
        }
        if (IsFailure(step) || mark == TextView::npos) {
            break;
        }
        codes = isOut ? codes.substr(mark + 1) : codes.substr(0, mark);
        mark = isOut ? codes.find(kValueMark) : codes.rfind(kValueMark);
    }
    out.append(value);
    return status;
}

Converted ConvertElements(const Element& whole, TextView codes) {
    Converted result;
    TextView rest = whole.value;
    while (true) {
        const std::size_t length = FindInRange(rest.data(), rest.size(), kElementMarks);
        const ConversionStatus status = ConvertElement(
            {rest.substr(0, length), whole.direction, whole.environment}, codes, result.value);
        // A failure stays even when later elements are merely doubtful.
        if (IsFailure(status) || (status != ConversionStatus::kGood && !IsFailure(result.status))) {
            result.status = status;
        }
        if (length == rest.size()) {
            return result;
        }
        result.value.push_back(rest[length]);
        rest.remove_prefix(length + 1);
    }
}

Converted ConvertWhole(const Element& whole, TextView codes) {
    Converted result;
    result.status = ConvertElement(whole, codes, result.value);
    return result;
}

}  // namespace

Converted Oconv(TextView value, TextView code, Environment& environment) {
    return ConvertElements({value, Direction::kOut, environment}, code);
}

Converted Iconv(TextView value, TextView code, Environment& environment) {
    return ConvertElements({value, Direction::kIn, environment}, code);
}

Converted OconvWhole(TextView value, TextView code, Environment& environment) {
    return ConvertWhole({value, Direction::kOut, environment}, code);
}

Converted IconvWhole(TextView value, TextView code, Environment& environment) {
    return ConvertWhole({value, Direction::kIn, environment}, code);
}

}  // namespace kel::conversion
