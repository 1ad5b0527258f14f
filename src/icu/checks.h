// The checks around everything that passes between the module and ICU.
#pragma once

#include <unicode/utypes.h>

// Raises ICUError with the context, which names the call, and ICU's name of the status. Success and
// warnings, which are negative, pass.
void checkICUStatus(UErrorCode status, const char* context);

// Raises RangeError unless |ms| <= kMaxCalendarMillis (base/calendar_limits.h); NaN and infinities
// do not pass.
void checkICURange(double ms);
