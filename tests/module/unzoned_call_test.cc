// Values without a zone, in UTC and on the leap-second scale, through the loaded module.

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/random.h"

namespace {

constexpr double kMay10 = 1399710615250.0;  // 2014-05-10T08:30:15.25

TEST(UnzonedCall, OneOfEachComponent) {
  const DatetimeModule module;
  const struct {
    Selector selector;
    double value, expected;
    const char* why;
  } rows[] = {
      {kYear, 2012, 1336638615250.0, "2012-05-10"},
      {kQuarter, 1, 1389342615250.0, "2014-01-10"},
      {kMonth, 13, 1420878615250.0, "2015-01-10"},
      {kWeekOfYear, 1, 1388824215250.0, "Saturday 2014-01-04"},
      {kDay, 0, 1398846615250.0, "2014-04-30"},
      {kDayOfYear, 60, 1393662615250.0, "2014-03-01"},
      {kDayOfWeek, 1, 1399192215250.0, "Sunday 2014-05-04"},
      {kHour, 24, 1399768215250.0, "2014-05-11T00:30:15.25"},
      {kMinute, -1, 1399708755250.0, "07:59:15.25"},
      {kSecond, 30.25, 1399710630250.0, "08:30:30.25"},
      {kTimeOfDay, 3600, 1399683600000.0, "01:00"},
  };
  for (const auto& r : rows) {
    for (const char* zone : {"", "UTC", "utc"}) {
      EXPECT_SAME_BITS(module.result({kMay10, 0.0}, r.value, r.selector, zone),
                       (doubledouble{r.expected, 0.0}))
          << r.why;
    }
  }
}

TEST(UnzonedCall, OneValueForAllOrOneForEach) {
  const DatetimeModule module;
  const std::vector<doubledouble> t{{0.0, 0.0}, {86400000.0, 1e-10}, {kMay10, 0.0}};
  const auto one = module.results(t, {7}, kMonth, "");
  const auto each = module.results(t, {7, 7, 7}, kMonth, "");
  ASSERT_EQ(one.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_SAME_BITS(one[i], each[i]);
    EXPECT_SAME_BITS(one[i], module.result(t[i], 7, kMonth)) << "elements are independent";
  }
}

TEST(UnzonedCall, RealDatetimesHaveNoLowParts) {
  const DatetimeModule module;
  const Outcome real = module.set(doubles({kMay10, -1.0}), scalar(2.0), kHour, "");
  ASSERT_EQ(real.status, 0) << real.message;
  ASSERT_TRUE(paIsComplex(real.result.get()));
  EXPECT_SAME_BITS(elements(real.result)[0], (doubledouble{kMay10 - 6 * 3600000.0, 0.0}));
  EXPECT_SAME_BITS(elements(real.result)[1], (doubledouble{-1.0 - 21 * 3600000.0, 0.0}));
}

TEST(UnzonedCall, LowPartsAreKept) {
  const DatetimeModule module;
  const doubledouble t = two_sum(kMay10, 1e-9);
  EXPECT_SAME_BITS(module.result(t, 9, kHour), two_sum(kMay10 + 3600000.0, 1e-9));
}

TEST(UnzonedCall, WhatIsNotFinite) {
  const DatetimeModule module;
  for (const Selector selector : kSelectorsOfAll) {
    for (const char* zone : {"", "UTCLeapSeconds"}) {
      const auto result = [&](doubledouble t, double v) {
        return module.result(t, v, selector, zone);
      };
      EXPECT_SAME_BITS(result({0.0, 0.0}, kNan), (doubledouble{kNan, 0.0}));
      EXPECT_SAME_BITS(result({kNan, 0.0}, 1.5), (doubledouble{kNan, 0.0})) << "no integer check";
      EXPECT_SAME_BITS(result({kInf, 0.0}, 2.0), (doubledouble{kInf, 0.0}));
      EXPECT_SAME_BITS(result({-kInf, 0.0}, 2.0), (doubledouble{-kInf, 0.0}));
      EXPECT_SAME_BITS(result({1.0, 0.0}, -kInf), (doubledouble{-kInf, 0.0}));
      EXPECT_SAME_BITS(result({kInf, 0.0}, -kInf), (doubledouble{kNan, 0.0}))
          << "opposite infinities";
      EXPECT_SAME_BITS(result({kInf, 5.0}, 1.0), (doubledouble{kInf, 0.0})) << "a low part";
    }
  }
}

TEST(UnzonedCall, NanLowPartsStayOutOfTheLowPart) {
  const DatetimeModule module;
  for (const Selector selector : kSelectorsOfAll) {
    for (const doubledouble t :
         {doubledouble{0.0, kNan}, {1e12, kInf}, {kInf, kNan}, {kNan, -kInf}}) {
      EXPECT_FALSE(std::isnan(module.result(t, 2.0, selector).lo)) << t;
    }
  }
}

TEST(UnzonedCall, WholeNumbersAreNeeded) {
  const DatetimeModule module;
  for (const Selector selector : kSelectorsOfAll) {
    const bool takesFractions = selector == kSecond || selector == kTimeOfDay;
    for (const double v : {1.5, -0.25, 1e-300, 0x1p52 - 0.5, -DBL_TRUE_MIN}) {
      underBothHosts([&] {
        const Outcome outcome = module.set(scalar(kMay10), scalar(v), selector, "");
        EXPECT_EQ(outcome.identifier, takesFractions ? "" : "Pelmor:datetime:MustBeInteger") << v;
      });
    }
    EXPECT_EQ(module.set(scalar(kMay10), scalar(-0.0), selector, "").status, 0) << "-0 is whole";
    EXPECT_EQ(module.set(scalar(kMay10), scalar(1e300), selector, "").status, 0) << "so is 1e300";
  }
}

TEST(UnzonedCall, ElementsBeforeAnErrorAreWritten) {
  const DatetimeModule module;
  const std::vector<doubledouble> t{{0.0, 0.0}, {1.0, 0.0}, {2.0, 0.0}, {3.0, 0.0}};
  underBothHosts([&] {
    const Outcome outcome = module.set(datetimes(t), doubles({3, kNan, 1.5, 4}), kMonth, "");
    EXPECT_EQ(outcome.identifier, "Pelmor:datetime:MustBeInteger");
    ASSERT_NE(outcome.result, nullptr);
    EXPECT_SAME_BITS(elements(outcome.result)[0], (doubledouble{59 * 86400000.0, 0.0}));
    EXPECT_SAME_BITS(elements(outcome.result)[1], (doubledouble{kNan, 0.0}));
  });
}

TEST(LeapSecondCall, Rows) {
  const DatetimeModule module;
  const struct {
    double t;
    Selector selector;
    double value, expected;
    const char* why;
  } rows[] = {
      {1341100824500.0, kMinute, 0, 1341097283500.0, "2012-06-30T23:59:60.5 to 23:00:59.5"},
      {1341100824500.0, kSecond, 30.5, 1341100794500.0, "to 23:59:30.5"},
      {1341100825000.0, kDay, 1, 1341100825000.0, "the midnight after the leap second stays"},
      {1341100825000.0, kDay, 0, 1341014424000.0,
       "and the midnight before is 24 seconds ahead of UTC"},
      {1341014424000.0, kDay, 31, 1341100825000.0, "31 June passes the leap second"},
      {78796799999.0, kHour, 23, 78796799999.0, "before the first leap second nothing is added"},
      {0.0, kYear, 2020, 1577836825000.0, "after the last, 25 seconds"},
      {1577836825000.0, kYear, 1970, 0.0, "and back"},
  };
  for (const auto& r : rows) {
    for (const char* zone : {"UTCLeapSeconds", "utcleapseconds", "UTCLEAPSECONDS"}) {
      EXPECT_SAME_BITS(module.result({r.t, 0.0}, r.value, r.selector, zone),
                       (doubledouble{r.expected, 0.0}))
          << r.why;
    }
  }
}

}  // namespace
