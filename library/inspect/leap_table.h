// Where the table of leap seconds ends.
#pragma once

#include <string_view>

#include "arith/doubledouble.h"
#include "unzoned/leap_seconds.h"

namespace plx {

// Whether a pair on the line UTCLeapSeconds lies at or after 2015-07-01T00:00:00Z. A leap second
// was inserted just before, which the table does not know.
inline bool pastLeapTable(const doubledouble& pair) {
  constexpr double kJuly2015 = 1435708800000.0 + kLeapSeconds * kMillisPerSecond;
  return dd::collapse(dd::Floor(pair)) >= kJuly2015;
}

inline constexpr std::string_view kPastLeapTable =
    "warning: the table of leap seconds ends with 2012-06-30T23:59:60Z: on the line "
    "UTCLeapSeconds, values from 2015-07-01 on are off by those inserted since";

}  // namespace plx
