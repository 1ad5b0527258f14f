#include "inspect/named.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "arith/civil.h"
#include "inspect/part.h"
#include "inspect/wall.h"
#include "messages/calendar_names.h"

namespace plx {

namespace {

constexpr std::array<std::string_view, 4> kQuarters = {"q1", "q2", "q3", "q4"};

char lower(char c) { return 'A' <= c && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool areEqualInAnyCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b, {}, lower, lower);
}

// Counted from 1: the name that the text is, in full or by its first three letters.
std::optional<NamedValue> find(std::span<const std::string_view> names, std::string_view text) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (areEqualInAnyCase(text, names[i]) || areEqualInAnyCase(text, names[i].substr(0, 3)))
      return NamedValue{false, static_cast<double>(i + 1)};
  }
  return std::nullopt;
}

bool hasLast(Part part) {
  return part != Part::year && part != Part::second && part != Part::timeOfDay;
}

double daysInMonth(const Date& date) {
  return ymd2days(date.year, date.month + 1.0, 1.0) - ymd2days(date.year, date.month, 1.0);
}

// The weeks of the year that a date's week belongs to.
double weeksInYear(double day, const Zone& zone) {
  const double saturday = zone.isCalendar() ? day - weekdayOf(day) + 6.0 : day;
  const double december = ymd2days(dateOf(saturday).year, 12.0, 31.0);
  // Where a calendar counts 31 December in the next year, the week before is the last.
  return std::max(weekOf(december, zone), weekOf(december - 7.0, zone));
}

double last(Part part, const doubledouble& pair, const Zone& zone) {
  const double day = wallOf(pair, zone).day;
  switch (part) {
    case Part::quarter:
      return 4.0;
    case Part::month:
      return 12.0;
    case Part::weekOfYear:
      return weeksInYear(day, zone);
    case Part::day:
      return daysInMonth(dateOf(day));
    case Part::dayOfYear:
      return isLeapYear(dateOf(day).year) ? 366.0 : 365.0;
    case Part::dayOfWeek:
      return 7.0;
    case Part::hour:
      return 23.0;
    default:  // Part::minute
      return 59.0;
  }
}

}  // namespace

std::optional<NamedValue> named(const Component& component, std::string_view text) {
  const Part part = partOf(component);
  if (areEqualInAnyCase(text, "last"))
    return hasLast(part) ? std::optional(NamedValue{true, 0.0}) : std::nullopt;
  switch (part) {
    case Part::dayOfWeek:
      return find(kWeekdayNames, text);
    case Part::month:
      return find(kMonthNames, text);
    case Part::quarter:
      return find(kQuarters, text);
    default:
      return std::nullopt;
  }
}

std::string_view acceptedNames(const Component& component) {
  switch (partOf(component)) {
    case Part::dayOfWeek:
      return "sun to sat, sunday to saturday, last";
    case Part::month:
      return "jan to dec, january to december, last";
    case Part::quarter:
      return "q1 to q4, last";
    default:
      return hasLast(partOf(component)) ? "last" : "";
  }
}

double resolve(const NamedValue& value, const Component& component, const doubledouble& pair,
               const Zone& zone) {
  return value.isLast ? last(partOf(component), pair, zone) : value.number;
}

}  // namespace plx
