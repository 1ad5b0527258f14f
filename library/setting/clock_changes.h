// Which instants may lie where a clock shows a time twice or has skipped one: a quick look, before the slow one.
//
// Hours after a change of the clock are marked in a field of bits, one for 2^16 seconds, some 18 hours, of the
// years from 1800 to 2100. Whatever lies outside of them is looked at slowly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "datetime/zone.h"

namespace plx {

class ClockChanges {
 public:
  explicit ClockChanges(const Zone& zone);

  // In milliseconds since 1970. True for NaN, too.
  bool mayBeNear(double millis) const {
    const double place = (millis - kFirst) * (1.0 / kStep);
    if (!(place >= 0.0 && place < static_cast<double>(kSteps))) return true;
    const auto step = static_cast<std::uint32_t>(place);
    return (bits_[step / 64] >> (step % 64) & 1) != 0;
  }

 private:
  static constexpr double kFirst = -5364662400000.0;  // 1800-01-01
  static constexpr double kStep = 0x1p16 * 1000.0;
  static constexpr std::size_t kSteps = 144'450;  // to 2100-01-01

  void mark(std::int64_t from, std::int64_t until);

  std::vector<std::uint64_t> bits_;
};

}  // namespace plx
