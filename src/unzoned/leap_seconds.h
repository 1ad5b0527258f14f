// The leap-second scale, which counts inserted seconds, and its conversions to and from UTC, which
// ignores them. Both count milliseconds since 1970-01-01T00:00:00.
//
// The table has the 25 leap seconds inserted from 1972 to the middle of 2012 and ends there: before the
// first the two scales agree, and from the last on they stay 25 seconds apart.
#pragma once

#include <array>

#include "arith/doubledouble.h"

inline constexpr int kLeapSeconds = 25;

// The start of the UTC day that follows each inserted second, in UTC.
inline constexpr std::array<double, kLeapSeconds> leapInstantsUTC = {
    78796800000,    // 1972-07-01
    94694400000,    // 1973-01-01
    126230400000,   // 1974-01-01
    157766400000,   // 1975-01-01
    189302400000,   // 1976-01-01
    220924800000,   // 1977-01-01
    252460800000,   // 1978-01-01
    283996800000,   // 1979-01-01
    315532800000,   // 1980-01-01
    362793600000,   // 1981-07-01
    394329600000,   // 1982-07-01
    425865600000,   // 1983-07-01
    489024000000,   // 1985-07-01
    567993600000,   // 1988-01-01
    631152000000,   // 1990-01-01
    662688000000,   // 1991-01-01
    709948800000,   // 1992-07-01
    741484800000,   // 1993-07-01
    773020800000,   // 1994-07-01
    820454400000,   // 1996-01-01
    867715200000,   // 1997-07-01
    915148800000,   // 1999-01-01
    1136073600000,  // 2006-01-01
    1230768000000,  // 2009-01-01
    1341100800000,  // 2012-07-01
};

// The first instant of each inserted second 23:59:60, on the leap-second scale: the UTC instant plus the
// seconds inserted before it.
inline constexpr std::array<double, kLeapSeconds> leapInstantsElapsed = [] {
  std::array<double, kLeapSeconds> elapsed{};
  for (int i = 0; i < kLeapSeconds; ++i) elapsed[i] = leapInstantsUTC[i] + i * kMillisPerSecond;
  return elapsed;
}();

// From the leap-second scale to UTC. A value inside an inserted second, 23:59:60.x, lands on 23:59:59.x
// of the same day: 1341100824500 gives 1341100799500.
doubledouble elapsedToUTC(const doubledouble& elapsed);

// From UTC to the leap-second scale. 1341100800000 gives 1341100825000. The result is never inside an
// inserted second.
doubledouble utcToElapsed(const doubledouble& utc);
