#include "unzoned/set_field_utc.h"

#include <cstddef>

#include "base/elements_of.h"
#include "base/field_codes.h"
#include "base/raise.h"
#include "unzoned/vector_walk.h"

namespace {

Component componentOf(UCalendarDateFields field) {
  switch (static_cast<int>(field)) {
    case UCAL_EXTENDED_YEAR:
      return Component::year;
    case kQuarterField:
      return Component::quarter;
    case UCAL_MONTH:
      return Component::month;
    case UCAL_WEEK_OF_YEAR:
      return Component::weekOfYear;
    case UCAL_DATE:
      return Component::dayOfMonth;
    case UCAL_DAY_OF_YEAR:
      return Component::dayOfYear;
    case UCAL_DAY_OF_WEEK:
      return Component::dayOfWeek;
    case UCAL_HOUR_OF_DAY:
      return Component::hour;
    case UCAL_MINUTE:
      return Component::minute;
    case UCAL_SECOND:
      return Component::second;
    case UCAL_MILLISECONDS_IN_DAY:
      return Component::timeOfDay;
    default:
      return Component::none;
  }
}

}  // namespace

void setFieldUTC(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
                 paArray* result, bool leapSeconds) {
  const Elements elements = elementsOf(datetimes, values, result);
  if (vectorWalk(componentOf(field), leapSeconds, elements) < elements.count) {
    raise(component_Pelmor::catalog_datetime::key_MustBeInteger());
  }
}
