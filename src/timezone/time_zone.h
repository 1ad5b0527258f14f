// From the time-zone argument to a zone, or to none.
#pragma once

#include <unicode/timezone.h>

#include "host/pa_array.h"

// What the text of a character array asks for, by these decisions in this order, the names regardless
// of letter case:
//
//   empty text         none: values without a zone
//   "UTC"              none
//   "UTCLeapSeconds"   leapSeconds: none, on the leap-second scale
//   "Etc/Unknown"      raises UnknownTimeZone
//   "local"            local: the process's default zone
//   anything else      named: a zone identifier, letter case as ICU has it, or a UTC offset
enum class ZoneKind { none, leapSeconds, local, named };
ZoneKind zoneKindOf(const paArray* tz);

// The zone of such a text:
//
//   local   the process's default zone
//   named   the zone of that identifier; else the one of that UTC offset (parseISOTimeZone); else
//           raises UnknownTimeZone, which carries the text
//
// Null for other kinds. The caller owns the zone. May raise ICUError or throw std::bad_alloc, too.
icu::TimeZone* makeTimeZone(const paArray* tz, ZoneKind kind);

// Both in one, for callers that remember no zones; the entry asks for the kind first, since a zone that is
// remembered is not made again. Sets `leapSeconds` where there is no zone and leap seconds are counted.
icu::TimeZone* getTimeZone(const paArray* tz, bool& leapSeconds);
