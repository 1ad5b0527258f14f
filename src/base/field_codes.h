// The codes of the components that can be set: ICU's calendar fields, and one of our own.
#pragma once

#include <unicode/ucal.h>

// Our code for the quarter of the year. ICU to 72 has no field of this number and would write
// outside its table; from 73 on it is a field of its own. It never reaches ICU.
inline constexpr auto kQuarterField = static_cast<UCalendarDateFields>(23);

// The numbers are part of the module's interface to its host, whatever ICU is built against.
static_assert(UCAL_MONTH == 2 && UCAL_WEEK_OF_YEAR == 3 && UCAL_DATE == 5 &&
              UCAL_DAY_OF_YEAR == 6 && UCAL_DAY_OF_WEEK == 7 && UCAL_HOUR_OF_DAY == 11 &&
              UCAL_MINUTE == 12 && UCAL_SECOND == 13 && UCAL_EXTENDED_YEAR == 19 &&
              UCAL_MILLISECONDS_IN_DAY == 21);
