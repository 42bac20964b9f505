// Days counted from 31 December 1967 and dates of the Gregorian calendar, extended to all years.
#pragma once

#include <array>
#include <cstdint>

#include "hosts/multivalue/text/text.h"

namespace kel::number {

struct CivilDate {
    std::int64_t year;
    int month;  // from 1
    int day;    // from 1
};

inline constexpr int kMonthCount = 12;
inline constexpr std::array<TextView, kMonthCount> kMonthNames = {u"JANUARY",
                                                                  u"FEBRUARY",
                                                                  u"MARCH",
                                                                  u"APRIL",
                                                                  u"MAY",
                                                                  u"JUNE",
                                                                  u"JULY",
                                                                  u"AUGUST",
                                                                  u"SEPTEMBER",
                                                                  u"OCTOBER",
                                                                  u"NOVEMBER",
                                                                  u"DECEMBER"};

constexpr bool IsLeapYear(std::int64_t year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr int DaysInMonth(std::int64_t year, int month) {
    const bool isShort = month == 4 || month == 6 || month == 9 || month == 11;
    return month == 2 ? (IsLeapYear(year) ? 29 : 28) : isShort ? 30 : 31;
}

// Years are taken to begin on 1 March, so that a leap day ends one, and in periods of 400, all of
// the same length.
inline constexpr std::int64_t kDaysIn400Years = 146097;
inline constexpr std::int64_t kMarchOfYear0 = -718736;  // the day number of 1 March of the year 0

constexpr std::int64_t DayNumber(const CivilDate& date) {
    const std::int64_t year = date.month <= 2 ? date.year - 1 : date.year;
    const std::int64_t period = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfPeriod = year - period * 400;
    const int monthFromMarch = (date.month + 9) % 12;
    const int dayOfYear = (153 * monthFromMarch + 2) / 5 + date.day - 1;
    return kMarchOfYear0 + period * kDaysIn400Years + yearOfPeriod * 365 + yearOfPeriod / 4 -
           yearOfPeriod / 100 + dayOfYear;
}

constexpr CivilDate DateOfDay(std::int64_t day) {
    const std::int64_t shifted = day - kMarchOfYear0;
    const std::int64_t period =
        (shifted >= 0 ? shifted : shifted - (kDaysIn400Years - 1)) / kDaysIn400Years;
    const auto dayOfPeriod = static_cast<int>(shifted - period * kDaysIn400Years);
    const int yearOfPeriod =
        (dayOfPeriod - dayOfPeriod / 1460 + dayOfPeriod / 36524 - dayOfPeriod / 146096) / 365;
    const int dayOfYear =
        dayOfPeriod - (365 * yearOfPeriod + yearOfPeriod / 4 - yearOfPeriod / 100);
    const int monthFromMarch = (5 * dayOfYear + 2) / 153;
    const int month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    return {period * 400 + yearOfPeriod + (month <= 2 ? 1 : 0),
            month,
            dayOfYear - (153 * monthFromMarch + 2) / 5 + 1};
}

static_assert(DayNumber({1967, 12, 31}) == 0 && DayNumber({2000, 2, 29}) == 11748);

}  // namespace kel::number
