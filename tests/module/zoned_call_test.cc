// Values in a time zone, through the loaded module.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/random.h"

namespace {

constexpr char kNewYork[] = "America/New_York";
constexpr double kMay10 = 1399714245123.0;  // 2014-05-10T05:30:45.123-04:00

std::map<std::string, Selector> selectorsByName() {
  return {{"year", kYear},
          {"quarter", kQuarter},
          {"month", kMonth},
          {"day", kDay},
          {"week-of-year", kWeekOfYear},
          {"day-of-year", kDayOfYear},
          {"day-of-week", kDayOfWeek},
          {"hour", kHour},
          {"minute", kMinute},
          {"second", kSecond},
          {"time-of-day", kTimeOfDay}};
}

// Answers recorded from several versions of ICU's calendar.
TEST(ZonedCall, RecordedAnswers) {
  const DatetimeModule module;
  const auto selectors = selectorsByName();
  std::ifstream file(PLX_TEST_DATA "/zoned_vectors.csv");
  ASSERT_TRUE(file) << "the table is there";
  Cases cases(22);
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::string zone, t, component, value, result, remark;
    for (std::string* field : {&zone, &t, &component, &value, &result})
      std::getline(fields, *field, ',');
    std::getline(fields, remark);
    ASSERT_TRUE(selectors.contains(component)) << line;
    EXPECT_SAME_BITS(
        module.result({std::stod(t), 0.0}, std::stod(value), selectors.at(component), zone),
        (doubledouble{std::stod(result), 0.0}))
        << line;
    ++cases;
  }
}

TEST(ZonedCall, GapsAndOverlaps) {
  const DatetimeModule module;
  const struct {
    double t;
    Selector selector;
    double value, expected;
    const char* why;
  } rows[] = {
      {1394344799999.0, kMinute, 59, 1394344799999.0, "00:59:59.999 of the day of the gap"},
      {1394344800000.0, kHour, 2, 1394348400000.0, "02:00 lies in the gap: 03:00 daylight time"},
      {1394346600000.0, kHour, 2, 1394350200000.0, "02:30 too: 03:30"},
      {1394348399999.0, kHour, 1, 1394348399999.0, "the last millisecond before the gap"},
      {1394348400000.0, kHour, 3, 1394348400000.0, "the first after it"},
      {1414900800000.0, kHour, 1, 1414908000000.0, "01:00 of the overlap is the second one"},
      {1414904400000.0, kHour, 1, 1414908000000.0, "from the first 01:00 too"},
      {1414904400000.0, kMinute, 0, 1414908000000.0, "even where the value stays the same"},
      {1414904399999.0, kMinute, 59, 1414904399999.0, "00:59:59.999 stays in daylight time"},
      {1414907999999.0, kSecond, 59, 1414911599000.0, "the last second of the first hour moves"},
      {1414908000000.0, kMinute, 0, 1414908000000.0, "the second 01:00 stays"},
      {1414911600000.0, kHour, 2, 1414911600000.0, "02:00 after the overlap"},
  };
  for (const auto& r : rows) {
    EXPECT_SAME_BITS(module.result({r.t, 0.0}, r.value, r.selector, kNewYork),
                     (doubledouble{r.expected, 0.0}))
        << r.why;
  }
}

TEST(ZonedCall, ProlepticGregorian) {
  const DatetimeModule module;
  const double march1500 = -14826672000000.0;  // 1500-03-01T00:00Z
  EXPECT_SAME_BITS(module.result({march1500, 0.0}, 0, kDay, "Etc/GMT"),
                   (doubledouble{march1500 - 86400000.0, 0.0}));
  EXPECT_SAME_BITS(module.result({march1500 - 86400000.0, 0.0}, 29, kDay, "Etc/GMT"),
                   (doubledouble{march1500, 0.0}))
      << "1500-02-29 does not exist";
}

TEST(ZonedCall, BelowAMillisecond) {
  const DatetimeModule module;
  const doubledouble t = two_sum(kMay10, 0.25);
  const struct {
    Selector selector;
    double value;
    doubledouble expected;
    const char* why;
  } rows[] = {
      {kMonth, 5, {kMay10 + 0.25, 0.0}, "kept"},
      {kYear, 2014, {kMay10 + 0.25, 0.0}, "kept"},
      {kDay, 10, {kMay10 + 0.25, 0.0}, "kept"},
      {kHour, 5, {kMay10 + 0.25, 0.0}, "kept"},
      {kMinute, 30, {kMay10 + 0.25, 0.0}, "kept"},
      {kSecond, 45, {kMay10 - 123.0, 0.0}, "dropped with the milliseconds"},
      {kSecond, 2.5, {kMay10 - 123.0 - 42500.0, 0.0}, "2 seconds and 500 ms"},
      {kSecond, -0.5, {kMay10 - 123.0 - 45500.0, 0.0}, "second 0 less 500 ms"},
      {kTimeOfDay, 3600.5, {kMay10 - 123.0 - 16245000.0 + 500.0, 0.0}, "01:00:00.5"},
  };
  for (const auto& r : rows) {
    EXPECT_SAME_BITS(module.result(t, r.value, r.selector, kNewYork), r.expected) << r.why;
  }
  const doubledouble fine = two_sum(kMay10, 1e-12);
  EXPECT_SAME_BITS(module.result(fine, 5, kMonth, kNewYork), fine) << "a fraction in the low part";
  // Near 1 the fraction, which is one double, rounds to 2^-53.
  EXPECT_SAME_BITS(module.result(two_sum(kMay10, -1e-12), 5, kMonth, kNewYork),
                   (doubledouble{kMay10, -0x1.1978p-40}))
      << "a fraction just below a whole millisecond";
}

TEST(ZonedCall, WhatIsNotFinite) {
  const DatetimeModule module;
  for (const Selector selector : kSelectorsOfAll) {
    const auto result = [&](doubledouble t, double v) {
      return module.result(t, v, selector, kNewYork);
    };
    EXPECT_SAME_BITS(result({0.0, 0.0}, kNan), (doubledouble{kNan, 0.0}));
    EXPECT_SAME_BITS(result({kNan, 0.0}, 1.5), (doubledouble{kNan, 0.0}));
    EXPECT_SAME_BITS(result({kInf, 7.0}, 2.0), (doubledouble{kInf, 0.0}));
    EXPECT_SAME_BITS(result({kInf, 0.0}, -kInf), (doubledouble{kNan, 0.0}));
    EXPECT_SAME_BITS(result({1e300, 0.0}, kInf), (doubledouble{kInf, 0.0})) << "no range check";
    EXPECT_SAME_BITS(result({kNan, kNan}, 1.0), (doubledouble{kNan, 0.0}));
  }
}

TEST(ZonedCall, AnEmptyArrayIsSet) {
  const DatetimeModule module;
  const Outcome outcome = module.set(doubles({}), scalar(2.5), kMonth, kNewYork);
  EXPECT_EQ(outcome.status, 0) << "nothing is read: " << outcome.message;
  EXPECT_TRUE(paIsEmpty(outcome.result.get()));
}

TEST(ZonedCall, Errors) {
  const DatetimeModule module;
  const std::string whole = "Pelmor:datetime:MustBeInteger", range = "Pelmor:datetime:RangeError";
  const struct {
    double t;
    Selector selector;
    double value;
    std::string identifier;
    const char* why;
  } rows[] = {
      {0x1p52, kDay, 1, "", "the last instant in range"},
      {0x1p52 + 1, kDay, 1, range, "one millisecond further"},
      {-0x1p52, kDay, 31, "", "the first"},
      {-0x1p52 - 1, kDay, 31, range, "one before"},
      {0x1p52, kDay, 31, range, "a result out of range"},
      {1e300, kDay, 2.5, range, "the range comes before the whole number"},
      {0.0, kDay, 2.5, whole, "a fraction"},
      {0.0, kMinute, 2147483647.0, "", "the largest 32-bit value"},
      {0.0, kMinute, 2147483648.0, whole, "one more"},
      {0.0, kMinute, -2147483648.0, "", "the least"},
      {0.0, kMinute, -2147483649.0, whole, "one less"},
      {0.0, kHour, 2147483647.0, range, "a result of the year 246953"},
      {0.0, kDayOfWeek, -2147483648.0, "", "the least weekday"},
      {0.0, kDayOfWeek, 2147483647.0, "", "the largest"},
      {0.0, kYear, 1e6, range, "allowed, but the result is out of range"},
      {0.0, kYear, 11759222, range, "a year that would wrap to year 1"},
      {0.0, kYear, 144682, "", "within"},
      {0.0, kYear, 144683, range, "31 December of the last year is beyond"},
      {0.0, kYear, 1e10, whole, "beyond 32 bits is no whole number first"},
      {0.0, kMonth, 1700000, "", "within"},
      {0.0, kMonth, 12e6 + 1, range, "a month from which nothing in range comes"},
      {0.0, kMonth, -12e6 - 1, range, "a month from which nothing in range comes"},
      {0.0, kQuarter, 570000, "", "within"},
      {0.0, kQuarter, 4e6 + 1, range, "quarter"},
      {0.0, kWeekOfYear, 7000000, "", "within"},
      {0.0, kWeekOfYear, 1e8 + 1, range, "week"},
      {0.0, kDay, 52000000, "", "within"},
      {0.0, kDay, 5e8 + 1, range, "day"},
      {0.0, kDayOfYear, 5e8 + 1, range, "day of year"},
      {0.0, kDayOfYear, -5e8 - 1, range, "day of year"},
      {0.0, kSecond, 1e300, "", "what is beyond 32 bits is added after the check"},
      {0.0, kTimeOfDay, -1e300, "", "so it is here"},
  };
  for (const auto& r : rows) {
    underBothHosts([&] {
      const Outcome outcome = module.set(scalar(r.t), scalar(r.value), r.selector, kNewYork);
      EXPECT_EQ(outcome.identifier, r.identifier)
          << r.why << ", " << r.selector << ": " << outcome.message;
    });
  }
}

// Beyond 32 bits the whole seconds saturate and the rest is added as milliseconds: nothing is lost.
TEST(ZonedCall, SecondsBeyond32Bits) {
  const DatetimeModule module;
  EXPECT_SAME_BITS(module.result({0.0, 0.0}, 4e9, kSecond, "Etc/UTC"), (doubledouble{4e12, 0.0}));
  EXPECT_SAME_BITS(module.result({0.0, 0.0}, -4e9, kSecond, "Etc/UTC"), (doubledouble{-4e12, 0.0}));
}

// The milliseconds of the day are formed in 32 bits: 2147484 seconds wrap.
TEST(ZonedCall, TimesOfDayWrap) {
  const DatetimeModule module;
  EXPECT_SAME_BITS(module.result({0.0, 0.0}, 2147483, kTimeOfDay, "Etc/UTC"),
                   (doubledouble{2147483000.0, 0.0}));
  EXPECT_SAME_BITS(module.result({0.0, 0.0}, 2147484, kTimeOfDay, "Etc/UTC"),
                   (doubledouble{2147484000.0 - 4294967296.0, 0.0}));
}

TEST(ZonedCall, ElementsBeforeAnErrorAreWritten) {
  const DatetimeModule module;
  const std::vector<doubledouble> t{{kMay10, 0.0}, {kMay10, 0.0}, {1e300, 0.0}, {kMay10, 0.0}};
  underBothHosts([&] {
    const Outcome outcome = module.set(datetimes(t), doubles({13, kNan, 1, 2}), kMonth, kNewYork);
    EXPECT_EQ(outcome.identifier, "Pelmor:datetime:RangeError");
    ASSERT_NE(outcome.result, nullptr);
    EXPECT_SAME_BITS(elements(outcome.result)[0], (doubledouble{1420885845123.0, 0.0}));
    EXPECT_SAME_BITS(elements(outcome.result)[1], (doubledouble{kNan, 0.0}));
  });
}

TEST(ZonedCall, QuartersMoveAsMonthsDo) {
  const DatetimeModule module;
  Random random(1);
  Cases cases(2000);
  std::vector<doubledouble> t;
  std::vector<double> quarters, months;
  for (int i = 0; i < 2000; ++i) {
    t.push_back({static_cast<double>(random.whole(-4000000000000, 4000000000000)), 0.0});
    quarters.push_back(static_cast<double>(random.whole(-3000, 3000)));
    months.push_back(3 * (quarters.back() - 1) + 1);
  }
  const auto byQuarter = module.results(t, quarters, kQuarter, kNewYork);
  const auto byMonth = module.results(t, months, kMonth, kNewYork);
  for (std::size_t i = 0; i < t.size(); ++i, ++cases) ASSERT_SAME_BITS(byQuarter[i], byMonth[i]);
}

}  // namespace
