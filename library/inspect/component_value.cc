#include "inspect/component_value.h"

#include <cstdint>
#include <utility>

#include "arith/civil.h"
#include "datetime/datetime_text.h"
#include "datetime/exact.h"
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

double shownValue(Component component, double day, double secondOfDay, const Zone& zone) {
  switch (component) {
    case Component::year:
      return dateOf(day).year;
    case Component::quarter:
      return floorDouble((dateOf(day).month - 1.0) / 3.0) + 1.0;
    case Component::month:
      return dateOf(day).month;
    case Component::weekOfYear:
      return weekOf(day, zone);
    case Component::dayOfMonth:
      return dateOf(day).day;
    case Component::dayOfYear: {
      const Date date = dateOf(day);
      return daysBeforeMonth(date.year, date.month) + date.day;
    }
    case Component::dayOfWeek:
      return dayOfWeekOf(day, zone);
    case Component::hour:
      return clockOf(secondOfDay).hour;
    case Component::minute:
      return clockOf(secondOfDay).minute;
    case Component::second:
      return clockOf(secondOfDay).second;
    case Component::timeOfDay:
    case Component::none:
      break;
  }
  return secondOfDay;
}

void writeComponentValue(std::string& out, Component component, const doubledouble& pair,
                         const Zone& zone, std::size_t digits, bool exact) {
  const Wall wall = wallOf(pair, zone);
  double value = shownValue(component, wall.day, secondOfDay(wall), zone);
  if (factsOf(component).takesFractions && wall.insertedSecond) value += 1.0;
  out += std::to_string(static_cast<std::int64_t>(value));
  if (!factsOf(component).takesFractions) return;
  const std::string fraction = fractionOf(pair, digits, exact);
  if (!fraction.empty()) out += '.' + fraction;
}

void writeFieldValue(std::string& out, const CalendarField& field, const doubledouble& pair,
                     const Zone& zone, std::size_t digits, bool exact) {
  if (field.own == Own::none)
    return writeComponentValue(out, field.component, pair, zone, digits, exact);
  const Wall wall = wallOf(pair, zone);
  const auto second = static_cast<int128>(secondOfDay(wall));
  if (field.own == Own::date) {
    writeDatetime(out, {}, {static_cast<int128>(wall.day) * 86400}, "");
  } else if (field.own == Own::time) {
    out += clockText(second);
    if (wall.insertedSecond) out.replace(out.size() - 2, 2, "60");
    const std::string fraction = fractionOf(pair, digits, exact);
    if (!fraction.empty()) out += '.' + fraction;
  } else {
    out += std::to_string(static_cast<std::int64_t>(shownValue(field, wall.day, 0.0, zone)));
  }
}

}  // namespace plx
