// Day numbers and the calendars that texts tell them in, in integers: the date, the day of the year, and the
// week of ISO 8601, which begins on Monday and whose first one has 4 January.
//
//   day   days since 1970-01-01, within 2^52
//   year  astronomical, of the proleptic Gregorian calendar
#pragma once

#include <cstdint>

#include "arith/civil.h"

namespace plx {

// A date of a plain year, one of four digits, as nearly all are: in 32-bit integers, which takes a tenth of the time
// that the doubles of arith/civil.h take.
struct PlainDate {
  int year, month, day;
};

inline constexpr int kFirstPlainDay = -719528, kLastPlainDay = 2932896;  // 0000-01-01, 9999-12-31

constexpr bool isPlainDay(std::int64_t day) {
  return kFirstPlainDay <= day && day <= kLastPlainDay;
}

// The year is counted from 1 March, so that the leap day comes last, and 400 years later, so that no quotient is
// negative: 719468 and 146097 are the days from 0000-03-01 to 1970 and of 400 years. The day of the month may carry.
// Months come in no order that a branch could be guessed by, so there is none.
constexpr int dayOfPlain(int year, int month, int day) {
  const unsigned beforeMarch = static_cast<unsigned>(month - 3) >> 31;  // 1 or 0
  const unsigned marchYear = static_cast<unsigned>(year + 400) - beforeMarch;
  const unsigned sinceMarch = static_cast<unsigned>(month - 3) + 12 * beforeMarch;  // [0, 11]
  const unsigned days = 365 * marchYear + marchYear / 4 - marchYear / 100 + marchYear / 400 +
                        (153 * sinceMarch + 2) / 5;
  return static_cast<int>(days) + day - 1 - 719468 - 146097;
}

// Neri and Schneider (2022): the quotients and remainders by the days of a century, a year and a month are taken by
// multiplication, exact for the days that there are of each. Days count from -0400-03-01 here.
constexpr PlainDate plainDateOf(int day) {
  const auto days = static_cast<std::uint32_t>(day + 719468 + 146097);
  const std::uint32_t n1 = 4 * days + 3, century = n1 / 146097;
  const std::uint32_t n2 = n1 % 146097 / 4 * 4 + 3;
  const std::uint64_t p2 = std::uint64_t{2939745} * n2;  // 2^32 / 1461, rounded up
  const auto yearOfCentury = static_cast<std::uint32_t>(p2 >> 32);
  const std::uint32_t dayOfYear = static_cast<std::uint32_t>(p2) / 2939745 / 4;  // [0, 365]
  const std::uint32_t n3 = 2141 * dayOfYear + 197913;                            // 2^16 * 5 / 153
  const std::uint32_t nextYear = (305 - dayOfYear) >> 31;  // 1 in January and February, else 0
  return {static_cast<int>(100 * century + yearOfCentury + nextYear) - 400,
          static_cast<int>((n3 >> 16) - 12 * nextYear), static_cast<int>((n3 & 0xFFFF) / 2141) + 1};
}

// Month and day may lie outside their ranges and carry. dayOf(2014, 5, 10) is 16200.
inline std::int64_t dayOf(std::int64_t year, int month, int day) {
  const bool isPlain = 0 <= year && year <= 9999 && 1 <= month && month <= 12;
  if (isPlain && -1000 <= day && day <= 1000) return dayOfPlain(static_cast<int>(year), month, day);
  return static_cast<std::int64_t>(ymd2days(static_cast<double>(year), month, day));
}

struct CivilDate {
  std::int64_t year;
  int month, day;
};
inline CivilDate civilDateOf(std::int64_t day) {
  if (isPlainDay(day)) {
    const PlainDate date = plainDateOf(static_cast<int>(day));
    return {date.year, date.month, date.day};
  }
  const Date date = dateOf(static_cast<double>(day));
  return {static_cast<std::int64_t>(date.year), static_cast<int>(date.month),
          static_cast<int>(date.day)};
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

inline std::int64_t yearOf(std::int64_t day) { return civilDateOf(day).year; }

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
