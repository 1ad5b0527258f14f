// What the module with the plain code has in place of the vectors and of the tables of zones: the
// same entry, checks and results, to be measured beside the module.

#include "base/elements_of.h"
#include "base/field_codes.h"
#include "unzoned/vector_walk.h"
#include "zoned/calendar_walk.h"
#include "zoned/set_field.h"

std::size_t vectorWalk(Component component, bool leapSeconds, const Elements& elements) {
  return plainWalk(component, leapSeconds, elements);
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
