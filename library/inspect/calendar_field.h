// What is set and read beside the module's components: by arithmetic here, through one of the components.
//
//   date       the date, 2024-02-29: the time of day stays      set through the day of the month
//   time       the time of day, 09:30                           through the time of day
//   iso-year   the year that an ISO week belongs to             through the day of the month
//   iso-week   the week from Monday; week 1 has 4 January       through the day of the month
//
// Setting the ISO year or week keeps the other and the day of the week.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "arith/civil.h"
#include "base/component.h"
#include "datetime/zone.h"

namespace plx {

enum class Own { none, date, time, isoYear, isoWeek };

struct OwnFacts {
  Own own;
  std::string_view name;
  Component component;  // through which it is set
  std::string_view unit;
};

inline constexpr std::array<OwnFacts, 4> kOwnFacts = {{
    {Own::date, "date", Component::dayOfMonth, "as in 2024-02-29"},
    {Own::time, "time", Component::timeOfDay, "as in 09:30 or 09:30:15.5"},
    {Own::isoYear, "iso-year", Component::dayOfMonth, "the year of the ISO week"},
    {Own::isoWeek, "iso-week", Component::dayOfMonth, "1 to 53, from Monday"},
}};

// A component, or one of the others with the component that it is set through.
struct CalendarField {
  Component component = Component::none;
  Own own = Own::none;

  std::string_view name() const;
  friend bool operator==(const CalendarField&, const CalendarField&) = default;
};

// Of a day since 1970-01-01: its ISO week.
struct IsoWeek {
  double year, week;
};
IsoWeek isoWeekOf(double day);
// The Monday that begins the first week of an ISO year, and how many weeks the year has.
double firstMondayOf(double isoYear);
double isoWeeksIn(double isoYear);

// The number that a field of a date or a clock shows; of date and time, days since 1970-01-01 and seconds
// since midnight.
double shownValue(const CalendarField& field, double day, double secondOfDay, const Zone& zone);

}  // namespace plx
