#include "unzoned/leap_seconds.h"

#include <gtest/gtest.h>

#include <chrono>

#include "support/bits.h"
#include "support/cases.h"
#include "support/quad.h"
#include "support/random.h"

namespace {

TEST(LeapSeconds, TableAgreesWithTheDates) {
  const struct {
    int year;
    unsigned month;
  } dates[] = {
      {1972, 7}, {1973, 1}, {1974, 1}, {1975, 1}, {1976, 1}, {1977, 1}, {1978, 1},
      {1979, 1}, {1980, 1}, {1981, 7}, {1982, 7}, {1983, 7}, {1985, 7}, {1988, 1},
      {1990, 1}, {1991, 1}, {1992, 7}, {1993, 7}, {1994, 7}, {1996, 1}, {1997, 7},
      {1999, 1}, {2006, 1}, {2009, 1}, {2012, 7},
  };
  ASSERT_EQ(std::size(dates), static_cast<std::size_t>(kLeapSeconds));
  for (int i = 0; i < kLeapSeconds; ++i) {
    using namespace std::chrono;
    const sys_days day{year{dates[i].year} / month{dates[i].month} / 1};
    const double millis = static_cast<double>(day.time_since_epoch().count()) * 86400000.0;
    EXPECT_EQ(leapInstantsUTC[static_cast<std::size_t>(i)], millis) << i;
    EXPECT_EQ(leapInstantsElapsed[static_cast<std::size_t>(i)], millis + i * 1000.0) << i;
  }
  EXPECT_EQ(leapInstantsElapsed.front(), 78796800000.0);
  EXPECT_EQ(leapInstantsElapsed.back(), 1341100824000.0);
}

TEST(LeapSeconds, Rows) {
  const struct {
    doubledouble elapsed, utc;
    const char* why;
  } rows[] = {
      {{0.0, 0.0}, {0.0, 0.0}, "before the first"},
      {{78796799999.0, 0.0}, {78796799999.0, 0.0}, "the last millisecond before the first"},
      {{78796800000.0, -1e-9}, {78796800000.0, -1e-9}, "and the last moment"},
      {{78796801000.0, 0.0}, {78796800000.0, 0.0}, "the midnight after the first"},
      {{1341100825000.0, 0.0}, {1341100800000.0, 0.0}, "the midnight after the last"},
      {{1341100823999.0, 0.0},
       {1341100799999.0, 0.0},
       "the millisecond before the last: 23:59:59.999"},
      {{4e12, 0x1p-20}, {4e12 - 25000.0, 0x1p-20}, "the low part stays"},
      {{-1e15, 0.0625}, {-1e15, 0.0625}, "long before"},
  };
  for (const auto& r : rows) {
    EXPECT_SAME_BITS(elapsedToUTC(r.elapsed), r.utc) << r.why;
    EXPECT_SAME_BITS(utcToElapsed(r.utc), r.elapsed) << r.why;
  }
}

TEST(LeapSeconds, InsideAnInsertedSecond) {
  const struct {
    doubledouble elapsed, utc;
    const char* why;
  } rows[] = {
      {{1341100824000.0, 0.0}, {1341100799000.0, 0.0}, "23:59:60 is read as 23:59:59"},
      {{1341100824500.0, 0.0}, {1341100799500.0, 0.0}, "23:59:60.5 as 23:59:59.5"},
      {{1341100825000.0, -0x1p-20}, {1341100800000.0, -0x1p-20}, "its last moment"},
      {{78796800000.0, 0.0}, {78796799000.0, 0.0}, "the first inserted second"},
  };
  for (const auto& r : rows) EXPECT_SAME_BITS(elapsedToUTC(r.elapsed), r.utc) << r.why;
}

TEST(LeapSeconds, NotANumberPassesThrough) {
  EXPECT_TRUE(std::isnan(elapsedToUTC({kNan, 0.0}).hi));
  EXPECT_SAME_BITS(elapsedToUTC({-kInf, 0.0}), (doubledouble{-kInf, 0.0}));
  EXPECT_SAME_BITS(utcToElapsed({-0.0, 0.0}), (doubledouble{-0.0, 0.0}));
}

// How many inserted seconds are over at a moment of the UTC line, and have begun at one of the
// other.
TEST(LeapSeconds, AgreesWithCounting) {
  Random random(1);
  Cases cases(200000);
  for (int i = 0; i < 200000; ++i) {
    double hi =
        random.oneIn(2)
            ? leapInstantsElapsed[static_cast<std::size_t>(random.whole(0, kLeapSeconds - 1))] +
                  static_cast<double>(random.whole(-1500, 1500))
            : random.real(-1e12, 3e12);
    const doubledouble t = quick_two_sum(hi, random.oneIn(2) ? 0.0 : random.real(-1e-5, 1e-5));
    // 113 bits hold these pairs exactly.
    const auto exactly = [](const doubledouble& x) { return static_cast<quad>(x.hi) + x.lo; };
    int begun = 0, over = 0;
    for (std::size_t k = 0; k < kLeapSeconds; ++k) {
      begun += exactly(t) >= leapInstantsElapsed[k];
      over += exactly(t) >= leapInstantsUTC[k];
    }
    ASSERT_TRUE(exactly(elapsedToUTC(t)) == exactly(t) - begun * 1000) << t;
    ASSERT_TRUE(exactly(utcToElapsed(t)) == exactly(t) + over * 1000) << t;
    ++cases;
  }
}

}  // namespace
