// D: days since 31 December 1967, and dates.
#include <algorithm>
#include <array>
#include <iterator>

#include "hosts/multivalue/conversion/codes.h"
#include "hosts/multivalue/number/calendar.h"

namespace kel::conversion {

namespace {

constexpr std::array<TextView, 7> kWeekdays = {
    u"MONDAY", u"TUESDAY", u"WEDNESDAY", u"THURSDAY", u"FRIDAY", u"SATURDAY", u"SUNDAY"};

constexpr std::size_t kShortName = 3;

enum class PartKind : char { kDay, kMonth, kYear, kDayOfYear, kQuarter, kWeekday };

struct DatePart {
    PartKind kind;
    bool isName = false;
    bool isOrdinal = false;  // 3rd instead of 03
    bool hasZeros = true;
    int width = -1;  // -1: the kind's own
};

struct DateCode {
    int yearDigits = 4;
    char16_t groupDelimiter = u'\0';
    int groupsToSkip = 0;
    char16_t separator = u'\0';
    bool isSwapped = false;    // E: the other order than the account's
    bool isMixedCase = false;  // L
    std::array<DatePart, 8> parts{};
    std::size_t partCount = 0;

    bool Add(PartKind kind) {
        if (partCount == parts.size()) {
            return false;
        }
        parts[partCount++] = {kind};
        return true;
    }
};

bool IsSeparator(char16_t unit) {
    return unit != u'\0' && unit != u'[' && !IsDigit(unit) && !IsLetter(unit);
}

// The list in brackets: a width, A for a name, Z for no leading zeros, for one part after another.
bool ParsePartList(CodeReader& reader, DateCode& code) {
    std::size_t at = 0;
    while (!reader.Take(u']')) {
        if (reader.AtEnd()) {
            return false;
        }
        if (reader.Take(u',')) {
            ++at;
            continue;
        }
        if (at >= code.partCount) {
            return false;
        }
        DatePart& part = code.parts[at];
        if (reader.Take(u'A')) {
            part.isName = part.kind == PartKind::kMonth || part.kind == PartKind::kWeekday;
        } else if (reader.Take(u'Z')) {
            part.hasZeros = false;
        } else if (const std::optional<int> width = reader.TakeNumber()) {
            part.width = std::min(*width, 99);
        } else {
            return false;
        }
    }
    return true;
}

bool IsDayFirst(const DateCode& code, Environment& environment) {
    return (environment.OwnDateOrder() == DateOrder::kDayFirst) != code.isSwapped;
}

bool AddUsualParts(DateCode& code, bool dayFirst) {
    return code.Add(dayFirst ? PartKind::kDay : PartKind::kMonth) &&
           code.Add(dayFirst ? PartKind::kMonth : PartKind::kDay) && code.Add(PartKind::kYear);
}

std::optional<PartKind> PartKindOf(char16_t letter) {
    switch (letter) {
        case u'D':
            return PartKind::kDay;
        case u'M':
            return PartKind::kMonth;
        case u'Y':
            return PartKind::kYear;
        case u'J':
            return PartKind::kDayOfYear;
        case u'Q':
            return PartKind::kQuarter;
        case u'W':
            return PartKind::kWeekday;
        default:
            return std::nullopt;
    }
}

bool ParsePart(CodeReader& reader, DateCode& code) {
    const std::optional<PartKind> kind = PartKindOf(reader.Peek());
    if (!kind || !code.Add(*kind)) {
        return false;
    }
    reader.Next();
    DatePart& part = code.parts[code.partCount - 1];
    if (*kind == PartKind::kMonth || *kind == PartKind::kWeekday) {
        part.isName = reader.Take(u'A');
    } else if (*kind == PartKind::kDay) {
        part.isOrdinal = reader.Take(u'O');
    }
    return true;
}

bool ParseParts(CodeReader& reader, DateCode& code, Environment& environment) {
    while (!reader.AtEnd()) {
        bool good = true;
        if (reader.Take(u'E')) {
            code.isSwapped = !code.isSwapped;
        } else if (reader.Take(u'L')) {
            code.isMixedCase = true;
        } else if (reader.Take(u'I')) {
            code.separator = u'-';
            good =
                code.Add(PartKind::kYear) && code.Add(PartKind::kMonth) && code.Add(PartKind::kDay);
        } else if (reader.Take(u'[')) {
            if (code.partCount == 0) {
                AddUsualParts(code, code.separator == u'\0' || IsDayFirst(code, environment));
            }
            good = ParsePartList(reader, code);
        } else {
            good = ParsePart(reader, code);
        }
        if (!good) {
            return false;
        }
    }
    return true;
}

// Reads what stands before the parts: year digits, the group of the value, the separator.
bool ParsePrefix(CodeReader& reader, DateCode& code) {
    if (const std::optional<int> digits = reader.TakeDigit()) {
        code.yearDigits = *digits;
    }
    if (IsSeparator(reader.Peek()) && IsDigit(reader.Peek(1))) {
        code.groupDelimiter = reader.Next();
        code.groupsToSkip = *reader.TakeNumber();
    }
    if (IsSeparator(reader.Peek())) {
        code.separator = reader.Next();
    }
    return code.yearDigits <= 4;
}

// Fills in the parts that a code without any stands for: DD MMM YYYY, or numbers in the order of
// the account. Swapped against an account that writes the day first, they are numbers even without
// a separator.
void CompleteParts(DateCode& code, Environment& environment) {
    if (code.partCount == 0) {
        const bool dayFirst = IsDayFirst(code, environment);
        const bool isNumeric =
            code.separator != u'\0' ||
            (code.isSwapped && environment.OwnDateOrder() == DateOrder::kDayFirst);
        AddUsualParts(code, dayFirst || !isNumeric);
        code.parts[1].isName = !isNumeric;
        if (!isNumeric) {
            code.parts[1].width = kShortName;
        }
    }
    if (code.separator == u'\0') {
        code.separator = u' ';
    }
}

// Empty when the code is not valid.
std::optional<DateCode> ParseDateCode(TextView text, Environment& environment) {
    DateCode code;
    CodeReader reader(text);
    if (!ParsePrefix(reader, code) || !ParseParts(reader, code, environment)) {
        return std::nullopt;
    }
    CompleteParts(code, environment);
    return code;
}

void AppendNumber(Text& out, std::int64_t number, int width) {
    char16_t digits[24];
    std::size_t at = std::size(digits);
    do {
        digits[--at] = static_cast<char16_t>(u'0' + number % 10);
        number /= 10;
    } while (number != 0);
    for (int length = static_cast<int>(std::size(digits) - at); length < width; ++length) {
        out.push_back(u'0');
    }
    out.append(digits + at, std::size(digits) - at);
}

void AppendName(Text& out, TextView name, const DatePart& part, bool isMixedCase) {
    const std::size_t length =
        part.width > 0 ? std::min(name.size(), static_cast<std::size_t>(part.width)) : name.size();
    for (std::size_t i = 0; i < length; ++i) {
        out.push_back(isMixedCase && i > 0 ? LowerAscii(name[i]) : name[i]);
    }
}

void AppendOrdinal(Text& out, int day) {
    AppendNumber(out, day, 1);
    const bool isTeen = day / 10 == 1;
    const int last = day % 10;
    out.append(isTeen || last == 0 || last > 3 ? u"th"
               : last == 1                     ? u"st"
               : last == 2                     ? u"nd"
                                               : u"rd");
}

void AppendYear(Text& out, std::int64_t year, int digits) {
    std::int64_t limit = 1;
    for (int i = 0; i < digits; ++i) {
        limit *= 10;
    }
    if (digits > 0) {
        AppendNumber(out, year % limit, digits);
    }
}

void AppendPart(Text& out,
                const DatePart& part,
                const DateCode& code,
                const std::chrono::year_month_day& date) {
    const auto day = static_cast<unsigned>(date.day());
    const auto month = static_cast<unsigned>(date.month());
    const int width = !part.hasZeros ? 1 : part.width >= 0 ? part.width : 2;
    switch (part.kind) {
        case PartKind::kDay:
            if (part.isOrdinal) {
                AppendOrdinal(out, static_cast<int>(day));
            } else {
                AppendNumber(out, day, width);
            }
            break;
        case PartKind::kMonth:
            if (part.isName) {
                AppendName(out, kMonthNames[month - 1], part, code.isMixedCase);
            } else {
                AppendNumber(out, month, width);
            }
            break;
        case PartKind::kYear:
            AppendYear(out,
                       static_cast<int>(date.year()),
                       std::min(part.width >= 0 ? part.width : code.yearDigits, 9));
            break;
        case PartKind::kDayOfYear:
            AppendNumber(out, DayNumber(date) - DayNumber(date.year() / 1 / 1) + 1, width);
            break;
        case PartKind::kQuarter:
            AppendNumber(out, (month + 2) / 3, std::max(part.width, 1));
            break;
        case PartKind::kWeekday: {
            const unsigned fromMonday =
                std::chrono::weekday(std::chrono::sys_days(date)).iso_encoding() - 1;
            if (part.isName) {
                AppendName(out, kWeekdays[fromMonday], part, code.isMixedCase);
            } else {
                AppendNumber(out, fromMonday + 1, std::max(part.width, 1));
            }
            break;
        }
    }
}

Outcome ToDate(const Element& element, TextView text, Text& out) {
    std::optional<DateCode> code = ParseDateCode(text, element.environment);
    TextView value = element.value;
    if (code && code->groupDelimiter != u'\0') {
        value = GroupsOf(value, code->groupDelimiter, code->groupsToSkip, 1);
    }
    const std::optional<std::int64_t> day = WholeNumber(value);
    if (!day) {
        return ConversionStatus::kBadValue;
    }
    if (!code) {
        return ConversionStatus::kBadCode;
    }
    const std::optional<std::chrono::year_month_day> date = DateOfDay(*day);
    if (!date) {
        return ConversionStatus::kBadValue;
    }
    for (std::size_t i = 0; i < code->partCount; ++i) {
        if (i > 0) {
            out.push_back(code->separator);
        }
        AppendPart(out, code->parts[i], *code, *date);
    }
    return ConversionStatus::kGood;
}

}  // namespace

Outcome ConvertDate(const Element& element, TextView code, Text& out) {
    if (element.value.empty()) {
        return ConversionStatus::kGood;
    }
    return element.direction == Direction::kOut ? ToDate(element, code, out)
                                                : FromDate(element, code, out);
}

}  // namespace kel::conversion
