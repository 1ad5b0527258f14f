// What the vectors look up in a zone, as plain data, and the numbers that they do it with.
#pragma once

#include <cmath>
#include <cstddef>

#include "unzoned/lane_constants.h"
#include "zoned/granules.h"
#include "zoned/offset_table.h"

namespace zone_lanes {

struct ZoneLine {
  OffsetLine offsets;
  GranuleLine granules;
};

struct Zone {
  ZoneLine instants;
  ZoneLine walls;
};

// Points into both.
Zone zoneOf(const OffsetTable& table, const Granules& granules);

// Three stretches of constant offset in a row, the first one from edge 0 to edge 1. Empty as they
// begin, and where the table recurs.
struct Stretches {
  double edges[4] = {HUGE_VAL, HUGE_VAL, HUGE_VAL, HUGE_VAL};
  double offsets[3] = {};
  std::size_t index = 0;  // of the first one in the line

  bool hold(double t) const { return edges[0] <= t && t < edges[3]; }
};

// Moves to the stretch that holds t and the two behind it.
void moveTo(Stretches& stretches, const OffsetLine& line, double t);

// Whether to try a way that does not always lead somewhere: not for some times after it did not, for
// more of them the more often in a row.
class Attempts {
 public:
  bool isDue() {
    if (skips_ == 0) return true;
    --skips_;
    return false;
  }
  void note(bool succeeded) {
    penalty_ = succeeded ? 0 : penalty_ < 15 ? 2 * penalty_ + 1 : penalty_;
    skips_ = penalty_;
  }

 private:
  int skips_ = 0, penalty_ = 0;
};

// A block of datetimes that begins and ends no further apart than this can belong to a series: some
// 397 days.
inline constexpr double kCloseMillis = 0x1p35;

// How far a wall time can be from the one that it is set in and still be told by the same word: a
// day less than the margin, for the offset.
inline constexpr double kNearMillis = kGranuleMargin - kMillisPerDay;

// How far a component usually moves a datetime: within its day or week, less than a month, or
// anywhere, but seldom further than a year.
enum class Reach { week, month, any };
inline constexpr double kReachMillis[] = {8.0 * kMillisPerDay, 32.0 * kMillisPerDay,
                                          400.0 * kMillisPerDay};

inline constexpr double kLargest32Bits = 2147483647.0;
// Seconds of which the milliseconds are within 32 bits.
inline constexpr double kLargestSeconds = 2147483.0;

// Days of the week count from a Sunday so long ago that none is negative.
inline constexpr double kWeekdayBound = 0x1p20;
inline constexpr double kWeekdayStart = 7.0 * 0x1p18;
static_assert(kWeekdayBound < kWeekdayStart && kWeekdayBound + kWeekdayStart < lanes::kDayBound);

static_assert(lanes::dividesByGap(kGranuleMillis, 2.0 * kMostGranules));

}  // namespace zone_lanes
