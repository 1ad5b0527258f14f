#include "setting/clock_changes.h"

#include <algorithm>
#include <cstdlib>

namespace plx {

ClockChanges::ClockChanges(const Zone& zone) : bits_(kSteps / 64 + 1) {
  constexpr auto kFirstSecond = static_cast<std::int64_t>(kFirst / 1000.0);
  constexpr auto kLastSecond = kFirstSecond + static_cast<std::int64_t>(kSteps) * 65536;
  for (int128 second = kFirstSecond; second < kLastSecond;) {
    const Stretch stretch = zone.stretchAt(second);
    if (stretch.begin) {
      const auto change = static_cast<std::int64_t>(stretch.begin->second);
      mark(change, change + std::abs(stretch.begin->after - stretch.begin->before));
    }
    if (!stretch.end) break;
    second = stretch.end->second;
  }
}

// A step more on either side, so that no rounding matters.
void ClockChanges::mark(std::int64_t from, std::int64_t until) {
  const auto stepOf = [](std::int64_t second) {
    return (second - static_cast<std::int64_t>(kFirst / 1000.0)) >> 16;
  };
  const std::int64_t last = std::min<std::int64_t>(stepOf(until) + 1, kSteps - 1);
  for (std::int64_t step = std::max<std::int64_t>(stepOf(from) - 1, 0); step <= last; ++step)
    bits_[static_cast<std::size_t>(step / 64)] |= std::uint64_t{1} << (step % 64);
}

}  // namespace plx
