// Datetimes in milliseconds that vectors claim, those that they do not, and the edges in between.
#pragma once

#include "support/random.h"
#include "unzoned/leap_seconds.h"

inline double anyTime(Random& random) {
  switch (random.whole(0, 8)) {
    case 0:
      return random.anyBits();
    case 1:
      return kAwkwardDoubles[static_cast<std::size_t>(
          random.whole(0, std::int64_t{kAwkwardDoubles.size()} - 1))];
    case 2:
      return leapInstantsUTC[static_cast<std::size_t>(random.whole(0, kLeapSeconds - 1))] +
             static_cast<double>(random.whole(-30000, 30000)) / 2.0;
    case 3:
      return random.ofExponent(40, 54);
    case 4:
      return random.real(-0x1p50, 0x1p50);
    case 5:
      return static_cast<double>(random.whole(-0x1p49, 0x1p49));
    default:
      return static_cast<double>(random.whole(-0x1p42, 0x1p43));
  }
}
