// What the vectors look up in a zone, as plain data; how far components move a datetime, which decides
// whether one look-up tells both offsets; and the back-off of fast paths that have failed.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "base/calendar_limits.h"
#include "offsets/granules.h"
#include "offsets/offset_table.h"
#include "unzoned/lane_constants.h"

namespace zone_lanes {

struct ZoneLine {
  OffsetLine offsets;
  GranuleLine granules;
};

struct Zone {
  ZoneLine instants;
  ZoneLine walls;
};

// Holds pointers into both arguments, which have to outlive it.
Zone zoneOf(const OffsetTable& table, const Granules& granules);

// Replaces granule numbers, in `words`, by the words of these granules. Compiled once, for the baseline
// processor: for newer ones the compiler would turn these loads into gathers, which take longer.
void lookUp(const GranuleLine& line, std::uint64_t* words, std::size_t count);

// Three stretches of constant offset in a row, the first one from edge 0 to edge 1. Empty at first, and
// for times from the end of the table's cycle on.
struct Stretches {
  double edges[4] = {HUGE_VAL, HUGE_VAL, HUGE_VAL, HUGE_VAL};
  double offsets[3] = {};
  std::size_t index = 0;  // of the first one in the line

  bool hold(double t) const { return edges[0] <= t && t < edges[3]; }
};

// Makes `stretches` the one that holds t and the two after it; empty from the cycle's end on, and for NaN.
void moveTo(Stretches& stretches, const OffsetLine& line, double t);

// Exponential back-off for a fast path that may fail: after two failures in a row 1 attempt is skipped,
// then 3, 7 and 15 after each further one, until it succeeds.
class Attempts {
 public:
  // Whether to try now; false uses up one of the attempts to skip.
  bool isDue() {
    if (skips_ == 0) return true;
    --skips_;
    return false;
  }
  void note(bool succeeded) {
    penalty_ = succeeded ? 0 : penalty_ < 31 ? 2 * penalty_ + 1 : penalty_;
    skips_ = penalty_ / 2;
  }

 private:
  int skips_ = 0, penalty_ = 0;
};

// The largest distance between the first and the last datetime of a block that can belong to a series:
// some 397 days.
inline constexpr double kCloseMillis = 0x1p35;

// The largest distance between a datetime and the wall time that is set at which the datetime's granule
// tells the offset of the result, too: the granule's margin, less a day for that offset.
inline constexpr double kNearMillis = kGranuleMargin - kMillisPerDay;

// How far a component moves a datetime along the clock: a week at most, 30 days, or anywhere, but
// seldom further than a year.
enum class Reach { week, month, any };

// Distance from the first and the last edge of a row of stretches at which the result is sure to lie
// between them too: beside the move itself, two offsets, to the wall time and back, of less than a day
// each.
inline constexpr double kReachMillis[] = {9.0 * kMillisPerDay, 32.0 * kMillisPerDay,
                                          400.0 * kMillisPerDay};
static_assert(30.0 * kMillisPerDay <= kNearMillis - kMillisPerDay);

// The new values that move a datetime no further than kReach: those at most kMost from kMiddle.
struct NearDay {
  static constexpr Reach kReach = Reach::month;
  static constexpr double kMiddle = 16.0, kMost = 15.0;
};
struct NearHour {
  static constexpr Reach kReach = Reach::week;
  static constexpr double kMiddle = 0.0, kMost = 6.0 * 24.0;
};
struct NearMinute {
  static constexpr Reach kReach = Reach::week;
  static constexpr double kMiddle = 0.0, kMost = 6.0 * 1440.0;
};
struct NearSecond {
  static constexpr Reach kReach = Reach::week;
  static constexpr double kMiddle = 0.0, kMost = 6.0 * 86400.0;
};

// Days of the week count from a Sunday so long ago that none is negative.
inline constexpr double kWeekdayBound = 0x1p20;
inline constexpr double kWeekdayStart = 7.0 * 0x1p18;
struct NearWeekday {
  static constexpr Reach kReach = Reach::week;
  static constexpr double kMiddle = 0.0, kMost = kWeekdayBound;
};
static_assert(kWeekdayBound < kWeekdayStart && kWeekdayBound + kWeekdayStart < lanes::kDayBound);

static_assert(lanes::dividesByGap(kGranuleMillis, 2.0 * static_cast<double>(kMostGranules)));

}  // namespace zone_lanes
