// Reading a component, by the rules that setting it uses.
//
// Setting what was read gives back the same pair of doubles, bit for bit, but for these:
//
//   quarter                    setting it goes to the quarter's first month
//   the first of two equal     a calendar reads such a wall time as the second one
//   wall times
//   second, time of day        where no double times 1000 is the fraction; then what is read sets
//                              the nearest there is. In a zone that is most fractions
//   inside an inserted second  read as second 60 and time of day 86400; setting starts from 23:59:59
//   pairs that are no sums     of whole milliseconds and a fraction of 2^-52 ms steps in a zone,
//                              where the calendar drops what is finer
#pragma once

#include <cstddef>
#include <string>

#include "arith/doubledouble.h"
#include "datetime/zone.h"
#include "set/components.h"

namespace plx {

// The value of a component. The pair is finite and, in a calendar, within its range.
double readComponent(const Component& component, const doubledouble& pair, const Zone& zone);

// Appends the same as a decimal. Second and time of day have their fraction: at most `digits`
// digits of it, 9 or more, or with `exact` as many as it takes to read back the same pair. Where
// rounding would reach the next second, they have more: 59.9999999999 is not 60.
void writeComponent(std::string& out, const Component& component, const doubledouble& pair,
                    const Zone& zone, std::size_t digits, bool exact);

}  // namespace plx
