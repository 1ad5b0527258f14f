#include "inspect/component_value.h"

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <iterator>
#include <utility>

#include "arith/civil.h"
#include "datetime/exact.h"
#include "inspect/part.h"
#include "inspect/wall.h"

namespace plx {

namespace {

struct Clock {
  double hour, minute, second;
};
Clock clockOf(double secondOfDay) {
  Clock clock;
  secs2hms(secondOfDay, clock.hour, clock.minute, clock.second);
  return clock;
}

bool areEqual(const doubledouble& a, const doubledouble& b) { return a.hi == b.hi && a.lo == b.lo; }

// What a calendar makes of a value in seconds: the whole ones to the clock, the rest to what is added.
doubledouble calendarSeconds(double value, double before) {
  const double whole = std::trunc(value);
  return two_sum((value - whole) * kMillisPerSecond, before + whole * kMillisPerSecond);
}

// The seconds from `before`, whole milliseconds since midnight, to the time of day. Where a double
// sets exactly this time of day, it is that one; a quotient may round to its neighbour.
double secondsFrom(double before, const Wall& wall, Part part, const Zone& zone) {
  const auto set = [&](double value) -> doubledouble {
    if (zone.isCalendar()) return calendarSeconds(value, before);
    if (part == Part::second) return two_sum(value * kMillisPerSecond, before);
    return {value * kMillisPerSecond, 0.0};
  };
  const doubledouble millis = dd::subtract(wall.msOfDay, before);
  const double nearest = dd::collapse(dd::divide(millis, kMillisPerSecond));
  for (const double value : {nearest, std::nextafter(nearest, -1.0), std::nextafter(nearest, 1e9)})
    if (areEqual(set(value), wall.msOfDay)) return value;
  return nearest;
}

double dateValue(Part part, double day, const Zone& zone) {
  const Date date = dateOf(day);
  switch (part) {
    case Part::year:
      return date.year;
    case Part::quarter:
      return floorDouble((date.month - 1.0) / 3.0) + 1.0;
    case Part::month:
      return date.month;
    case Part::weekOfYear:
      return weekOf(day, zone);
    case Part::day:
      return date.day;
    case Part::dayOfYear:
      return daysBeforeMonth(date.year, date.month) + date.day;
    default:  // Part::dayOfWeek
      return weekdayOf(day) + 1.0;
  }
}

bool isAbove(const doubledouble& a, const doubledouble& b) {
  return a.hi > b.hi || (a.hi == b.hi && a.lo > b.lo);
}

// The digits behind the point of a pair's second. They never round up to another second.
std::string fractionOf(const doubledouble& pair, std::size_t digits, bool exact) {
  if (exact) return shortest(pair).fraction;
  DecimalSeconds decimal = rounded(pair, digits);
  const bool carried = decimal.fraction.empty() && isAbove(pairOf(decimal.seconds, ""), pair);
  return carried ? shortest(pair).fraction : std::move(decimal.fraction);
}

}  // namespace

double shownValue(const Component& component, double day, double secondOfDay, const Zone& zone) {
  switch (partOf(component)) {
    case Part::hour:
      return clockOf(secondOfDay).hour;
    case Part::minute:
      return clockOf(secondOfDay).minute;
    case Part::second:
      return clockOf(secondOfDay).second;
    case Part::timeOfDay:
      return secondOfDay;
    default:
      return dateValue(partOf(component), day, zone);
  }
}

double componentValue(const Component& component, const doubledouble& pair, const Zone& zone) {
  const Wall wall = wallOf(pair, zone);
  const double seconds = secondOfDay(wall);
  if (component.whole) return shownValue(component, wall.day, seconds, zone);
  const Part part = partOf(component);
  const double before =
      part == Part::second ? (seconds - clockOf(seconds).second) * kMillisPerSecond : 0.0;
  return secondsFrom(before, wall, part, zone) + (wall.insertedSecond ? 1.0 : 0.0);
}

void writeComponentValue(std::string& out, const Component& component, const doubledouble& pair,
                         const Zone& zone, std::size_t digits, bool exact) {
  const Wall wall = wallOf(pair, zone);
  double value = shownValue(component, wall.day, secondOfDay(wall), zone);
  if (!component.whole && wall.insertedSecond) value += 1.0;
  fmt::format_to(std::back_inserter(out), "{}", static_cast<std::int64_t>(value));
  if (component.whole) return;
  const std::string fraction = fractionOf(pair, digits, exact);
  if (!fraction.empty()) out += '.' + fraction;
}

}  // namespace plx
