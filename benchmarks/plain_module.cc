// What the module with the plain code has in place of the vectors and of the tables of zones: the
// same entry, checks and results, to be measured beside the module.

#include "base/elements_of.h"
#include "base/field_codes.h"
#include "base/raise.h"
#include "unzoned/plain_walk.h"
#include "unzoned/set_field_utc.h"
#include "zoned/calendar_walk.h"
#include "zoned/set_field.h"

void setFieldUTC(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
                 paArray* result, bool leapSeconds) {
  const Elements elements = elementsOf(datetimes, values, result);
  if (plainWalk(componentOf(field), leapSeconds, elements) < elements.count) {
    raise(component_Pelmor::catalog_datetime::key_MustBeInteger());
  }
}

void setField(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
              paArray* result, boost::unique_ptr<icu::GregorianCalendar> calendar) {
  const Elements elements = elementsOf(datetimes, values, result);
  if (elements.count > 0) CalendarWalk(*calendar, componentOf(field), elements).setAll();
}

void setField(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
              paArray* result, const ZoneKey&, const CalendarWalk::MakeCalendar& makeCalendar,
              const std::function<bool(const OffsetTable*)>&) {
  setField(datetimes, values, field, result, makeCalendar());
}
