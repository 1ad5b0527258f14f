#include "unzoned/leap_seconds.h"

namespace {

// The leap seconds inserted at or before t, in milliseconds.
double leapMillis(const std::array<double, kLeapSeconds>& instants, const doubledouble& t) {
  const double whole = dd::collapse(dd::Floor(t));
  for (int i = kLeapSeconds - 1; i >= 0; --i) {  // recent values are the common ones
    if (whole >= instants[i]) return (i + 1) * kMillisPerSecond;
  }
  return 0.0;
}

}  // namespace

// Before the first leap second nothing is added, not even a zero: -0 stays -0, and a pair that is not
// normalised stays as it is.

doubledouble elapsedToUTC(const doubledouble& elapsed) {
  const double leap = leapMillis(leapInstantsElapsed, elapsed);
  return leap == 0.0 ? elapsed : dd::subtract(elapsed, leap);
}

doubledouble utcToElapsed(const doubledouble& utc) {
  const double leap = leapMillis(leapInstantsUTC, utc);
  return leap == 0.0 ? utc : dd::add(utc, leap);
}
