#include "setting/clock_changes.h"

#include <algorithm>
#include <cstdlib>

#include "datetime/for_processors.h"

namespace plx {

ClockChanges::ClockChanges(const Zone& zone) : bits_(kSteps / 64 + 1) {
  bits_[kSteps / 64] |= std::uint64_t{1} << (kSteps % 64);
  constexpr std::int64_t kLast = kFirst + static_cast<std::int64_t>(kSteps << kStepBits);
  for (int128 second = kFirst / 1000; second < kLast / 1000;) {
    const Stretch stretch = zone.stretchAt(second);
    if (stretch.begin) {
      const auto change = static_cast<std::int64_t>(stretch.begin->second);
      mark(change, change + std::abs(stretch.begin->after - stretch.begin->before));
    }
    if (!stretch.end) break;
    second = stretch.end->second;
  }
}

// A second more on either side: instants are rounded to whole milliseconds before they are looked up.
void ClockChanges::mark(std::int64_t from, std::int64_t until) {
  const auto stepOf = [](std::int64_t second) { return (1000 * second - kFirst) >> kStepBits; };
  const auto last = std::min(stepOf(until + 1), static_cast<std::int64_t>(kSteps) - 1);
  for (std::int64_t step = std::max<std::int64_t>(stepOf(from - 1), 0); step <= last; ++step)
    bits_[static_cast<std::size_t>(step / 64)] |= std::uint64_t{1} << (step % 64);
}

PLX_FOR_PROCESSORS bool ClockChanges::anyMayBeNear(const std::uint64_t* bits, const double* millis,
                                                   std::size_t count) {
  std::uint64_t any = 0;
  for (std::size_t i = 0; i < count; ++i) any |= look(bits, millis[i]);
  return (any & 1) != 0;
}

}  // namespace plx
