// The module's entry point: one call from start to end.

#include "host/module.h"

#include <optional>

#include "entry/arguments.h"
#include "entry/default_float_environment.h"
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

}  // namespace

// Inputs: datetimes, new values, component selector, time zone. Output: the adjusted datetimes.
void plxFunction(int nlhs, paArray* plhs[], int nrhs, const paArray* prhs[]) {
  // Before the checks: comparing a selector that is NaN must not end a host that traps exceptions. This
  // function itself computes nothing (see the header).
  const DefaultFloatEnvironment environment;
  const Arguments in = checkArguments(nlhs, nrhs, prhs);

  // Handed over at once: from here on the result is the caller's, also when an error follows.
  plhs[0] = createResult(in.datetimes);

  const ZoneKind kind = zoneKindOf(in.timeZone);
  if (kind == ZoneKind::none || kind == ZoneKind::leapSeconds) {
    setFieldUTC(in.datetimes, in.values, in.field, plhs[0], kind == ZoneKind::leapSeconds);
    return;
  }
  const auto makeCalendar = [&] {
    return createCalendar(boost::unique_ptr<icu::TimeZone>(makeTimeZone(in.timeZone, kind)));
  };
  const auto key = kind == ZoneKind::named ? zoneKeyOf(in.timeZone) : std::nullopt;
  if (key) {
    setField(in.datetimes, in.values, in.field, plhs[0], *key, makeCalendar);
  } else {
    setField(in.datetimes, in.values, in.field, plhs[0], makeCalendar());
  }
}
