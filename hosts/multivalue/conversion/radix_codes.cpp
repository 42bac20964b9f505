// MX, MO, MB: numbers, or texts character by character, in hexadecimal, octal and binary digits.
// B64: texts in the 64 characters that survive every mail.
#include "hosts/multivalue/conversion/codes.h"

namespace kel::conversion {

namespace {

struct Radix {
    unsigned bitsPerDigit;
    int digitsPerCharacter;
};

constexpr std::uint64_t kMaxCharacter = 0xFF;

char16_t DigitOf(std::uint64_t value) {
    return static_cast<char16_t>(value < 10 ? u'0' + value : u'A' + (value - 10));
}

// The digit's value, or a large one.
unsigned ValueOf(char16_t digit) {
    const char16_t capital = UpperAscii(digit);
    return IsDigit(digit)                       ? static_cast<unsigned>(digit - u'0')
           : capital >= u'A' && capital <= u'F' ? static_cast<unsigned>(capital - u'A') + 10
                                                : 0xFF;
}

void AppendDigits(Text& out, std::uint64_t number, Radix radix, int least) {
    const unsigned bits = radix.bitsPerDigit;
    unsigned shift = static_cast<unsigned>(least) * bits;
    while (shift < 64 && number >> shift != 0) {
        shift += bits;
    }
    while (shift > 0) {
        shift -= bits;
        out.push_back(DigitOf(number >> shift & ((1U << bits) - 1)));
    }
}

Outcome NumberOut(TextView value, Radix radix, Text& out) {
    const std::optional<std::int64_t> number = WholeNumber(value);
    if (!number) {
        return ConversionStatus::kBadValue;
    }
    // Negative numbers show as words of 32 bits where they fit.
    const auto word = static_cast<std::uint64_t>(*number);
    const bool isShort = *number < 0 && *number >= INT32_MIN;
    AppendDigits(out, isShort ? word & 0xFFFFFFFF : word, radix, *number == 0 ? 2 : 1);
    return ConversionStatus::kGood;
}

Outcome NumberIn(TextView value, Radix radix, Text& out) {
    std::uint64_t number = 0;
    for (char16_t unit : value) {
        const unsigned digit = ValueOf(unit);
        if (digit >> radix.bitsPerDigit != 0 || number >> (63 - radix.bitsPerDigit) != 0) {
            return ConversionStatus::kBadValue;
        }
        number = number << radix.bitsPerDigit | digit;
    }
    AppendInteger(out, static_cast<std::int64_t>(number));
    return ConversionStatus::kGood;
}

Outcome CharactersOut(TextView value, Radix radix, Text& out) {
    for (char16_t unit : value) {
        if (unit > kMaxCharacter) {
            return ConversionStatus::kBadValue;
        }
        AppendDigits(out, unit, radix, radix.digitsPerCharacter);
    }
    return ConversionStatus::kGood;
}

// Digits are told off from the end, so that only those of the first character may be fewer.
Outcome CharactersIn(TextView value, Radix radix, Text& out) {
    const auto width = static_cast<std::size_t>(radix.digitsPerCharacter);
    std::size_t left = value.size();
    unsigned character = 0;
    for (char16_t unit : value) {
        const unsigned digit = ValueOf(unit);
        character = character << radix.bitsPerDigit | digit;
        if (digit >> radix.bitsPerDigit != 0 || character > kMaxCharacter) {
            return ConversionStatus::kBadValue;
        }
        if (--left % width == 0) {
            out.push_back(static_cast<char16_t>(character));
            character = 0;
        }
    }
    return ConversionStatus::kGood;
}

// RFC 4648, section 4.
constexpr TextView kBase64 = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

Outcome Base64Out(TextView value, Text& out) {
    for (; !value.empty(); value.remove_prefix(std::min<std::size_t>(3, value.size()))) {
        const std::size_t count = std::min<std::size_t>(3, value.size());
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            const char16_t unit = i < count ? value[i] : u'\0';
            if (unit > kMaxCharacter) {
                return ConversionStatus::kBadValue;
            }
            bits = bits << 8 | unit;
        }
        for (std::size_t i = 0; i < 4; ++i) {
            out.push_back(i <= count ? kBase64[bits >> (18 - 6 * i) & 0x3F] : u'=');
        }
    }
    return ConversionStatus::kGood;
}

// Characters outside the alphabet, line ends above all, are passed over.
Outcome Base64In(TextView value, Text& out) {
    std::uint32_t bits = 0;
    unsigned count = 0;
    for (char16_t unit : value) {
        const std::size_t digit = kBase64.find(unit);
        if (digit == TextView::npos) {
            continue;
        }
        bits = (bits << 6 | static_cast<std::uint32_t>(digit)) & 0xFFFFFF;
        count += 6;
        if (count >= 8) {
            count -= 8;
            out.push_back(static_cast<char16_t>(bits >> count & 0xFF));
        }
    }
    return ConversionStatus::kGood;
}

}  // namespace

Outcome ConvertRadix(const Element& element, TextView code, Text& out) {
    const char16_t letter = UpperAscii(code[0]);
    const Radix radix = letter == u'X' ? Radix{4, 2} : letter == u'O' ? Radix{3, 3} : Radix{1, 8};
    CodeReader reader(code.substr(1));
    bool isText = reader.Take(u'0') && reader.Take(u'C');
    if (!reader.AtEnd()) {
        return ConversionStatus::kBadCode;
    }
    if (element.value.empty()) {
        return ConversionStatus::kGood;
    }
    // The older family's MX is about characters from the start.
    isText = isText || (letter == u'X' && element.environment.OwnFamily() == Family::kR83);
    if (element.direction == Direction::kOut) {
        return isText ? CharactersOut(element.value, radix, out)
                      : NumberOut(element.value, radix, out);
    }
    return isText ? CharactersIn(element.value, radix, out) : NumberIn(element.value, radix, out);
}

Outcome ConvertBase64(const Element& element, TextView /*code*/, Text& out) {
    return element.direction == Direction::kOut ? Base64Out(element.value, out)
                                                : Base64In(element.value, out);
}

}  // namespace kel::conversion
