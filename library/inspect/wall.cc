#include "inspect/wall.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>

#include "unzoned/leap_seconds.h"

namespace plx {

namespace {

constexpr std::int64_t kMillisOfDay = 86'400'000;

// Whether a number is whole, and small enough for the arithmetic on pairs to be exact: integers then give the
// same, many times as fast.
bool isSmallWhole(const doubledouble& number, std::int64_t& whole) {
  if (number.lo != 0 || !(std::fabs(number.hi) <= 0x1p52)) return false;
  whole = static_cast<std::int64_t>(number.hi);
  return static_cast<double>(whole) == number.hi;
}

Wall apart(std::int64_t millis) {
  const std::int64_t msOfDay =
      millis % kMillisOfDay + (millis % kMillisOfDay < 0 ? kMillisOfDay : 0);
  const std::int64_t day = (millis - msOfDay) / kMillisOfDay;
  Wall wall;
  wall.day = static_cast<double>(day);
  wall.msOfDay = {static_cast<double>(msOfDay), 0};
  return wall;
}

Wall apart(const doubledouble& t) {
  std::int64_t millis = 0;
  if (isSmallWhole(t, millis)) return apart(millis);
  Wall wall;
  wall.msOfDay = dd::DivMod(t, kMillisPerDay, wall.day);
  return wall;
}

// In a calendar, whose offset there is known.
Wall apart(const doubledouble& pair, int offsetSeconds) {
  std::int64_t millis = 0;
  if (isSmallWhole(pair, millis)) return apart(millis + std::int64_t{offsetSeconds} * 1000);
  const doubledouble floor = dd::Floor(pair);
  const doubledouble fraction = dd::subtract(pair, floor);
  const double local = dd::collapse(floor) + offsetSeconds * kMillisPerSecond;
  Wall wall;
  wall.day = floorDouble(local / kMillisPerDay);
  wall.msOfDay = dd::add(fraction, local - wall.day * kMillisPerDay);
  return wall;
}

}  // namespace

std::string clockText(int128 wallSecond) {
  const auto second = static_cast<int>(floorDiv(wallSecond, 86400).remainder);
  return fmt::format("{:02}:{:02}:{:02}", second / 3600, second / 60 % 60, second % 60);
}

int128 secondOf(const doubledouble& pair) {
  std::int64_t millis = 0;
  if (isSmallWhole(pair, millis)) return millis / 1000 - (millis % 1000 < 0 ? 1 : 0);
  const doubledouble floor = dd::Floor(pair);
  return floorDiv(static_cast<int128>(floor.hi) + static_cast<int128>(floor.lo), 1000).quotient;
}

Wall wallOf(const doubledouble& pair, const Zone& zone) {
  if (zone.isCalendar()) return apart(pair, zone.wallTime(secondOf(pair)).offsetSeconds);
  if (!zone.countsLeapSeconds()) return apart(pair);
  Wall wall = apart(elapsedToUTC(pair));
  wall.insertedSecond = zone.wallTime(secondOf(pair)).insertedSecond;
  return wall;
}

double secondOfDay(const Wall& wall) {
  std::int64_t millis = 0;
  if (isSmallWhole(wall.msOfDay, millis)) {
    const std::int64_t whole = millis / 1000;
    return static_cast<double>(whole);
  }
  return dd::collapse(dd::Floor(dd::divide(wall.msOfDay, kMillisPerSecond)));
}

double dayOfWeekOf(double day, const Zone& zone) {
  const double first = zone.weeks() ? zone.weeks()->firstDay : 0.0;
  return floorRemainder(weekdayOf(day) - first, 7.0) + 1.0;
}

double weekOf(double day, const Zone& zone) {
  if (zone.weeks()) {
    const double january = ymd2days(dateOf(day).year, 1.0, 1.0);
    return floorDivide(day - january + dayOfWeekOf(january, zone) - 1.0, 7.0) + 1.0;
  }
  if (!zone.isCalendar()) {
    const Date date = dateOf(day);
    return weekOfYear(day, date.year, date.month, date.day);
  }
  return (day - weekdayOf(day) - sundayOfFirstWeek(day)) / 7.0 + 1.0;
}

}  // namespace plx
