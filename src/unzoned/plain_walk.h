// The plain walk over the elements of an array: one after the other, by the functions of
// components.h and leap_seconds.h. It defines what setting a component means; the vector walks are
// tested against it bit by bit and hand it what they do not claim.
#pragma once

#include <cstddef>

#include "arith/doubledouble.h"

enum class Component {
  year,
  quarter,
  month,
  weekOfYear,
  dayOfMonth,
  dayOfYear,
  dayOfWeek,
  hour,
  minute,
  second,
  timeOfDay,
  none,  // cannot be set: the datetimes stay as they are
};

// The arrays of a call. Results may not overlap the inputs.
struct Elements {
  const double* high;    // datetimes, in milliseconds since 1970
  const double* low;     // null: all zero
  const double* values;  // the new values
  std::size_t step;      // 0: one value for all; 1: one for each
  double* resultHigh;
  double* resultLow;
  std::size_t count;
};

// Writes the result of element i. False where its new value must be a whole number and is not:
// then nothing is written.
bool setElement(Component component, bool leapSeconds, const Elements& elements, std::size_t i);

// Sets elements in order. Returns the index of the first whose value must be a whole number and is
// not; the elements before it are written, and what later ones hold is open. Else, the count.
using Walk = std::size_t(Component component, bool leapSeconds, const Elements& elements);
Walk plainWalk;
