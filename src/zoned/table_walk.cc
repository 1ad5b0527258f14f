#include "zoned/table_walk.h"

#include <cmath>

#include "arith/civil.h"
#include "arith/doubledouble.h"
#include "arith/rounding.h"
#include "base/calendar_limits.h"
#include "base/field_codes.h"

namespace {

constexpr double kOutside32Bits = 0x1p31;
// Seconds of which the milliseconds are within 32 bits.
constexpr double kSecondsWithin32Bits = 2147483.0;

// All numbers are whole and below 2^53. Quotients are below 2^26 by a day's milliseconds, some 2^26.4,
// and below 2^29 by smaller divisors: days and values of 32 bits by 7, milliseconds of a day by those
// of an hour or a minute. Rounding moves a quotient below 2^n by at most 2^(n-54), which is less than one
// part in its divisor, so that its floor is exact.
double floorDivide(double a, double b) { return floorDouble(a / b); }
double floorRemainder(double a, double b) { return a - floorDivide(a, b) * b; }

// Sunday 0 .. Saturday 6; day 0, 1970-01-01, was a Thursday.
double weekday(double day) { return floorRemainder(day + 4.0, 7.0); }

struct Date {
  double year, month, day;
};

Date dateOf(double days) {
  Date date;
  days2ymd(days, date.year, date.month, date.day);
  return date;
}

// The day number with a component of the date set to a whole number.
double newDay(UCalendarDateFields field, double day, double v) {
  switch (static_cast<int>(field)) {
    case UCAL_EXTENDED_YEAR: {
      const Date date = dateOf(day);
      return ymd2days(v, date.month, date.day);
    }
    case kQuarterField: {  // its first month
      const Date date = dateOf(day);
      return ymd2days(date.year, 3.0 * v - 2.0, date.day);
    }
    case UCAL_MONTH: {
      const Date date = dateOf(day);
      return ymd2days(date.year, v, date.day);
    }
    case UCAL_WEEK_OF_YEAR: {
      const double saturday = day - weekday(day) + 6.0;  // of the year that the week belongs to
      const double january = ymd2days(dateOf(saturday).year, 1.0, 1.0);
      return january - weekday(january) + 7.0 * (v - 1.0) + weekday(day);
    }
    case UCAL_DATE:
      return day - dateOf(day).day + v;
    case UCAL_DAY_OF_YEAR:
      return ymd2days(dateOf(day).year, 1.0, v);
    default:  // UCAL_DAY_OF_WEEK
      return day - weekday(day) + floorRemainder(v - 1.0, 7.0);
  }
}

// The milliseconds after midnight with a component of the clock set to a whole number.
double newMs(UCalendarDateFields field, double ms, double v) {
  switch (static_cast<int>(field)) {
    case UCAL_HOUR_OF_DAY:
      return kMillisPerHour * v + floorRemainder(ms, kMillisPerHour);
    case UCAL_MINUTE:
      return ms - floorRemainder(ms, kMillisPerHour) + kMillisPerMinute * v +
             floorRemainder(ms, kMillisPerMinute);
    case UCAL_SECOND:
      return ms - floorRemainder(ms, kMillisPerMinute) + kMillisPerSecond * v;
    default:  // UCAL_MILLISECONDS_IN_DAY
      return kMillisPerSecond * v;
  }
}

enum class Part { date, clock, seconds, none };

Part partOf(UCalendarDateFields field) {
  switch (static_cast<int>(field)) {
    case UCAL_EXTENDED_YEAR:
    case kQuarterField:
    case UCAL_MONTH:
    case UCAL_WEEK_OF_YEAR:
    case UCAL_DATE:
    case UCAL_DAY_OF_YEAR:
    case UCAL_DAY_OF_WEEK:
      return Part::date;
    case UCAL_HOUR_OF_DAY:
    case UCAL_MINUTE:
      return Part::clock;
    case UCAL_SECOND:
    case UCAL_MILLISECONDS_IN_DAY:
      return Part::seconds;
    default:
      return Part::none;
  }
}

bool accepts(UCalendarDateFields field, Part part, double v) {
  if (part == Part::seconds) {
    return field == UCAL_SECOND ? std::fabs(v) < kOutside32Bits
                                : std::fabs(v) < kSecondsWithin32Bits + 1.0;
  }
  return v == std::trunc(v) && -kOutside32Bits <= v && v < kOutside32Bits &&
         std::fabs(v) <= largestValue(field);
}

bool isInRange(double ms) { return std::fabs(ms) <= kMaxCalendarMillis; }

}  // namespace

bool setByTable(const OffsetTable& table, UCalendarDateFields field, const Elements& e,
                std::size_t i) {
  const doubledouble t{e.high[i], e.low ? e.low[i] : 0.0};
  const double v = e.values[i * e.step];
  doubledouble result;
  if (!std::isfinite(v) || !std::isfinite(t.hi)) {
    result = dd::add(v, t);
  } else {
    const Part part = partOf(field);
    const doubledouble floor = dd::Floor(t);
    const double whole = dd::collapse(floor);
    if (part == Part::none || !isInRange(whole) || !accepts(field, part, v)) return false;

    const double local = whole + offsetAt(table.instants(), whole);
    const double day = floorDivide(local, kMillisPerDay);
    const double ms = local - day * kMillisPerDay;
    // Second and time of day replace what is below a millisecond; elsewhere it stays.
    const double seconds = std::trunc(v);
    const double added =
        part == Part::seconds ? (v - seconds) * 1000.0 : dd::collapse(dd::subtract(t, floor));
    const double wall = part == Part::date ? newDay(field, day, v) * kMillisPerDay + ms
                                           : day * kMillisPerDay + newMs(field, ms, seconds);
    const double millis = wall - offsetAt(table.walls(), wall);
    if (!isInRange(millis)) return false;
    result = two_sum(added, millis);
  }
  e.resultHigh[i] = result.hi;
  e.resultLow[i] = result.lo;
  return true;
}

void setElement(const OffsetTable& table, UCalendarDateFields field, const Elements& elements,
                std::size_t i, CalendarWalk& calendar) {
  if (!setByTable(table, field, elements, i)) calendar.set(i);
}

void tableWalk(const OffsetTable& table, UCalendarDateFields field, const Elements& elements,
               CalendarWalk& calendar) {
  for (std::size_t i = 0; i < elements.count; ++i) setElement(table, field, elements, i, calendar);
}
