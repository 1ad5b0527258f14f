// Counts of a unit of time since 1970, as datetime64 holds them, and exact instants.
//
// An instant is split at the millisecond: units of a millisecond and more are whole numbers of them
// (years and months are those of the proleptic Gregorian calendar), and what finer units leave over
// is a whole number of parts of the millisecond. So every count within 2^52 days of 1970 is exactly one
// Instant, and all arithmetic is on integers.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include "datetime/exact.h"
#include "elements/element_type.h"

namespace plx {

// NaT, "not a time": the count that stands for no instant.
inline constexpr std::int64_t kNaT = std::numeric_limits<std::int64_t>::min();

struct Instant {
  int128 millis;       // since 1970-01-01T00:00:00, floored
  std::int64_t parts;  // [0, partsPerMilli)

  friend bool operator==(const Instant&, const Instant&) = default;
};

class TimeScale {
 public:
  TimeScale(TimeUnit unit, std::int32_t multiple);

  // 1 for milliseconds and all units that are larger; 10^15 for attoseconds.
  std::int64_t partsPerMilli() const { return partsPerMilli_; }
  // How many milliseconds a count stands for; 0 for years, months and units below a millisecond.
  std::int64_t millisPerCount() const { return millisPerCount_; }

  // Nothing for an instant more than 2^52 days from 1970. The count is not kNaT.
  std::optional<Instant> instantOf(std::int64_t count) const;
  // Nothing for an instant that is no whole count, or one of more than 63 bits. The instant is
  // within 2^52 days of 1970.
  std::optional<std::int64_t> countOf(const Instant& instant) const;

 private:
  std::optional<std::int64_t> wholeCount(int128 number, int128 perCount) const;

  std::int32_t multiple_;
  std::int32_t monthsPerCount_ = 0;
  std::int64_t millisPerCount_ = 0;
  std::int64_t partsPerMilli_ = 1;
};

}  // namespace plx
