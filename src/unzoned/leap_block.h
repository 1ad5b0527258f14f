// The look-ups of a block of elements on the line that counts leap seconds.
#pragma once

#include <cstddef>

namespace lanes {

// How many elements on the line that counts leap seconds are set together: a multiple of every
// vector, and few enough for all of their numbers to stay in the level-1 cache.
inline constexpr std::size_t kBlock = 256;

// The entries of a block, by numbers as leapNumber() gives them. Compiled once, for every processor:
// for newer ones the compiler would make gathers of these loads, which take longer.
void lookUp(const double* numbers, double* entries);

}  // namespace lanes
