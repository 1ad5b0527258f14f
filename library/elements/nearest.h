// The whole number nearest to a double, in forms that let the compiler vectorise loops.
#pragma once

#include <bit>
#include <cstdint>

namespace plx {

// Its sum with x, |x| <= 2^51, has no bits for a fraction, so the addition rounds x to nearest.
inline constexpr double kRounder = 0x1.8p52;

inline double nearestWhole(double x) { return (x + kRounder) - kRounder; }

// The same as an integer, by bits: not all processors have a conversion for vectors. The result is
// unspecified for NaN and beyond 2^51.
inline std::int64_t nearestInteger(double x) {
  return static_cast<std::int64_t>(std::bit_cast<std::uint64_t>(x + kRounder) -
                                   std::bit_cast<std::uint64_t>(kRounder));
}

}  // namespace plx
