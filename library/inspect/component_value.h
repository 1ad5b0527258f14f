// Reading a component, by the rules that setting it uses.
//
// Setting what was read gives back the same pair of doubles, bit for bit, but for these:
//
//   quarter              setting it goes to the first month of the quarter
//   the first of two     in a zone, a wall time that comes twice is set as the second one
//   second, time of day  where no double makes these milliseconds when multiplied by 1000, such as
//                        1001 (1.001 makes 1000.9999999999999); in a zone, where its fraction is
//                        multiplied alone, most fractions but multiples of 1/8 ms or 1/8 s. The
//                        result is then off by about a double's step of the value
//   inserted seconds     second reads as 60 and time of day as 86400; setting starts from 23:59:59
//   below a millisecond  in a zone what is finer than a double of that part is rounded by 2^-53 ms
//                        at most, elsewhere what is finer than 2^-78 ms
#pragma once

#include <cstddef>
#include <string>

#include "arith/doubledouble.h"
#include "base/component.h"
#include "datetime/zone.h"
#include "inspect/calendar_field.h"

namespace plx {

// The value of a component on a clock that shows a day and a whole second of it.
double shownValue(Component component, double day, double secondOfDay, const Zone& zone);

// Appends the value of a component as a decimal. The pair is finite and, in a calendar, within its
// range. Second and time of day have their fraction: at most `digits`
// digits of it, 9 or more, or with `exact` as many as it takes to read back the same pair. Where
// rounding would reach the next second, they have more: 59.9999999999 is not 60.
void writeComponentValue(std::string& out, Component component, const doubledouble& pair,
                         const Zone& zone, std::size_t digits, bool exact);

// The same of a field; a date as 2014-05-10, a time of day as 08:30:15.25.
void writeFieldValue(std::string& out, const CalendarField& field, const doubledouble& pair,
                     const Zone& zone, std::size_t digits, bool exact);

}  // namespace plx
