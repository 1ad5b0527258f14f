// The arrays of a call as the walks take them.
#pragma once

#include <cstddef>

#include "base/elements.h"
#include "host/pa_array.h"

// Valid as long as the arrays live. The result's count of elements is the walk's.
inline Elements elementsOf(const paArray* datetimes, const paArray* values, paArray* result) {
  return {
      .high = paGetRealData(datetimes),
      .low = paIsComplex(datetimes) ? paGetImagData(datetimes) : nullptr,
      .values = paGetRealData(values),
      .step = paGetNumberOfElements(values) == 1 ? std::size_t{0} : 1,
      .resultHigh = paGetRealData(result),
      .resultLow = paGetImagData(result),
      .count = paGetNumberOfElements(result),
  };
}
