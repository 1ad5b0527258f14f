// From the time-zone argument to a zone, or to none.
#pragma once

#include <unicode/timezone.h>

#include "host/pa_array.h"

// Reads a character array, by these decisions in this order, the names regardless of letter case:
//
//   empty text         null: values without a zone
//   "UTC"              null
//   "UTCLeapSeconds"   null, and leapSeconds is set: UTC on the line that counts leap seconds
//   "Etc/Unknown"      raises UnknownTimeZone
//   "local"            the process's default zone
//   a zone identifier  that zone, letter case as ICU has it
//   a UTC offset       a zone of that offset (parseISOTimeZone)
//   anything else      raises UnknownTimeZone, which carries the text
//
// The caller owns the zone. May raise ICUError or throw std::bad_alloc, too.
icu::TimeZone* getTimeZone(const paArray* tz, bool& leapSeconds);
