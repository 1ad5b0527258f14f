#include "unzoned/leap_block.h"

#include <bit>
#include <cstdint>

#include "unzoned/lane_constants.h"

namespace lanes {

void lookUp(const double* numbers, double* entries) {
  for (std::size_t i = 0; i < kBlock; ++i) {
    const auto bits = std::bit_cast<std::uint64_t>(numbers[i]);
    entries[i] = kLeapBuckets.entries[bits % LeapBuckets::kCount];
  }
}

}  // namespace lanes
