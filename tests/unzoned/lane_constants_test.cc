// What the compiler computes for the vectors, computed once more while running and by other means.

#include "unzoned/lane_constants.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>

#include "support/bits.h"
#include "support/cases.h"
#include "support/random.h"

namespace {

using namespace lanes;

// A fused multiply-add rounds once: its sign is that of the exact difference.
TEST(LaneConstants, ReciprocalsLieOnEitherSide) {
  Cases cases(100000);
  for (std::int64_t divisor = 1; divisor <= 100000; ++divisor) {
    const auto d = static_cast<double>(divisor);
    const double above = reciprocalAbove(divisor), below = reciprocalBelow(divisor);
    ASSERT_GE(std::fma(above, d, -1.0), 0.0) << divisor;
    ASSERT_LE(std::fma(below, d, -1.0), 0.0) << divisor;
    const bool isExact = (divisor & (divisor - 1)) == 0;
    ASSERT_EQ(above, isExact ? below : std::nextafter(below, 1.0)) << divisor;
    ASSERT_SAME_BITS(excess(above, divisor), std::fma(above, d, -1.0)) << divisor;
    ASSERT_SAME_BITS(excess(below, divisor), std::fma(below, d, -1.0)) << divisor;
    ++cases;
  }
}

// Of a factor that is said to serve, every quotient is right. One that is off by a part in `largest` leads to a
// wrong one, and is refused, as are all that are wrong by more.
TEST(LaneConstants, FactorsServeOrAreRefused) {
  constexpr std::int64_t kLargest = 20000;
  Cases cases(4000000);
  for (const std::int64_t divisor : {3, 7, 12, 60, 100, 153, 1461}) {
    const double exact = 1.0 / static_cast<double>(divisor);
    for (int places = 5; places <= 50; ++places) {
      const double above = exact * (1.0 + std::exp2(-places));
      const double below = exact * (1.0 - std::exp2(-places));
      const bool floorServes = divides(above, divisor, kLargest);
      const bool ceilServes = divides(below, divisor, kLargest);
      EXPECT_EQ(floorServes, places >= 15) << divisor << ", off by 2^-" << places;
      EXPECT_EQ(ceilServes, places >= 15) << divisor << ", off by -2^-" << places;
      for (std::int64_t x = 0; x <= kLargest && (floorServes || ceilServes); ++x) {
        const auto quotient = static_cast<double>(x / divisor);
        const double rounded = x % divisor == 0 ? quotient : quotient + 1.0;
        if (floorServes) {
          ASSERT_EQ(std::floor(static_cast<double>(x) * above), quotient) << x << '/' << divisor;
        }
        if (ceilServes) {
          ASSERT_EQ(std::ceil(static_cast<double>(x) * below), rounded) << x << '/' << divisor;
        }
        ++cases;
      }
    }
    EXPECT_FALSE(divides(exact * 1.5, divisor, kLargest));
    EXPECT_FALSE(divides(exact * 0.5, divisor, kLargest));
  }
}

TEST(LaneConstants, GapsAreWideEnoughUpToABound) {
  for (const double divisor : {12.0, 153.0, 1461.0, 86400000.0}) {
    const double bound = 0x1p51 * halfGap(divisor);  // what four roundings of 2^-53 of it make up
    EXPECT_EQ(halfGap(divisor) * 2.0 * divisor, 1.0);
    EXPECT_TRUE(dividesByGap(divisor, bound * (1.0 - 0x1p-40))) << divisor;
    EXPECT_FALSE(dividesByGap(divisor, bound * (1.0 + 0x1p-40))) << divisor;
  }
}

// The largest numbers lie beyond those of the domains, and within what stays exact.
TEST(LaneConstants, LargestNumbers) {
  EXPECT_GE(kLargestMillis, kDaysFromJanuary * 86400000.0 + kWholeBound + 86399999.0)
      << "a wall time";
  EXPECT_LT(kLargestMillis, 0x1p53);
  EXPECT_GT(kLargestClock, kWholeBound);
  EXPECT_GT(kLargestDay, kDaysFromJanuary + kPairBound / 86400000.0);
  EXPECT_GT(kLargestYear, kLargestDay / 365.2425);
}

// Of each bucket of 300 days the first leap second that does not lie before it.
TEST(LaneConstants, BucketsOfLeapSeconds) {
  Cases cases(LeapBuckets::kCount);
  EXPECT_TRUE(haveBucketsOfTheirOwn());
  EXPECT_TRUE(areDays());
  LeapBuckets (*volatile whileRunning)() = leapBuckets;  // the compiler would compute it again
  const LeapBuckets buckets = whileRunning();
  for (int i = 0; i < LeapBuckets::kCount; ++i) {
    const double begin = (i - 0.5) * 300.0 * 86400000.0;
    int first = 0;
    while (first < kLeapSeconds - 1 && leapInstantsUTC[first] < begin) ++first;
    EXPECT_EQ(leapBucketOf(begin + 1.0), i);
    EXPECT_EQ(buckets.days[i] * 86400000.0, leapInstantsUTC[first]) << i;
    EXPECT_EQ(buckets.before[i], first) << i;
    EXPECT_EQ(buckets.entries[i], leapInstantsUTC[first] + first / 32.0) << i;
    EXPECT_EQ(kLeapBuckets.days[i], buckets.days[i]) << i;
    EXPECT_EQ(kLeapBuckets.before[i], buckets.before[i]) << i;
    EXPECT_EQ(kLeapBuckets.entries[i], buckets.entries[i]) << i;
    ++cases;
  }
}

}  // namespace
