// UTC offsets written as text.
#pragma once

#include <unicode/timezone.h>

#include "host/pa_array.h"

// The fixed-offset zone that a character array spells, such as UTC+5, UTC+05:30, +05:30, -0800 or
// Z; null when the text, taken whole, is no offset. Which spellings are accepted follows ICU and
// the host's locale ("UTC+5.30" in Finnish). The text has at most 2147483647 units. The caller owns
// the zone. Raises ICUError.
icu::TimeZone* parseISOTimeZone(const paArray* tz);
