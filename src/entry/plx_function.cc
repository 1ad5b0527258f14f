// The module's entry point: one call from start to end.

#include "host/module.h"

#include <cstdint>
#include <vector>

#include "entry/arguments.h"
#include "entry/default_float_environment.h"
#include "icu/memory.h"
#include "icu/unique_ptr.h"
#include "timezone/time_zone.h"
#include "timezone/zone_key.h"
#include "unzoned/set_field_utc.h"
#include "zoned/calendar.h"
#include "zoned/set_field.h"

namespace {

paArray* createResult(const paArray* datetimes) {
  return paCreateUninitNumericArray(paGetNumberOfDimensions(datetimes), paGetDimensions(datetimes),
                                    paDOUBLE_CLASS, paCOMPLEX);
}

// The default zone can be another one at each call, and bear any name: it is asked for, and held against
// the zone that ICU makes of its name, unless it has one offset, that of the table. What is remembered saves
// the calendar and the table.
void setInLocalZone(const Arguments& in, paArray* result) {
  const boost::unique_ptr<icu::TimeZone> zone(makeTimeZone(in.timeZone, ZoneKind::local));
  const auto makeCalendar = [&] {
    return createCalendar(boost::unique_ptr<icu::TimeZone>(checkICUMemory(zone->clone())));
  };
  std::vector<std::uint16_t> units;
  if (const auto key = zoneKeyOf(*zone, units)) {
    setField(in.datetimes, in.values, in.field, result, *key, makeCalendar,
             [&](const OffsetTable* remembered) {
               return (remembered && remembered->isOneOffsetOf(*zone)) || isOfItsName(*zone);
             });
  } else {
    setField(in.datetimes, in.values, in.field, result, makeCalendar());
  }
}

}  // namespace

// Inputs: datetimes, new values, component selector, time zone. Output: the adjusted datetimes.
void plxFunction(int nlhs, paArray* plhs[], int nrhs, const paArray* prhs[]) {
  // Before the checks: comparing a selector that is NaN must not end a host that traps exceptions. This
  // function itself computes nothing: the compiler might compute before the environment is set.
  const DefaultFloatEnvironment environment;
  const Arguments in = checkArguments(nlhs, nrhs, prhs);

  // Handed over at once: from here on the result is the caller's, also when an error follows.
  plhs[0] = createResult(in.datetimes);

  const ZoneKind kind = zoneKindOf(in.timeZone);
  if (kind == ZoneKind::none || kind == ZoneKind::leapSeconds) {
    setFieldUTC(in.datetimes, in.values, in.field, plhs[0], kind == ZoneKind::leapSeconds);
    return;
  }
  if (kind == ZoneKind::local) {
    setInLocalZone(in, plhs[0]);
    return;
  }
  const auto makeCalendar = [&] {
    return createCalendar(boost::unique_ptr<icu::TimeZone>(makeTimeZone(in.timeZone, kind)));
  };
  if (const auto key = zoneKeyOf(in.timeZone)) {
    setField(in.datetimes, in.values, in.field, plhs[0], *key, makeCalendar);
  } else {
    setField(in.datetimes, in.values, in.field, plhs[0], makeCalendar());
  }
}
