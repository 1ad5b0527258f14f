// Setting one component of every datetime of an array in a time zone, as ICU's calendar does.
#pragma once

#include <unicode/gregocal.h>
#include <unicode/ucal.h>

#include <functional>

#include "host/pa_array.h"
#include "icu/unique_ptr.h"
#include "offsets/remembered_zones.h"
#include "zoned/calendar_walk.h"

// Writes to every element of `result` (complex, at most as many elements as `datetimes`) the
// datetime of the same index with one component set: UTC instants, in milliseconds since 1970.
// `values` holds one value for all or one for each. The result shares no memory with the inputs. The
// calendar, from createCalendar or of another making, is taken over and released.
//
// What is below a millisecond stays, but for UCAL_SECOND and UCAL_MILLISECONDS_IN_DAY, which set
// it. The time of day is given in seconds; its milliseconds wrap at 32 bits, beyond 2147483
// seconds. A datetime or value that is not finite gives the sum of the two.
//
// Elements are set in order; the first that cannot be set raises, with those before it written:
//
//   RangeError     a datetime or a result outside +-2^52 ms, or a value from which no result
//                  within that range can come
//   MustBeInteger  a fraction, or a value outside 32 bits, for any component but the second and
//                  the time of day
//   ICUError       what ICU reports
void setField(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
              paArray* result, boost::unique_ptr<icu::GregorianCalendar> calendar);

// The same in a zone that may be remembered: it is from its second call on, unless many other zones were met
// between the two. `makeCalendar` makes a calendar by createCalendar(), whose errors it raises; it is called
// where the zone is not remembered, or an element needs the calendar. `isOfKey` is given where the zone may
// differ from the one that the key names, and takes long: it tells whether the two are the same, and is asked
// before a remembered table is used, with that table, and before a zone is remembered, with null.
void setField(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
              paArray* result, const ZoneKey& key, const CalendarWalk::MakeCalendar& makeCalendar,
              const std::function<bool(const OffsetTable*)>& isOfKey = nullptr);
