// Random numbers with a fixed seed, and the doubles that nobody would try.
#pragma once

#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  // A whole number in [low, high].
  std::int64_t whole(std::int64_t low, std::int64_t high) {
    return std::uniform_int_distribution<std::int64_t>(low, high)(engine_);
  }
  // In [low, high).
  double real(double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(engine_);
  }
  bool oneIn(int n) { return whole(1, n) == 1; }
  // Any bit pattern: NaN, infinities and subnormals among them.
  double anyBits() { return std::bit_cast<double>(engine_()); }
  // A random significand and sign, with a binary exponent in [low, high].
  double ofExponent(int low, int high) {
    const double significand = real(1.0, 2.0);
    const double x = std::ldexp(significand, static_cast<int>(whole(low, high)));
    return oneIn(2) ? x : -x;
  }

 private:
  std::mt19937_64 engine_;
};

inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// Zeros, units, powers of two with a neighbour on either side, extremes and non-finite values.
inline constexpr auto kAwkwardDoubles = std::to_array<double>({
    0.0,           -0.0,         1.0,           -1.0,
    0.5,           -0.5,         0.1,           1.5,
    7.0,           -7.0,         12.0,          13.0,
    59.0,          60.0,         1000.0,        86399999.0,
    86400000.0,    -86400000.0,  2147483647.0,  2147483648.0,
    -2147483648.0, 4294967296.0, 0x1p49,        0x1.fffffffffffffp48,
    0x1p52,        0x1p52 + 1,   -0x1p52,       0x1p53,
    0x1p53 + 2,    0x1p63,       1e300,         0x1.fffffffffffffp995,
    0x1p996,       DBL_MAX,      -DBL_MAX,      DBL_MIN,
    -DBL_MIN,      DBL_TRUE_MIN, -DBL_TRUE_MIN, 1e-20,
    -1e-20,        kInf,         -kInf,         kNan,
});
