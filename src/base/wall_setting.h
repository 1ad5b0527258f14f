// What setting a component does to the wall clock of a time zone, in closed form.
//
//   day    days since 1970-01-01 on that clock
//   time   what has passed since midnight, in units of which a second has kPerSecond
//
// For datetimes within 2^52 ms and values of 32 bits all numbers are whole and below 2^53, and the floors
// of their quotients are exact: rounding moves a quotient below 2^n by at most 2^(n-54), and a quotient
// that is not whole lies at least 1/divisor below the next whole number. Quotients by a day's milliseconds,
// some 2^26.4, are below 2^26, and those by smaller divisors, at most an hour's 2^21.8, below 2^29: days
// and values by 7, milliseconds of a day by those of an hour or a minute.
//
// Week of year and day of week follow ICU's calendar and not the unzoned setter: the last days of
// December that share the week of the next 1 January are in week 1 of that year, and days of the
// week below 1 stay within the week.
#pragma once

#include "arith/civil.h"
#include "arith/rounding.h"
#include "base/component.h"

inline double floorDivide(double a, double b) { return floorDouble(a / b); }
inline double floorRemainder(double a, double b) { return a - floorDivide(a, b) * b; }

// Sunday 0 .. Saturday 6; day 0, 1970-01-01, was a Thursday.
inline double weekdayOf(double day) { return floorRemainder(day + 4.0, 7.0); }

// The Sunday that begins week 1 of the year to which the week of a day belongs: the year of its
// Saturday.
inline double sundayOfFirstWeek(double day) {
  const double saturday = day - weekdayOf(day) + 6.0;
  const double january = ymd2days(dateOf(saturday).year, 1.0, 1.0);
  return january - weekdayOf(january);
}

template <int kPerSecond>
struct WallClock {
  double day;
  double time;
};

// The wall time with a component set to a whole number. The time of the result may lie outside the day.
template <int kPerSecond>
inline WallClock<kPerSecond> wallClockWith(Component component, const WallClock<kPerSecond>& wall,
                                           double v) {
  constexpr double kSecond = kPerSecond, kMinute = 60.0 * kSecond, kHour = 60.0 * kMinute;
  const auto [day, time] = wall;
  switch (component) {
    case Component::year: {
      const Date date = dateOf(day);
      return {ymd2days(v, date.month, date.day), time};
    }
    case Component::quarter: {  // its first month
      const Date date = dateOf(day);
      return {ymd2days(date.year, 3.0 * v - 2.0, date.day), time};
    }
    case Component::month: {
      const Date date = dateOf(day);
      return {ymd2days(date.year, v, date.day), time};
    }
    case Component::weekOfYear:
      return {sundayOfFirstWeek(day) + 7.0 * (v - 1.0) + weekdayOf(day), time};
    case Component::dayOfMonth:
      return {day - dateOf(day).day + v, time};
    case Component::dayOfYear:
      return {ymd2days(dateOf(day).year, 1.0, v), time};
    case Component::dayOfWeek:
      return {day - weekdayOf(day) + floorRemainder(v - 1.0, 7.0), time};
    case Component::hour:
      return {day, kHour * v + floorRemainder(time, kHour)};
    case Component::minute:
      return {day,
              time - floorRemainder(time, kHour) + kMinute * v + floorRemainder(time, kMinute)};
    case Component::second:
      return {day, time - floorRemainder(time, kMinute) + kSecond * v};
    case Component::timeOfDay:
      return {day, kSecond * v};
    case Component::none:
      break;
  }
  return wall;
}
