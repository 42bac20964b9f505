// MC: letters in another case, characters kept or taken out, whole numbers between decimal and
// hexadecimal.
#include <charconv>

#include "hosts/multivalue/conversion/codes.h"

namespace kel::conversion {

namespace {

void AppendInTitleCase(Text& out, TextView value) {
    bool inWord = false;
    for (char16_t unit : value) {
        out.push_back(inWord ? LowerAscii(unit) : UpperAscii(unit));
        inWord = IsLetter(unit);
    }
}

template <typename Keep>
void AppendKept(Text& out, TextView value, Keep keep) {
    for (char16_t unit : value) {
        if (keep(unit)) {
            out.push_back(unit);
        }
    }
}

// A, N or AN, with a slash for all other characters; nothing when the code is another.
bool AppendSelected(Text& out, TextView value, CodeReader reader) {
    const bool isInverted = reader.Take(u'/');
    const bool letters = reader.Take(u'A');
    const bool digits = reader.Take(u'N');
    if (!reader.AtEnd() || (!letters && !digits)) {
        return false;
    }
    AppendKept(out, value, [&](char16_t unit) {
        const bool isOfKind = (letters && IsLetter(unit)) || (digits && IsDigit(unit));
        return isOfKind != isInverted;
    });
    return true;
}

// A whole number from one base to another; anything else stays as it is.
void AppendInBase(Text& out, TextView value, int from, int to) {
    char digits[20] = {};
    std::size_t length = 0;
    for (char16_t unit : value) {
        if (length == sizeof digits || unit > u'z') {
            length = 0;
            break;
        }
        digits[length++] = static_cast<char>(UpperAscii(unit));
    }
    std::uint64_t number = 0;
    const auto read = std::from_chars(digits, digits + length, number, from);
    if (length == 0 || read.ec != std::errc() || read.ptr != digits + length) {
        out.append(value);
        return;
    }
    const auto written = std::to_chars(digits, digits + sizeof digits, number, to);
    for (const char* digit = digits; digit != written.ptr; ++digit) {
        out.push_back(UpperAscii(static_cast<char16_t>(*digit)));
    }
}

bool IsPrintable(char16_t unit) {
    return unit >= 0x20 && unit <= 0x7E;
}

}  // namespace

Outcome ConvertCharacters(const Element& element, TextView code, Text& out) {
    const TextView value = element.value;
    CodeReader reader(code);
    // Digits behind the letters say nothing.
    std::size_t length = code.size();
    while (length > 0 && IsDigit(code[length - 1])) {
        --length;
    }
    const char16_t first = reader.Peek();
    const bool isSingle = length == 1;
    if (isSingle && first == u'U') {
        for (char16_t unit : value) {
            out.push_back(UpperAscii(unit));
        }
    } else if (isSingle && first == u'L') {
        for (char16_t unit : value) {
            out.push_back(LowerAscii(unit));
        }
    } else if (isSingle && first == u'T') {
        AppendInTitleCase(out, value);
    } else if (isSingle && first == u'P') {
        for (char16_t unit : value) {
            out.push_back(IsPrintable(unit) ? unit : u'.');
        }
    } else if (first == u'D' && (isSingle || reader.Peek(1) == u'X')) {
        const bool isOut = element.direction == Direction::kOut;
        AppendInBase(out, value, isOut ? 10 : 16, isOut ? 16 : 10);
    } else if (first == u'X' && (isSingle || reader.Peek(1) == u'D')) {
        const bool isOut = element.direction == Direction::kOut;
        AppendInBase(out, value, isOut ? 16 : 10, isOut ? 10 : 16);
    } else if (!AppendSelected(out, value, CodeReader(code.substr(0, length)))) {
        out.append(value);  // an unknown letter asks for nothing
    }
    return ConversionStatus::kGood;
}

}  // namespace kel::conversion
