#include "zoned/set_field.h"

#include <unicode/simpletz.h>

#include <cstddef>
#include <new>
#include <optional>
#include <utility>

#include "base/elements_of.h"
#include "base/field_codes.h"
#include "icu/locale.h"
#include "icu/memory.h"
#include "offsets/zone_offsets.h"
#include "zoned/calendar.h"
#include "zoned/vector_walk.h"

namespace {

// From this many elements on a table pays for itself: to make one takes some 30 us in any zone, to set
// an element by the calendar 0.4 us.
constexpr std::size_t kRepaysTable = 80;

void setByOffsets(const ZoneOffsets& offsets, Component component, const Elements& elements,
                  CalendarWalk& calendar) {
  zonedVectorWalk({offsets.table, zone_lanes::zoneOf(offsets.table, offsets.granules), component,
                   elements, calendar});
}

// Nothing where there is no memory for a table: the calendar needs none.
std::optional<OffsetTable> tableOf(const icu::TimeZone& zone) {
  try {
    return OffsetTable::of(zone);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

// Whether the zone's name may be an offset, which locales spell differently; identifiers they all spell alike.
bool isReadByLocale(const icu::TimeZone& zone) {
  return dynamic_cast<const icu::SimpleTimeZone*>(&zone) != nullptr;
}

// Remembers a zone. Empty where that is not possible, for lack of memory or of the locale's data.
RememberedZones::InUse remember(const ZoneKey& key, const icu::TimeZone& zone) {
  try {
    if (isReadByLocale(zone) && !hasOwnData(key.locale)) return {};
    auto table = OffsetTable::of(zone);
    if (!table) {
      // ICU may only have lacked memory for the zone's rules. A zone object never reads its rules a second
      // time, but its copy does: what the copy shows is remembered.
      const boost::unique_ptr<icu::TimeZone> copy(checkICUMemory(zone.clone()));
      table = OffsetTable::of(*copy);
    }
    return rememberedZones().remember(key, std::move(table));
  } catch (const std::bad_alloc&) {
    return {};
  }
}

}  // namespace

void setField(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
              paArray* result, boost::unique_ptr<icu::GregorianCalendar> calendar) {
  const Elements elements = elementsOf(datetimes, values, result);
  if (elements.count == 0) return;
  const Component component = componentOf(field);
  CalendarWalk calendarWalk(*calendar, component, elements);
  // A calendar of the caller's own making may follow rules that the tables do not know.
  if (elements.count >= kRepaysTable && isCreatedCalendar(*calendar)) {
    if (auto table = tableOf(calendar->getTimeZone())) {
      setByOffsets(ZoneOffsets(std::move(*table)), component, elements, calendarWalk);
      return;
    }
  }
  calendarWalk.setAll();
}

void setField(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
              paArray* result, const ZoneKey& key, const CalendarWalk::MakeCalendar& makeCalendar,
              const std::function<bool(const OffsetTable*)>& isOfKey) {
  const Elements elements = elementsOf(datetimes, values, result);
  const Component component = componentOf(field);
  const auto found = rememberedZones().find(key);
  if (found.offsets() && (!isOfKey || isOfKey(&found.offsets()->table))) {
    if (elements.count == 0) return;
    CalendarWalk calendarWalk(makeCalendar, component, elements);
    setByOffsets(*found.offsets(), component, elements, calendarWalk);
    return;
  }
  auto calendar = makeCalendar();
  if (elements.count == 0) return;
  // In a first call not even a table that it makes for many elements is kept: memory that nobody has used
  // yet would take a third of such a call.
  if (!found && rememberedZones().meet(key) && (!isOfKey || isOfKey(nullptr))) {
    const auto zone = remember(key, calendar->getTimeZone());
    CalendarWalk calendarWalk(*calendar, component, elements);
    if (zone.offsets()) return setByOffsets(*zone.offsets(), component, elements, calendarWalk);
    if (zone) return calendarWalk.setAll();
  }
  setField(datetimes, values, field, result, boost::move(calendar));
}
