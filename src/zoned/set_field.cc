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

// From this many elements on a table pays for itself: to make one takes some 30 us in any zone, to set
// an element by the calendar 0.4 us.
constexpr std::size_t kRepaysTable = 80;

}  // namespace

void setField(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
              paArray* result, boost::unique_ptr<icu::GregorianCalendar> calendar) {
  const Elements elements = elementsOf(datetimes, values, result);
  if (elements.count == 0) return;
  const Component component = componentOf(field);
  CalendarWalk calendarWalk(*calendar, component, elements);
  // Whoever calls may give a calendar of its own making, which follows rules that the tables do not know.
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
