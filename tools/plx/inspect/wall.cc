#include "inspect/wall.h"

#include "arith/civil.h"
#include "unzoned/leap_seconds.h"

namespace plx {

namespace {

Wall apart(const doubledouble& t) {
  Wall wall;
  wall.msOfDay = dd::DivMod(t, kMillisPerDay, wall.day);
  return wall;
}

}  // namespace

int128 secondOf(const doubledouble& pair) {
  const doubledouble floor = dd::Floor(pair);
  return floorDiv(static_cast<int128>(floor.hi) + static_cast<int128>(floor.lo), 1000).quotient;
}

Wall wallOf(const doubledouble& pair, int offsetSeconds) {
  const doubledouble floor = dd::Floor(pair);
  const double fraction = dd::collapse(dd::subtract(pair, floor));
  const double local = dd::collapse(floor) + offsetSeconds * kMillisPerSecond;
  Wall wall;
  wall.day = floorDouble(local / kMillisPerDay);
  wall.msOfDay = two_sum(local - wall.day * kMillisPerDay, fraction);
  return wall;
}

Wall wallOf(const doubledouble& pair, const Zone& zone) {
  if (zone.isCalendar()) return wallOf(pair, zone.wallTime(secondOf(pair)).offsetSeconds);
  if (!zone.countsLeapSeconds()) return apart(pair);
  Wall wall = apart(elapsedToUTC(pair));
  wall.insertedSecond = zone.wallTime(secondOf(pair)).insertedSecond;
  return wall;
}

Date dateOf(double day) {
  Date date;
  days2ymd(day, date.year, date.month, date.day);
  return date;
}

double secondOfDay(const Wall& wall) {
  return dd::collapse(dd::Floor(dd::divide(wall.msOfDay, kMillisPerSecond)));
}

double weekdayOf(double day) {
  const double x = day + 4.0;  // 1970-01-01 was a Thursday
  return x - floorDouble(x / 7.0) * 7.0;
}

double weekOf(double day, const Zone& zone) {
  if (!zone.isCalendar()) {
    const Date date = dateOf(day);
    return weekOfYear(day, date.year, date.month, date.day);
  }
  const double sunday = day - weekdayOf(day);
  const double january = ymd2days(dateOf(sunday + 6.0).year, 1.0, 1.0);  // of the Saturday's year
  return (sunday - (january - weekdayOf(january))) / 7.0 + 1.0;
}

}  // namespace plx
