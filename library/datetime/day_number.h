// Day numbers and the calendars that texts tell them in, in integers: the date, the day of the year, and the
// week of ISO 8601, which begins on Monday and whose first one has 4 January.
//
//   day   days since 1970-01-01, within 2^52
//   year  astronomical, of the proleptic Gregorian calendar
#pragma once

#include <cstdint>

#include "arith/civil.h"

namespace plx {

// Month and day may lie outside their ranges and carry. dayOf(2014, 5, 10) is 16200.
inline std::int64_t dayOf(std::int64_t year, int month, int day) {
  return static_cast<std::int64_t>(ymd2days(static_cast<double>(year), month, day));
}

// In integers: each datetime that is read asks.
constexpr bool isLeap(std::int64_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr int daysInMonth(std::int64_t year, int month) {
  if (month == 2) return isLeap(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

constexpr int daysInYear(std::int64_t year) { return isLeap(year) ? 366 : 365; }

// Monday 0 to Sunday 6.
constexpr int daysSinceMonday(std::int64_t day) {
  const auto rest = static_cast<int>((day + 3) % 7);  // 1970-01-01 was a Thursday
  return rest < 0 ? rest + 7 : rest;
}

// The Monday of a year's week 1.
inline std::int64_t firstMonday(std::int64_t year) {
  const std::int64_t fourth = dayOf(year, 1, 4);
  return fourth - daysSinceMonday(fourth);
}

// 52 or 53.
inline int weeksInYear(std::int64_t year) {
  return static_cast<int>((firstMonday(year + 1) - firstMonday(year)) / 7);
}

inline std::int64_t yearOf(std::int64_t day) {
  return static_cast<std::int64_t>(dateOf(static_cast<double>(day)).year);
}

// From 1.
inline int dayOfYear(std::int64_t year, std::int64_t day) {
  return static_cast<int>(day - dayOf(year, 1, 1)) + 1;
}

// A week belongs to the year that has its Thursday.
constexpr std::int64_t thursdayOf(std::int64_t day) { return day - daysSinceMonday(day) + 3; }

// The number of a week, from 1, in the year that has its Thursday.
inline int weekNumber(std::int64_t year, std::int64_t thursday) {
  return (dayOfYear(year, thursday) - 1) / 7 + 1;
}

}  // namespace plx
