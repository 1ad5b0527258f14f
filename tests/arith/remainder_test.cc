#include "arith/remainder.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>

#include "arith/rounding.h"
#include "support/bits.h"
#include "support/cases.h"
#include "support/random.h"

namespace {

using namespace vmk_scalar::detail;

TEST(Remainder, Fmod) {
  const struct {
    double x, y, expected;
    const char* why;
  } rows[] = {
      {-1, 7, -1, "smaller magnitude: x itself"},
      {2000, 400, 0, "a leap century"},
      {1900, 400, 300, "no leap century"},
      {-14, 7, -0.0, "a zero has the sign of x"},
      {-7, 7, -0.0, "equal magnitudes too"},
      {7, -7, 0.0, "whatever the sign of y"},
      {5.5, -2, 1.5, "the sign of x"},
      {-0.0, 5, -0.0, "zero comes back"},
      {5, 0, kNan, "a zero divisor"},
      {5, -0.0, kNan, "of either sign"},
      {5, kInf, kNan, "an infinite divisor, where the standard library gives x"},
      {kInf, 5, kNan, "an infinite dividend"},
      {kNan, 5, kNan, "NaN"},
      {5, kNan, kNan, "NaN"},
      {DBL_TRUE_MIN * 5, DBL_TRUE_MIN * 3, DBL_TRUE_MIN * 2, "subnormals"},
      {DBL_MIN * 1.5, DBL_TRUE_MIN * 3, 0.0, "normal by subnormal: 2^51 + 2^52 units by 3"},
  };
  for (const auto& r : rows) EXPECT_SAME_BITS(vmkFdlibm_fmod(r.x, r.y), r.expected) << r.why;
}

TEST(Remainder, Mod) {
  const struct {
    double x, y, expected;
    const char* why;
  } rows[] = {
      {-1, 7, 6, "the sign of y"},
      {1, -7, -6, "the sign of y"},
      {-7, 7, 0.0, "a zero has the sign of y"},
      {7, -7, -0.0, "a zero has the sign of y"},
      {-14, 7, 0.0, "from the long division too"},
      {14, -7, -0.0, "from the long division too"},
      {-0.0, 5, -0.0, "but a zero dividend comes back"},
      {0.0, -5, 0.0, "but a zero dividend comes back"},
      {5, 0, 5, "modulo zero changes nothing"},
      {-0.0, 0, -0.0, "modulo zero changes nothing"},
      {kInf, 0, kInf, "modulo zero changes nothing"},
      {kNan, 0, kNan, "modulo zero changes nothing"},
      {5, kInf, kNan, "an infinite divisor"},
      {-kInf, 5, kNan, "an infinite dividend"},
      {5, kNan, kNan, "NaN"},
      {-1e-20, 7, 7, "the last sum rounds up to the divisor"},
      {1e300, 7, 1, "the double 1e300, an integer of 997 bits, modulo 7"},
  };
  for (const auto& r : rows) EXPECT_SAME_BITS(vmkFdlibm_mod(r.x, r.y), r.expected) << r.why;
}

TEST(Remainder, NotANumberIsTheOneQuietNan) {
  constexpr std::uint64_t kBits = 0xFFF8000000000000;
  for (const double x : {5.0, kInf, -kInf, kNan}) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(vmkFdlibm_fmod(x, kInf)), kBits);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(vmkFdlibm_mod(x, kNan)), kBits);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(vmkFdlibm_fmod(x, 0.0)), kBits);
  }
}

// Where both are defined alike, the standard library's exact fmod is the answer.
TEST(Remainder, FmodAgreesWithTheStandardLibrary) {
  Random random(1);
  Cases cases(400000);
  const auto check = [&](double x, double y) {
    if (y == 0.0 || !std::isfinite(x) || !std::isfinite(y)) return;
    ASSERT_SAME_BITS(vmkFdlibm_fmod(x, y), std::fmod(x, y)) << x << " by " << y;
    ++cases;
  };
  for (const double x : kAwkwardDoubles) {
    for (const double y : kAwkwardDoubles) check(x, y);
  }
  for (int i = 0; i < 50000; ++i) check(random.anyBits(), random.anyBits());
  for (int i = 0; i < 400000; ++i) check(random.ofExponent(-30, 60), random.ofExponent(-40, 40));
}

// A modulo differs from the remainder by nothing or by one rounded sum.
TEST(Remainder, ModFollowsFromFmod) {
  Random random(2);
  Cases cases(300000);
  for (int i = 0; i < 300000; ++i) {
    const double x =
        random.oneIn(9) ? static_cast<double>(random.whole(-50, 50)) : random.ofExponent(-30, 60);
    const double y = random.oneIn(3) ? 7.0 : random.ofExponent(-30, 40);
    const double r = std::fmod(x, y);
    double expected;
    if (x == 0.0) {
      expected = x;
    } else if (r == 0.0) {
      expected = std::copysign(0.0, y);
    } else {
      expected = std::signbit(x) == std::signbit(y) ? r : r + y;
    }
    ASSERT_SAME_BITS(vmkFdlibm_mod(x, y), expected) << x << " by " << y;
    ++cases;
  }
}

TEST(Remainder, Reset) {
  const struct {
    double x, y;
    bool expected;
    const char* why;
  } rows[] = {
      {0.3, 0.1, true, "2.9999999999999996 is 3 but for rounding"},
      {0.35, 0.1, false, "3.5 is not whole"},
      {0.0, 0.5, true, "0 is whole"},
      {1e308, 0.1, true, "a quotient that overflows equals its rounding"},
      {kInf, 0.1, false, "infinite"},
      {0.3, kInf, false, "infinite, and whole"},
      {kNan, 0.1, false, "NaN"},
      {0.3, kNan, false, "NaN"},
      {0.3, 0.0, false, "zero is whole"},
      {0.05, 0.1, false, "a half rounds away from zero and is not near"},
      {1.0, 0.1, true, "10"},
      {-0.3, 0.1, true, "-3 but for rounding"},
      {0.5 + 0x1p-53, 0.5, true, "1 and a last place"},
      {0.5 + 0x1p-52, 0.5, false, "1 and two last places"},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(CheckResetTheComputedResultToZeroForRemMod(r.x, r.y), r.expected) << r.why;
  }
}

TEST(Remainder, WholeDivisorsNeverReset) {
  Random random(3);
  Cases cases(100000);
  for (int i = 0; i < 100000; ++i) {
    ASSERT_FALSE(CheckResetTheComputedResultToZeroForRemMod(random.anyBits(), 7.0));
    ++cases;
  }
}

TEST(Rounding, FloorAndCeiling) {
  const struct {
    double x, floor, ceil;
  } rows[] = {
      {0.0, 0.0, 0.0},
      {-0.0, -0.0, -0.0},
      {0.5, 0.0, 1.0},
      {-0.5, -1.0, -0.0},
      {DBL_TRUE_MIN, 0.0, 1.0},
      {-DBL_TRUE_MIN, -1.0, -0.0},
      {2147483647.5, 2147483647.0, 2147483648.0},
      {-2147483648.5, -2147483649.0, -2147483648.0},
      {0x1p52 - 0.5, 0x1p52 - 1, 0x1p52},
      {-0x1p52 + 0.5, -0x1p52, -0x1p52 + 1},
      {0x1p52 + 1, 0x1p52 + 1, 0x1p52 + 1},
      {kInf, kInf, kInf},
      {-kInf, -kInf, -kInf},
      {kNan, kNan, kNan},
  };
  for (const auto& r : rows) {
    EXPECT_SAME_BITS(floorDouble(r.x), r.floor) << r.x;
    EXPECT_SAME_BITS(ceilDouble(r.x), r.ceil) << r.x;
  }
}

}  // namespace
