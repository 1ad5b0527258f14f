// The calendar in integers, held against that of arith/civil.h.
#include "datetime/day_number.h"

#include <gtest/gtest.h>

#include "support/cases.h"

namespace plx {
namespace {

TEST(DayNumber, OfDates) {
  const struct {
    int year, month, day, number;
    const char* why;
  } rows[] = {
      {1970, 1, 1, 0, "the epoch"},
      {2014, 5, 10, 16200, "a day of these years"},
      {2000, 2, 29, 11016, "the leap day that closes 400 years"},
      {0, 1, 1, kFirstPlainDay, "the first of a year of four digits"},
      {0, 2, 29, kFirstPlainDay + 59, "year 0 is a leap year"},
      {9999, 12, 31, kLastPlainDay, "the last"},
      {2014, 3, 0, 16129, "day 0 is the last day of February"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(dayOfPlain(row.year, row.month, row.day), row.number) << row.why;
    EXPECT_EQ(dayOf(row.year, row.month, row.day), row.number) << row.why;
  }
}

TEST(DayNumber, AllPlainDaysAreThoseOfDoubles) {
  Cases cases(1'200'000);
  constexpr int kCycle = 146097;  // days of 400 years
  for (int day = kFirstPlainDay; day <= kLastPlainDay;) {
    const PlainDate date = plainDateOf(day);
    const ::Date expected = dateOf(day);
    ASSERT_EQ(date.year, expected.year) << day;
    ASSERT_EQ(date.month, expected.month) << day;
    ASSERT_EQ(date.day, expected.day) << day;
    ASSERT_EQ(dayOfPlain(date.year, date.month, date.day), day);
    ++cases;
    const bool isInFull = day < kFirstPlainDay + kCycle || day > kLastPlainDay - kCycle;
    day += isInFull ? 1 : 3;
  }
}

TEST(DayNumber, OtherYearsAreThoseOfDoubles) {
  Cases cases(2000);
  for (std::int64_t day : {std::int64_t{kFirstPlainDay} - 1, std::int64_t{kLastPlainDay} + 1,
                           -kFirstPlainDay * std::int64_t{-1000}, std::int64_t{1} << 52}) {
    for (int i = 0; i < 500; ++i, day -= 37) {
      const CivilDate date = civilDateOf(day);
      const ::Date expected = dateOf(static_cast<double>(day));
      ASSERT_EQ(static_cast<double>(date.year), expected.year) << day;
      ASSERT_EQ(date.month, expected.month) << day;
      ASSERT_EQ(date.day, expected.day) << day;
      ASSERT_EQ(dayOf(date.year, date.month, date.day), day);
      ++cases;
    }
  }
}

}  // namespace
}  // namespace plx
