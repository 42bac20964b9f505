// Days count from 31 December 1967. Dates are those of <chrono>: the Gregorian calendar, extended
// to years before its time.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

#include "hosts/multivalue/text/text.h"

namespace kel::number {

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

inline constexpr std::chrono::sys_days kDayZero = std::chrono::year(1967) / 12 / 31;

constexpr std::int64_t DayNumber(const std::chrono::year_month_day& date) {
    return (std::chrono::sys_days(date) - kDayZero).count();
}

// Dates have years of up to four digits.
inline constexpr std::int64_t kFirstDay = DayNumber(std::chrono::year(1) / 1 / 1);
inline constexpr std::int64_t kLastDay = DayNumber(std::chrono::year(9999) / 12 / 31);

// Empty for a day of no such year.
constexpr std::optional<std::chrono::year_month_day> DateOfDay(std::int64_t day) {
    if (day < kFirstDay || day > kLastDay) {
        return std::nullopt;
    }
    return kDayZero + std::chrono::days(day);
}

}  // namespace kel::number
