// The look-ups of a block of elements on the leap-second scale.
#pragma once

#include <cstddef>

namespace lanes {

// Elements per block on the leap-second scale: a multiple of the lanes of every set, and few enough for
// all of the block's arrays to stay in the level-1 cache.
inline constexpr std::size_t kBlock = 256;

// The table's entries for a block, by bucket numbers as leapNumber() gives them. Compiled once, for the
// baseline processor: for newer ones the compiler would turn these loads into gathers, which take longer.
void lookUp(const double* numbers, double* entries);

}  // namespace lanes
