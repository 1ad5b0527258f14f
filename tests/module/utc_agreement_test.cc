// Arithmetic against the calendar: in a zone without offset, both paths must give the same, where
// their rules are the same.

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/integer_calendar.h"
#include "support/random.h"

namespace {

double randomValue(Random& random, Selector selector) {
  const auto pick = [&](std::int64_t low, std::int64_t high) {
    return static_cast<double>(random.whole(low, high));
  };
  switch (selector) {
    case kYear:
      return pick(-100000, 100000);
    case kQuarter:
      return pick(-300000, 300000);
    case kMonth:
      return pick(-1000000, 1000000);
    case kWeekOfYear:
      return pick(-4000000, 4000000);
    case kDay:
    case kDayOfYear:
      return pick(-30000000, 30000000);
    case kDayOfWeek:
      return pick(1, 1000000);  // below 1 the two rules differ
    case kHour:
      return pick(-400000000, 400000000);
    case kMinute:
      return pick(-2000000000, 2000000000);
    case kSecond:
      return pick(-2000000000, 2000000000) / 8.0;
    case kTimeOfDay:
      return pick(-17000000, 17000000) / 8.0;
  }
  return 0;
}

// The calendar counts the days of December in the week of the next 1 January as week 1 of that
// year.
bool weeksMayDiffer(double t) {
  const auto date = integer_calendar::dateOf(
      integer_calendar::floorDiv(static_cast<std::int64_t>(std::floor(t)), 86400000));
  return date.month == 12 && date.day >= 26;
}

TEST(UtcAgreement, ArithmeticAndCalendarGiveTheSame) {
  const DatetimeModule module;
  Random random(1);
  Cases cases(11 * 30000);
  for (const Selector selector : kSelectorsOfAll) {
    std::vector<doubledouble> t;
    std::vector<double> values;
    while (t.size() < 31000) {
      const double at =
          static_cast<double>(random.oneIn(4) ? random.whole(-1000000000000000, 1000000000000000)
                                              : random.whole(-4000000000000, 5000000000000));
      if (selector == kWeekOfYear && weeksMayDiffer(at)) continue;
      // Fractions in eighths survive both orders of summing.
      t.push_back({random.oneIn(2) ? at : at + static_cast<double>(random.whole(0, 7)) / 8.0, 0.0});
      values.push_back(randomValue(random, selector));
    }
    const auto byArithmetic = module.results(t, values, selector, "UTC");
    const auto byCalendar = module.results(t, values, selector, "Etc/UTC");
    for (std::size_t i = 0; i < t.size(); ++i, ++cases) {
      ASSERT_SAME_BITS(byArithmetic[i], byCalendar[i])
          << "selector " << selector << " of " << t[i] << " to " << values[i];
    }
  }
}

// Where the rules differ, they differ as documented.
TEST(UtcAgreement, TheTwoRulesThatDiffer) {
  const DatetimeModule module;
  const double dec31 = 1420020000000.0;  // Wednesday 2014-12-31T10:00Z
  EXPECT_SAME_BITS(module.result({dec31, 0.0}, 53, kWeekOfYear, "UTC"), (doubledouble{dec31, 0.0}));
  EXPECT_SAME_BITS(module.result({dec31, 0.0}, 1, kWeekOfYear, "Etc/UTC"),
                   (doubledouble{dec31, 0.0}));
  const double saturday = 1399714245123.0;
  EXPECT_SAME_BITS(module.result({saturday, 0.0}, 0, kDayOfWeek, "UTC"),
                   (doubledouble{saturday - 7 * 86400000.0, 0.0}));
  EXPECT_SAME_BITS(module.result({saturday, 0.0}, 0, kDayOfWeek, "Etc/UTC"),
                   (doubledouble{saturday, 0.0}));
}

}  // namespace
