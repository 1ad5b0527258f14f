#include "zoned/set_field.h"

#include <cstddef>

#include "base/elements_of.h"
#include "base/field_codes.h"
#include "offsets/granules.h"
#include "offsets/offset_table.h"
#include "zoned/calendar.h"
#include "zoned/calendar_walk.h"
#include "zoned/vector_walk.h"

namespace {

// So many elements take the calendar longer than all zones' tables take to make: some 30 us, and
// 0.4 us for each element in the hands of the calendar.
constexpr std::size_t kRepaysTable = 80;

}  // namespace

void setField(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
              paArray* result, boost::unique_ptr<icu::GregorianCalendar> calendar) {
  const Elements elements = elementsOf(datetimes, values, result);
  if (elements.count == 0) return;
  const Component component = componentOf(field);
  CalendarWalk calendarWalk(*calendar, component, elements);
  if (elements.count >= kRepaysTable && isCreatedCalendar(*calendar)) {
    if (const auto table = OffsetTable::of(calendar->getTimeZone())) {
      const Granules granules(*table);
      zonedVectorWalk(
          {*table, zone_lanes::zoneOf(*table, granules), component, elements, calendarWalk});
      return;
    }
  }
  calendarWalk.setAll();
}
