#include "arith/civil.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "support/bits.h"
#include "support/cases.h"
#include "support/integer_calendar.h"
#include "support/random.h"

// Beside the type, where the assertions look for them.
static bool operator==(const Date& a, const Date& b) {
  return sameBits(a.year, b.year) && sameBits(a.month, b.month) && sameBits(a.day, b.day);
}

static std::ostream& operator<<(std::ostream& out, const Date& d) {
  return out << std::setprecision(17) << d.year << '-' << d.month << '-' << d.day;
}

namespace {

TEST(Civil, DayNumberOfADate) {
  const struct {
    double year, month, day, days;
    const char* why;
  } rows[] = {
      {1970, 1, 1, 0, "the epoch"},
      {2000, 2, 29, 11016, "the leap day that closes a 400-year cycle"},
      {2014, 13, 1, 16436, "month 13 carries into January 2015"},
      {2015, 1, 1, 16436, "which is this day"},
      {2014, 0, 1, 16040, "month 0 is December of the year before"},
      {2013, 12, 1, 16040, "which is this day"},
      {2014, -11, 1, 15706, "month -11 is January of the year before"},
      {2014, 3, 0, 16129, "day 0 is the last day of February"},
      {2014, 2, 28, 16129, "which is this day"},
      {2014, 1, 32, 16102, "day 32 of January is 1 February"},
      {2014, 1, -1, 16069, "day -1 is the last but one of the month before"},
      {0, 1, 1, -719528, "year 0 exists"},
      {-1, 12, 31, -719529, "and follows year -1"},
      {2014, kNan, 1, kNan, "NaN"},
      {kNan, 1, 1, kNan, "NaN"},
      {2014, 1, kNan, kNan, "NaN"},
  };
  for (const auto& r : rows) EXPECT_SAME_BITS(ymd2days(r.year, r.month, r.day), r.days) << r.why;
}

TEST(Civil, DateOfADayNumber) {
  const struct {
    double days;
    Date date;
    const char* why;
  } rows[] = {
      {0, {1970, 1, 1}, "the epoch"},
      {-1, {1969, 12, 31}, "the day before"},
      {11016, {2000, 2, 29}, "the century quotient is 4 on this day alone and is capped"},
      {11017, {2000, 3, 1}, "the next day"},
      {-719468, {0, 3, 1}, "the first day of the integer path"},
      {-719469, {0, 2, 29}, "the last of the floating path: year 0 is a leap year"},
      {-719528, {0, 1, 1}, "year 0"},
      {-719529, {-1, 12, 31}, "the year before it"},
      {-719162, {1, 1, 1}, "year 1"},
      {2147483647.0 - 719468, {5879610, 9, 9}, "the last day of the integer path"},
      {2147483648.0 - 719468, {5879610, 9, 10}, "the first of the floating path"},
  };
  for (const auto& r : rows) EXPECT_EQ(dateOf(r.days), r.date) << r.why;
  const Date nan = dateOf(kNan);
  EXPECT_TRUE(std::isnan(nan.year) && std::isnan(nan.day)) << "NaN in, NaN out";
}

TEST(Civil, FractionsOfADay) {
  EXPECT_EQ(dateOf(11016.75), (Date{2000, 2, 29})) << "dropped by the integer path";
  EXPECT_EQ(dateOf(-719540.25), (Date{-1, 12, 19.75})) << "kept by the floating path";
}

TEST(Civil, EveryDayAgreesWithTheStandardCalendar) {
  using namespace std::chrono;
  Cases cases(1400000);
  // Both paths: the years before 0000-03-01 take the floating one.
  for (int n = -1000000; n <= 400000; ++n) {
    const year_month_day ymd{sys_days{days{n}}};
    const Date expected{static_cast<double>(static_cast<int>(ymd.year())),
                        static_cast<double>(static_cast<unsigned>(ymd.month())),
                        static_cast<double>(static_cast<unsigned>(ymd.day()))};
    ASSERT_EQ(dateOf(n), expected) << n;
    ASSERT_EQ(ymd2days(expected.year, expected.month, expected.day), n);
    ++cases;
  }
}

TEST(Civil, FarDatesAgreeWithIntegerArithmetic) {
  Random random(1);
  Cases cases(300000);
  for (int i = 0; i < 300000; ++i) {
    // Up to 2^52 days: every sum of ymd2days is exact there.
    const std::int64_t limit = i % 2 ? 12'000'000'000'000 : 6'000'000;
    const std::int64_t year = random.whole(-limit, limit);
    const int month = static_cast<int>(random.whole(1, 12));
    const int day = static_cast<int>(random.whole(1, integer_calendar::lengthOfMonth(year, month)));
    const double expected =
        static_cast<double>(integer_calendar::firstOfMonth(year, month) + day - 1);
    const double y = static_cast<double>(year);
    ASSERT_EQ(ymd2days(y, month, day), expected) << year << '-' << month << '-' << day;
    ASSERT_EQ(dateOf(expected), (Date{y, static_cast<double>(month), static_cast<double>(day)}));
    ASSERT_EQ(isLeapYear(y), integer_calendar::isLeap(year)) << year;
    ++cases;
  }
}

// Months and days out of range: the month carries first, then the days count on.
TEST(Civil, CarriesAgreeWithIntegerArithmetic) {
  Random random(2);
  Cases cases(200000);
  for (int i = 0; i < 200000; ++i) {
    const std::int64_t year = random.whole(-5000, 9000), month = random.whole(-40000, 40000),
                       day = random.whole(-1000000, 1000000);
    const auto expected = integer_calendar::firstOfMonth(year, month) + day - 1;
    ASSERT_EQ(
        ymd2days(static_cast<double>(year), static_cast<double>(month), static_cast<double>(day)),
        static_cast<double>(expected));
    ++cases;
  }
}

TEST(Civil, AstronomicalDayNumbersStayInTheTables) {
  Random random(3);
  Cases cases(100000);
  for (int i = 0; i < 100000; ++i) {
    const double days = std::floor(random.ofExponent(53, 1000));
    const Date d = dateOf(days);
    const double week = weekOfYear(days, d.year, d.month, d.day);  // unspecified, but safe
    ASSERT_FALSE(std::isnan(d.year));
    ASSERT_FALSE(std::isnan(week));
    ++cases;
  }
}

TEST(Clock, SecondsOfADay) {
  const struct {
    double secs, hour, minute, second;
    const char* why;
  } rows[] = {
      {0, 0, 0, 0, "midnight"},
      {-0.0, 0, 0, 0, "a negative zero too"},
      {86399, 23, 59, 59, "the last second"},
      {90000, 25, 0, 0, "the hour is not reduced"},
      {3661.5, 1, 1, 1, "a fraction is dropped"},
      {-1, -1, 59, 59, "floored below zero"},
      {-0.5, -1, 59, 59.5, "where a fraction stays"},
      {2147483647, 596523, 14, 7, "the last of the integer path"},
      {2147483648, 596523, 14, 8, "the first of the floating path"},
      {4294967296.5, 1193046, 28, 16.5, "where a fraction stays"},
  };
  for (const auto& r : rows) {
    double h, m, s;
    secs2hms(r.secs, h, m, s);
    EXPECT_SAME_BITS(h, r.hour) << r.why;
    EXPECT_SAME_BITS(m, r.minute) << r.why;
    EXPECT_SAME_BITS(s, r.second) << r.why;
  }
  double h, m, s;
  secs2hms(kNan, h, m, s);
  EXPECT_TRUE(std::isnan(h) && std::isnan(m) && std::isnan(s));
}

TEST(Clock, EverySecondOfTwoDaysAndBeforeThem) {
  Cases cases(3 * 86400);
  for (int n = -86400; n < 2 * 86400; ++n) {
    double h, m, s;
    secs2hms(n, h, m, s);
    ASSERT_EQ(h * 3600 + m * 60 + s, n);
    ASSERT_TRUE(0 <= m && m < 60 && 0 <= s && s < 60) << n;
    ++cases;
  }
}

double weekOf(double year, double month, double day) {
  return weekOfYear(ymd2days(year, month, day), year, month, day);
}

TEST(WeekOfYear, Rows) {
  const struct {
    double year, month, day, week;
    const char* why;
  } rows[] = {
      {2012, 1, 1, 1, "a Sunday begins the year and the week"},
      {2012, 1, 8, 2, "the next Sunday"},
      {2011, 1, 1, 1, "a Saturday: the week has one day of this year"},
      {2011, 1, 2, 2, "and the next day begins week 2"},
      {2012, 12, 31, 53, "never week 1 of the next year"},
      {2000, 12, 31, 54, "a leap year that begins on a Saturday ends in week 54"},
      {2000, 2, 29, 10, "a leap day"},
      {2000, 3, 1, 10, "the day after"},
      {1900, 3, 1, 9, "1900 has no leap day"},
  };
  for (const auto& r : rows) EXPECT_SAME_BITS(weekOf(r.year, r.month, r.day), r.week) << r.why;
}

// Week 1 begins with the year; every Sunday after 1 January begins another.
TEST(WeekOfYear, CountsSundays) {
  using namespace std::chrono;
  Cases cases(290000);
  double week = 0;
  for (sys_days day = sys_days{year{1600} / 1 / 1}; day < sys_days{year{2400} / 1 / 1};
       day += days{1}) {
    const year_month_day ymd{day};
    if (ymd.month() == January && ymd.day() == std::chrono::day{1}) {
      week = 1;
    } else if (weekday{day} == Sunday) {
      ++week;
    }
    const double y = static_cast<int>(ymd.year()), m = static_cast<unsigned>(ymd.month()),
                 d = static_cast<unsigned>(ymd.day());
    ASSERT_EQ(weekOfYear(static_cast<double>(day.time_since_epoch().count()), y, m, d), week)
        << y << '-' << m << '-' << d;
    ++cases;
  }
}

}  // namespace
