// The calendar through which values in a time zone are set.
#pragma once

#include <unicode/gregocal.h>

#include "icu/unique_ptr.h"

// A calendar on the given zone, which it takes over:
//   - proleptic Gregorian over the whole range that checkICURange lets through;
//   - a wall time that a zone skips is read with the offset before the gap, so that it lands
//     after it (02:30 becomes 03:30); one that occurs twice means its second occurrence;
//   - weeks begin on Sunday, and week 1 is the one that contains 1 January, in every locale;
//   - lenient: values out of range carry.
// Raises ICUError; throws std::bad_alloc. The zone is released in either case.
boost::unique_ptr<icu::GregorianCalendar> createCalendar(boost::unique_ptr<icu::TimeZone> zone);

// Whether a calendar is what createCalendar makes, whoever made it: of that class and with all of
// the properties above. Any other calendar sets each element itself.
bool isCreatedCalendar(const icu::GregorianCalendar& calendar);
