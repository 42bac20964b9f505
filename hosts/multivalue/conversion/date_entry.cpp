// D on input: from what people type to days since 31 December 1967.
#include <algorithm>
#include <iterator>
#include <utility>

#include "hosts/multivalue/conversion/codes.h"
#include "hosts/multivalue/number/calendar.h"

namespace kel::conversion {

namespace {

// Two-digit years from here on belong to the 20th century, those below to the 21st.
constexpr int kCenturyTurn = 30;

constexpr std::size_t kLeastMonthLetters = 3;

// The order in which day, month and year are typed, as letters.
struct EntryOrder {
    char16_t parts[3] = {};
    std::size_t count = 0;

    bool Has(char16_t part) const { return std::find(parts, parts + count, part) != parts + count; }
    bool Add(char16_t part) {
        if (count == std::size(parts) || Has(part)) {
            return false;
        }
        parts[count++] = part;
        return true;
    }
};

// Only the letters Y, M, D and E of a code matter on input; what else a code asks for is a matter
// of output. Empty when what the code shows does not make a date.
std::optional<EntryOrder> OrderOf(TextView code, Environment& environment) {
    EntryOrder order;
    bool dayFirst = environment.OwnDateOrder() == DateOrder::kDayFirst;
    for (CodeReader reader(code.substr(0, code.find(u'['))); !reader.AtEnd();) {
        const char16_t letter = reader.Peek();
        if (letter == u'E') {
            dayFirst = !dayFirst;
        } else if (letter == u'I') {
            order = {{u'Y', u'M', u'D'}, 3};
        } else if (letter == u'Y' || letter == u'M' || letter == u'D') {
            order.Add(letter);
        }
        reader.Next();
    }
    if (order.count == 0) {
        return dayFirst ? EntryOrder{{u'D', u'M', u'Y'}, 3} : EntryOrder{{u'M', u'D', u'Y'}, 3};
    }
    if (!order.Has(u'Y') || !order.Has(u'M')) {
        return std::nullopt;
    }
    return order;
}

struct Entry {
    CodeReader reader;
    int day = 0;
    int month = 0;
    int year = 0;
    bool hasDay = false;
    bool hasYear = false;
};

bool IsEntrySeparator(char16_t unit) {
    return unit == u' ' || unit == u'/' || unit == u'-' || unit == u'.' || unit == u',' ||
           unit == u':' || unit == u'*' || unit == u';' || unit == u'\'' || unit == u'_';
}

void SkipSeparators(CodeReader& reader) {
    while (IsEntrySeparator(reader.Peek())) {
        reader.Next();
    }
}

// A month's name, or its beginning of at least three letters; 0 when there is none of that name.
int TakeMonthName(CodeReader& reader) {
    std::size_t length = 0;
    while (IsLetter(reader.Peek(length))) {
        ++length;
    }
    if (length < kLeastMonthLetters) {
        return 0;
    }
    for (int month = 1; month <= kMonthCount; ++month) {
        const TextView name = kMonthNames[static_cast<std::size_t>(month) - 1];
        std::size_t same = 0;
        while (same < length && same < name.size() && reader.Peek(same) == name[same]) {
            ++same;
        }
        if (same == length) {
            for (std::size_t i = 0; i < length; ++i) {
                reader.Next();
            }
            return month;
        }
    }
    return 0;
}

struct ShortNumber {
    int value = 0;
    int digits = 0;
};

ShortNumber TakeDigits(CodeReader& reader, int most) {
    ShortNumber number;
    while (number.digits < most && IsDigit(reader.Peek())) {
        number.value = number.value * 10 + (reader.Next() - u'0');
        ++number.digits;
    }
    return number;
}

bool TakeYear(Entry& entry) {
    const ShortNumber year = TakeDigits(entry.reader, 4);
    if (year.digits == 0) {
        return entry.reader.AtEnd();  // the current one
    }
    entry.hasYear = true;
    entry.year = year.value;
    if (year.digits == 2) {
        entry.year += year.value >= kCenturyTurn ? 1900 : 2000;
    }
    return entry.year > 0;
}

bool TakeMonthOrDay(Entry& entry, EntryOrder& order, std::size_t at) {
    // The month's name tells itself apart from the day, whichever was to come first.
    char16_t& part = order.parts[at];
    char16_t* const next = at + 1 < order.count ? &order.parts[at + 1] : nullptr;
    if (IsLetter(entry.reader.Peek())) {
        if (part == u'D' && next != nullptr && *next == u'M') {
            std::swap(part, *next);
        }
        entry.month = part == u'M' ? TakeMonthName(entry.reader) : 0;
        return entry.month != 0;
    }
    const ShortNumber number = TakeDigits(entry.reader, 2);
    if (number.digits == 0) {
        return part == u'D' && entry.reader.AtEnd();  // the first of the month
    }
    CodeReader ahead = entry.reader;
    SkipSeparators(ahead);
    if (part == u'M' && next != nullptr && *next == u'D' && IsLetter(ahead.Peek())) {
        std::swap(part, *next);
    }
    if (part == u'M') {
        entry.month = number.value;
        return number.value >= 1 && number.value <= kMonthCount;
    }
    entry.day = number.value;
    entry.hasDay = true;
    return number.value >= 1;
}

bool Take(Entry& entry, EntryOrder order) {
    for (std::size_t i = 0; i < order.count; ++i) {
        if (i > 0) {
            SkipSeparators(entry.reader);
        }
        const bool good =
            order.parts[i] == u'Y' ? TakeYear(entry) : TakeMonthOrDay(entry, order, i);
        if (!good) {
            return false;
        }
    }
    while (entry.reader.Take(u' ')) {
    }
    return entry.reader.AtEnd();
}

int ThisYear(Environment& environment) {
    const std::chrono::sys_days today = kDayZero + std::chrono::days(environment.Today());
    return static_cast<int>(std::chrono::year_month_day(today).year());
}

}  // namespace

Outcome FromDate(const Element& element, TextView code, Text& out) {
    const std::optional<EntryOrder> order = OrderOf(code, element.environment);
    Entry entry{CodeReader(element.value)};
    if (!order || !Take(entry, *order)) {
        return ConversionStatus::kBadValue;
    }
    if (!entry.hasYear) {
        entry.year = ThisYear(element.environment);
    }
    const std::chrono::year_month month =
        std::chrono::year(entry.year) / std::chrono::month(static_cast<unsigned>(entry.month));
    // A day past the month's end runs on into the next month, no further.
    const int day = entry.hasDay ? entry.day : 1;
    const int past =
        day - static_cast<int>(static_cast<unsigned>((month / std::chrono::last).day()));
    if (past > 31) {
        return ConversionStatus::kBadValue;
    }
    AppendInteger(out, DayNumber(month / 1) + day - 1);
    return past > 0 ? ConversionStatus::kDoubtful : ConversionStatus::kGood;
}

}  // namespace kel::conversion
