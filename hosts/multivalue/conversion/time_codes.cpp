// MT: seconds since midnight, and times of day. Times are not wrapped at 24 hours: they are also
// used for durations.
#include "hosts/multivalue/conversion/codes.h"

namespace kel::conversion {

namespace {

constexpr std::int64_t kSecondsPerHour = 3600;
constexpr std::int64_t kNoon = 12;

// Two digits, the sign of a negative part in place of the leading zero.
void AppendPart(Text& out, std::int64_t part) {
    if (part >= 0 && part < 10) {
        out.push_back(u'0');
    }
    AppendInteger(out, part);
}

Outcome ToTime(const Element& element, TextView code, Text& out) {
    CodeReader reader(code);
    const bool isTwelveHour = reader.Take(u'H');
    const bool hasSeconds = reader.Take(u'S');
    const char16_t separator = reader.AtEnd() ? u':' : reader.Next();
    const std::optional<std::int64_t> seconds = WholeNumber(element.value);
    if (!seconds) {
        return ConversionStatus::kBadValue;
    }
    std::int64_t hour = *seconds / kSecondsPerHour;
    bool isAfternoon = false;
    if (isTwelveHour) {
        hour %= 2 * kNoon;
        isAfternoon = hour >= kNoon;
        hour %= kNoon;
        hour = hour == 0 ? kNoon : hour;
    }
    AppendPart(out, hour);
    out.push_back(separator);
    AppendPart(out, *seconds % kSecondsPerHour / 60);
    if (hasSeconds) {
        out.push_back(separator);
        AppendPart(out, *seconds % 60);
    }
    if (isTwelveHour) {
        out.append(isAfternoon ? u"pm" : u"am");
    }
    return ConversionStatus::kGood;
}

// Minutes or seconds behind a separator. Absent ones are 0.
bool TakeSixtieth(CodeReader& reader, std::int64_t& part) {
    const char16_t next = reader.Peek();
    if (reader.AtEnd() || IsDigit(next) || IsLetter(next)) {
        return true;
    }
    CodeReader ahead = reader;
    ahead.Next();
    if (const std::optional<int> number = ahead.TakeNumber()) {
        reader = ahead;
        part = *number;
    }
    return part < 60;
}

// Input of every code: hours, minutes and seconds with any separators, then perhaps am or pm. What
// follows, fractions of a second for instance, is passed over.
Outcome FromTime(const Element& element, Text& out) {
    CodeReader reader(element.value);
    while (reader.Take(u' ')) {
    }
    const std::optional<int> hours = reader.TakeNumber();
    std::int64_t minutes = 0;
    std::int64_t seconds = 0;
    if (!hours || !TakeSixtieth(reader, minutes) || !TakeSixtieth(reader, seconds)) {
        return ConversionStatus::kBadValue;
    }
    while (reader.Take(u' ')) {
    }
    std::int64_t hour = *hours;
    if (reader.Peek() == u'P' && hour < kNoon) {
        hour += kNoon;
    } else if (reader.Peek() == u'A' && hour == kNoon) {
        hour = 0;
    }
    AppendInteger(out, hour * kSecondsPerHour + minutes * 60 + seconds);
    return ConversionStatus::kGood;
}

}  // namespace

Outcome ConvertTime(const Element& element, TextView code, Text& out) {
    if (element.value.empty()) {
        return ConversionStatus::kGood;
    }
    return element.direction == Direction::kOut ? ToTime(element, code, out)
                                                : FromTime(element, out);
}

}  // namespace kel::conversion
