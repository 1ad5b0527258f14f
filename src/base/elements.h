// The arrays of a call, for those who work on plain doubles.
#pragma once

#include <cstddef>

// Results may not overlap the inputs.
struct Elements {
  const double* high;    // datetimes, in milliseconds since 1970
  const double* low;     // null: all zero
  const double* values;  // the new values
  std::size_t step;      // 0: one value for all; 1: one for each
  double* resultHigh;
  double* resultLow;
  std::size_t count;
};
