#include "inspect/named.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "arith/civil.h"
#include "inspect/wall.h"
#include "messages/calendar_names.h"
#include "messages/letters.h"

namespace plx {

namespace {

constexpr std::array<std::string_view, 4> kQuarters = {"q1", "q2", "q3", "q4"};

// Counted from 1: the name that the text is, in full or by its first three letters.
std::optional<NamedValue> find(std::span<const std::string_view> names, std::string_view text) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (areEqualInAnyCase(text, names[i]) || areEqualInAnyCase(text, names[i].substr(0, 3)))
      return NamedValue{false, static_cast<double>(i + 1)};
  }
  return std::nullopt;
}

// The weeks of the year that a date's week belongs to.
double weeksInYear(double day, const Zone& zone) {
  const double saturday = zone.isCalendar() && !zone.weeks() ? day - weekdayOf(day) + 6.0 : day;
  const double december = ymd2days(dateOf(saturday).year, 12.0, 31.0);
  // Where a calendar counts 31 December in the next year, the week before is the last.
  return std::max(weekOf(december, zone), weekOf(december - 7.0, zone));
}

bool hasLast(Component component) {
  return component != Component::year && !factsOf(component).takesFractions;
}

}  // namespace

double lastOf(Component component, double day, const Zone& zone) {
  const Date date = dateOf(day);
  switch (component) {
    case Component::quarter:
      return 4.0;
    case Component::month:
      return 12.0;
    case Component::weekOfYear:
      return weeksInYear(day, zone);
    case Component::dayOfMonth:
      return daysOfMonth(date.year, date.month);
    case Component::dayOfYear:
      return isLeapYear(date.year) ? 366.0 : 365.0;
    case Component::dayOfWeek:
      return 7.0;
    case Component::hour:
      return 23.0;
    case Component::minute:
      return 59.0;
    case Component::year:
    case Component::second:
    case Component::timeOfDay:
    case Component::none:
      break;
  }
  return 0.0;
}

std::optional<NamedValue> named(Component component, std::string_view text) {
  if (areEqualInAnyCase(text, "last"))
    return hasLast(component) ? std::optional(NamedValue{true, 0.0}) : std::nullopt;
  switch (component) {
    case Component::dayOfWeek:
      return find(kWeekdayNames, text);
    case Component::month:
      return find(kMonthNames, text);
    case Component::quarter:
      return find(kQuarters, text);
    default:
      return std::nullopt;
  }
}

double resolve(const NamedValue& value, Component component, const doubledouble& pair,
               const Zone& zone) {
  return value.isLast ? lastOf(component, wallOf(pair, zone).day, zone) : value.number;
}

}  // namespace plx
