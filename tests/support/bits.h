// Comparing doubles by their bits, where a zero's sign, a NaN or the last place matters.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <iomanip>
#include <ostream>

#include "arith/doubledouble.h"

// Equal bits; any NaN equals any other, since IEEE leaves their payloads open.
inline bool sameBits(double a, double b) {
  return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (a != a && b != b);
}

inline bool sameBits(const doubledouble& a, const doubledouble& b) {
  return sameBits(a.hi, b.hi) && sameBits(a.lo, b.lo);
}

inline std::ostream& operator<<(std::ostream& out, const doubledouble& x) {
  const auto flags = out.flags();
  out << '{' << std::hexfloat << x.hi << ", " << x.lo << std::defaultfloat << std::setprecision(17)
      << " = " << x.hi << " + " << x.lo << '}';
  out.flags(flags);
  return out;
}

template <class T>
testing::AssertionResult haveSameBits(const char* aText, const char* bText, const T& a,
                                      const T& b) {
  if (sameBits(a, b)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << std::setprecision(17) << aText << " is " << a << "\n"
                                     << bText << " is " << b;
}

#define EXPECT_SAME_BITS(a, b) EXPECT_PRED_FORMAT2(haveSameBits, a, b)
#define ASSERT_SAME_BITS(a, b) ASSERT_PRED_FORMAT2(haveSameBits, a, b)
