#include "inspect/calendar_field.h"

#include "base/wall_setting.h"
#include "inspect/component_value.h"

namespace plx {

namespace {

// Monday 0 .. Sunday 6.
double daysSinceMonday(double day) { return floorRemainder(day + 3.0, 7.0); }

}  // namespace

std::string_view CalendarField::name() const {
  for (const OwnFacts& facts : kOwnFacts)
    if (facts.own == own) return facts.name;
  return factsOf(component).name;
}

double firstMondayOf(double isoYear) {
  const double day = ymd2days(isoYear, 1.0, 4.0);
  return day - daysSinceMonday(day);
}

// Its Thursday lies in the year that a week belongs to.
IsoWeek isoWeekOf(double day) {
  const double year = dateOf(day - daysSinceMonday(day) + 3.0).year;
  return {year, floorDivide(day - firstMondayOf(year), 7.0) + 1.0};
}

double isoWeeksIn(double isoYear) {
  return (firstMondayOf(isoYear + 1.0) - firstMondayOf(isoYear)) / 7.0;
}

double shownValue(const CalendarField& field, double day, double secondOfDay, const Zone& zone) {
  switch (field.own) {
    case Own::date:
      return day;
    case Own::isoYear:
      return isoWeekOf(day).year;
    case Own::isoWeek:
      return isoWeekOf(day).week;
    case Own::none:
    case Own::time:
      break;
  }
  return shownValue(field.component, day, secondOfDay, zone);
}

}  // namespace plx
