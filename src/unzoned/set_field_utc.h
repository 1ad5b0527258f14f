// Setting one component of every datetime of an array by arithmetic: without a zone, in UTC, or on
// the leap-second scale.
#pragma once

#include <unicode/ucal.h>

#include "host/pa_array.h"

// Writes to every element of `result` (complex, at most as many elements as `datetimes`) the
// datetime of the same index with one component set: milliseconds since 1970, which count inserted
// leap seconds where `leapSeconds` is true. `values` holds one value for all or one for each.
//
// Values out of range carry; a datetime or value that is not finite gives the sum of the two. A
// field that cannot be set changes nothing.
//
// Elements are set in order. A value that is no whole number raises MustBeInteger, but for
// UCAL_SECOND and UCAL_MILLISECONDS_IN_DAY; the elements before it are written.
void setFieldUTC(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
                 paArray* result, bool leapSeconds);
