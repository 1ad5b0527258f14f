// Which instants may lie where a clock shows a time twice or has skipped one: a fast filter before an exact test.
//
// The hours after each change of the clock are marked in a bit set, with one bit for 2^24 milliseconds, some 5
// hours, from 1800 to 2100. All times outside of these years count as marked.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "datetime/zone.h"
#include "elements/nearest.h"

namespace plx {

class ClockChanges {
 public:
  explicit ClockChanges(const Zone& zone);

  // Whether an instant, in milliseconds since 1970, may be such a one. True for NaN, too.
  bool mayBeNear(double millis) const { return (look(bits_.data(), millis) & 1) != 0; }
  // Whether one of several instants may be.
  bool areAnyNear(const double* millis, std::size_t count) const {
    return anyMayBeNear(bits_.data(), millis, count);
  }

 private:
  static constexpr std::int64_t kFirst = -5'364'662'400'000;  // 1800-01-01
  static constexpr int kStepBits = 24;
  // The bits up to 2100-01-01; one more bit, after these, stands for all other times.
  static constexpr std::uint64_t kSteps = 564'283;

  // The lowest bit tells. Without branches, and in integers of 64 bits, so that the compiler makes vectors of it.
  static std::uint64_t look(const std::uint64_t* bits, double millis) {
    constexpr double kMost = 0x1p50;
    const auto nearest = static_cast<std::uint64_t>(nearestInteger(millis));
    const std::uint64_t step =
        std::min((nearest - static_cast<std::uint64_t>(kFirst)) >> kStepBits, kSteps);
    return bits[step / 64] >> (step % 64) | (std::fabs(millis) <= kMost ? 0 : 1);
  }
  static bool anyMayBeNear(const std::uint64_t* bits, const double* millis, std::size_t count);
  void mark(std::int64_t from, std::int64_t until);

  std::vector<std::uint64_t> bits_;
};

}  // namespace plx
