#include "unzoned/set_field_utc.h"

#include <cstddef>

#include "base/elements_of.h"
#include "base/field_codes.h"
#include "base/raise.h"
#include "unzoned/vector_walk.h"

void setFieldUTC(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
                 paArray* result, bool leapSeconds) {
  const Elements elements = elementsOf(datetimes, values, result);
  if (unzonedVectorWalk(componentOf(field), leapSeconds, elements) < elements.count) {
    raise(component_Pelmor::catalog_datetime::key_MustBeInteger());
  }
}
