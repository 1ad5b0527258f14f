#include "zones/yearly_rule.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/cases.h"

namespace {

using zones::dayNumber;
using zones::readYearlyRule;
using zones::yearOfDay;

constexpr std::int64_t kDay = 86400, kHour = 3600;

TEST(DayNumber, FollowsTheCalendar) {
  EXPECT_EQ(dayNumber(1970, 1, 1), 0);
  EXPECT_EQ(dayNumber(2000, 2, 29), 11016);
  EXPECT_EQ(dayNumber(1600, 12, 31) + 1, dayNumber(1601, 1, 1));
  Cases cases(12 * 1000);
  for (std::int64_t year = 1500; year < 2500; ++year) {
    for (int month = 1; month <= 12; ++month) {
      const std::int64_t first = dayNumber(year, month, 1),
                         next = first + zones::daysOfMonth(year, month);
      EXPECT_EQ(next, month == 12 ? dayNumber(year + 1, 1, 1) : dayNumber(year, month + 1, 1))
          << year << ' ' << month;
      EXPECT_EQ(yearOfDay(first), year);
      EXPECT_EQ(yearOfDay(next - 1), year);
      ++cases;
    }
  }
}

// Changes from the beginning of 2023 to the end of 2025.
std::vector<std::pair<std::int64_t, int>> stepsOf(const zones::YearlyRule& rule) {
  std::vector<std::pair<std::int64_t, int>> all;
  std::int64_t from = dayNumber(2023, 1, 1) * kDay;
  while (const auto step = rule.nextOffsetChange(from)) {
    if (step->second >= dayNumber(2026, 1, 1) * kDay) break;
    EXPECT_NE(rule.offsetAt(step->second - 1), step->offset);
    EXPECT_EQ(rule.offsetAt(step->second), step->offset);
    all.emplace_back(step->second, step->offset);
    from = step->second + 1;
  }
  return all;
}

std::int64_t at(int year, int month, int day, std::int64_t second) {
  return dayNumber(year, month, day) * kDay + second;
}

TEST(YearlyRule, ChangesTheClocks) {
  const struct {
    const char* text;
    std::vector<std::pair<std::int64_t, int>> steps;  // in UTC
    const char* why;
  } rows[] = {
      {"CET-1CEST,M3.5.0,M10.5.0/3",
       {{at(2023, 3, 26, kHour), 7200},
        {at(2023, 10, 29, kHour), 3600},
        {at(2024, 3, 31, kHour), 7200},
        {at(2024, 10, 27, kHour), 3600},
        {at(2025, 3, 30, kHour), 7200},
        {at(2025, 10, 26, kHour), 3600}},
       "last Sundays"},
      {"IST-1GMT0,M10.5.0,M3.5.0/1",
       {{at(2023, 3, 26, kHour), 3600},
        {at(2023, 10, 29, kHour), 0},
        {at(2024, 3, 31, kHour), 3600},
        {at(2024, 10, 27, kHour), 0},
        {at(2025, 3, 30, kHour), 3600},
        {at(2025, 10, 26, kHour), 0}},
       "winter saves an hour less"},
      {"<-02>2<-01>,M3.5.0/-1,M10.5.0/0",
       {{at(2023, 3, 26, kHour), -3600},
        {at(2023, 10, 29, kHour), -7200},
        {at(2024, 3, 31, kHour), -3600},
        {at(2024, 10, 27, kHour), -7200},
        {at(2025, 3, 30, kHour), -3600},
        {at(2025, 10, 26, kHour), -7200}},
       "an hour before the day"},
      {"EET-2EEST,M3.4.4/50,M10.4.4/50",
       {{at(2023, 3, 25, 0), 10800},
        {at(2023, 10, 28, -kHour), 7200},
        {at(2024, 3, 30, 0), 10800},
        {at(2024, 10, 26, -kHour), 7200},
        {at(2025, 3, 29, 0), 10800},
        {at(2025, 10, 25, -kHour), 7200}},
       "the Saturday after the fourth Thursday, 02:00"},
      {"AAA3BBB,J60/0,59/0",
       {{at(2023, 3, 1, 2 * kHour), -10800},
        {at(2023, 3, 1, 3 * kHour), -7200},
        {at(2024, 2, 29, 2 * kHour), -10800},
        {at(2024, 3, 1, 3 * kHour), -7200},
        {at(2025, 3, 1, 2 * kHour), -10800},
        {at(2025, 3, 1, 3 * kHour), -7200}},
       "J60 is 1 March in every year, 59 is 29 February in leap years"},
      {"XXX3EDT4,0/0,J365/23", {}, "saving ends as it begins anew"},
      {"<+03>-3", {}, "no saving"},
      {"AAA3BBB3,M3.5.0,M10.5.0", {}, "saving of nothing"},
  };
  Cases cases(8);
  for (const auto& row : rows) {
    const auto rule = readYearlyRule(row.text);
    ASSERT_TRUE(rule) << row.text;
    EXPECT_EQ(stepsOf(*rule), row.steps) << row.text << ": " << row.why;
    ++cases;
  }
  EXPECT_EQ(readYearlyRule("XXX3EDT4,0/0,J365/23")->offsetAt(0), -4 * kHour);
  EXPECT_EQ(readYearlyRule("<-0330>3:30:15")->standard, -12615);
}

TEST(YearlyRule, OtherTextsAreNone) {
  const char* const texts[] = {"",
                               "C",
                               "CE-1",
                               "CET",
                               "CET-",
                               "CET-25",
                               "CET-1:60",
                               "<CET-1",
                               "<C>-1",
                               "CET-1CEST",
                               "CET-1CEST,",
                               "CET-1CEST,M3.5.0",
                               "CET-1CEST,M3.5.0,M10.5.0/3,",
                               "CET-1CEST,M0.5.0,M10.5.0",
                               "CET-1CEST,M13.5.0,M10.5.0",
                               "CET-1CEST,M3.0.0,M10.5.0",
                               "CET-1CEST,M3.6.0,M10.5.0",
                               "CET-1CEST,M3.5.7,M10.5.0",
                               "CET-1CEST,M3.5.0/168,M10.5.0",
                               "CET-1CEST,J0,J365",
                               "CET-1CEST,J1,J366",
                               "CET-1CEST,0,366",
                               "CET-1 CEST,0,365"};
  Cases cases(23);
  for (const char* text : texts) {
    EXPECT_FALSE(readYearlyRule(text)) << text;
    ++cases;
  }
}

}  // namespace
