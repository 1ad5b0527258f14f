// Settings that depend on the old value or are resolved together: how their values are read, which of them go
// together, and the day that they lead to.
#include "setting/change.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "datetime/datetime_text.h"
#include "inspect/wall.h"
#include "setting/clock_choice.h"
#include "setting/named_field.h"
#include "setting/value.h"
#include "support/cases.h"

namespace plx {
namespace {

struct Given {
  Assignment assignment;
  std::string_view value;
};

// "month+=1", "iso-week=last".
Given given(std::string_view text) {
  const std::size_t equals = text.find('=');
  std::string_view name = text.substr(0, equals);
  Assignment assignment{Component::none};
  if (name.ends_with('+') || name.ends_with('-')) {
    assignment.change = Change::by;
    assignment.isNegated = name.ends_with('-');
    name.remove_suffix(1);
  }
  const CalendarField field = findField(name);
  assignment.component = field.component;
  assignment.own = field.own;
  return {assignment, text.substr(equals + 1)};
}

std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    words.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return words;
}

struct All {
  std::vector<Assignment> assignments;
  std::vector<double> values;
};

All all(std::string_view text) {
  All all;
  for (const std::string_view word : wordsOf(text)) {
    Given one = given(word);
    Complaint complaint;
    const auto value = readValueOf(one.assignment, one.value, 0, complaint);
    EXPECT_TRUE(value) << word << ": " << complaint.what;
    all.assignments.push_back(one.assignment);
    all.values.push_back(value.value_or(0));
  }
  return all;
}

std::string dateText(double day) {
  std::string text;
  writeDatetime(text, {}, {static_cast<int128>(day) * 86400}, "");
  return text;
}

doubledouble pairOfDate(std::string_view text) {
  Complaint complaint;
  const auto datetime = readDatetime(text, complaint);
  EXPECT_TRUE(datetime) << text;
  return {static_cast<double>(datetime->day) * kMillisPerDay, 0};
}

TEST(Change, WhatIsRead) {
  const struct {
    const char* text;
    double value;
    Change change;
  } rows[] = {
      {"month=2", 2, Change::to},
      {"month=feb", 2, Change::to},
      {"month+=2", 2, Change::by},
      {"month-=2", -2, Change::by},
      {"month+=-2", -2, Change::by},
      {"second+=0.5", 0.5, Change::by},
      {"time-of-day-=0.5", -0.5, Change::by},
      {"iso-week-=1", -1, Change::by},
      {"iso-week=53", 53, Change::to},
      {"iso-year=-4", -4, Change::to},
      {"date=1970-01-11", 10, Change::to},
      {"date=1970-W02-7", 10, Change::to},
      {"time=00:01", 60, Change::to},
      {"time=23:59:59", 86399, Change::to},
      {"time=00:00:00.25", 0.25, Change::to},
      {"minute=down:15", 15, Change::down},
      {"minute=up:60", 60, Change::up},
      {"hour=nearest:24", 24, Change::nearest},
      {"time-of-day=down:86400", 86400, Change::down},
  };
  Cases cases(19);
  for (const auto& row : rows) {
    Given one = given(row.text);
    Complaint complaint;
    const auto value = readValueOf(one.assignment, one.value, 0, complaint);
    EXPECT_EQ(value, row.value) << row.text << ": " << complaint.what;
    EXPECT_EQ(one.assignment.change, row.change) << row.text;
    ++cases;
  }
}

TEST(Change, WhatIsRefused) {
  constexpr const char* kTimes =
      "a time such as 09:30 or 09:30:15.5; seconds since midnight are time-of-day";
  constexpr const char* kStep = "a whole number from 1 to the length of the next larger unit";
  constexpr const char* kMultiples = "hour, minute, second and time-of-day, as in minute=down:15";
  constexpr const char* kDifferences =
      "whole numbers, of second and time-of-day fractions too; as in month+=1";
  constexpr const char* kDates = "a date such as 2024-02-29";
  const struct {
    const char *text, *what, *accepted;
  } rows[] = {
      {"month+=0.5", "no difference", kDifferences},
      {"hour-=one", "no difference", kDifferences},
      {"date+=1", "a date and a time have no numbers to add to", "day+=1, hour+=1 and the like"},
      {"time-=1", "a date and a time have no numbers to add to", "day+=1, hour+=1 and the like"},
      {"month=down:2", "only parts of the time of day go to multiples", kMultiples},
      {"time=down:2", "only parts of the time of day go to multiples", kMultiples},
      {"iso-week=up:2", "only parts of the time of day go to multiples", kMultiples},
      {"minute=down:0", "no multiples of this", kStep},
      {"minute=down:1.5", "no multiples of this", kStep},
      {"minute=down:61", "no multiples of this", kStep},
      {"minute=down:x", "no multiples of this", kStep},
      {"hour=up:25", "no multiples of this", kStep},
      {"date=2014-02-30", "February 2014 has 28 days", kDates},
      {"date=2014-02-10T08:30", "not a date", kDates},
      {"date=x", "not a datetime", kDates},
      {"time=9:30", "not a time of day", kTimes},
      {"time=0930", "not a time of day", kTimes},
      {"time=25:00", "not a time of day", kTimes},
      {"time=24:00", "not a time of day", kTimes},
      {"time=09:30Z", "not a time of day", kTimes},
      {"time=09:30+01:00", "not a time of day", kTimes},
      {"time=09:30[Europe/Paris]", "not a time of day", kTimes},
      {"time=23:59:60", "not a time of day", kTimes},
      {"time=09:30:", "not a time of day", kTimes},
      {"time=", "not a time of day", kTimes},
      {"iso-week=1.5", "not a whole number", "a number such as 53, last"},
      {"iso-week=x", "not a whole number", "a number such as 53, last"},
      {"iso-year=last", "not a whole number", "a year such as 2024"},
      {"hour=1.5", "not a whole number",
       "whole numbers; only second and time-of-day take fractions"},
  };
  Cases cases(29);
  for (const auto& row : rows) {
    Given one = given(row.text);
    Complaint complaint;
    EXPECT_FALSE(readValueOf(one.assignment, one.value, 0, complaint)) << row.text;
    EXPECT_EQ(complaint.what, row.what) << row.text;
    EXPECT_EQ(complaint.accepted, row.accepted) << row.text;
    ++cases;
  }
}

// From Monday on, Sunday is the seventh day; numbers count from there themselves.
TEST(Change, NamesOfDaysInWeeksThatBeginElsewhere) {
  const struct {
    const char* text;
    int firstDay;
    double value;
  } rows[] = {{"day-of-week=sun", 0, 1}, {"day-of-week=sun", 1, 7}, {"day-of-week=mon", 1, 1},
              {"day-of-week=fri", 6, 7}, {"day-of-week=2", 1, 2},   {"day-of-week=last", 1, kLast}};
  Cases cases(6);
  for (const auto& row : rows) {
    Given one = given(row.text);
    Complaint complaint;
    const auto value = readValueOf(one.assignment, one.value, row.firstDay, complaint);
    ASSERT_TRUE(value) << row.text;
    EXPECT_TRUE(*value == row.value || (isLast(*value) && isLast(row.value))) << row.text;
    ++cases;
  }
}

TEST(Change, TheDayThatSettingsLeadToTogether) {
  const struct {
    const char *from, *settings, *to, *clipped, *why;
  } rows[] = {
      {"2014-05-31", "year=2016 month=2 day=29", "2016-02-29", nullptr, "a leap day, in any order"},
      {"2014-05-31", "day=29 month=2 year=2016", "2016-02-29", nullptr, "a leap day, in any order"},
      {"2014-05-31", "year+=1 month+=1", "2015-07-01", "2015-06-30", "no 31 June"},
      {"2012-02-29", "year-=1", "2011-03-01", "2011-02-28", "no 29 February"},
      {"2014-05-31", "quarter=last", "2014-10-31", nullptr, "the fourth begins with October"},
      {"2014-05-31", "quarter=1", "2014-01-31", nullptr, "the first begins with January"},
      {"2014-05-31", "quarter+=1", "2014-08-31", nullptr, "three months"},
      {"2014-11-30", "quarter+=1", "2015-03-02", "2015-02-28", "no 30 February"},
      {"2014-05-31", "month=last", "2014-12-31", nullptr, "December"},
      {"2014-05-31", "month=14", "2015-03-03", "2015-02-28", "February of the year after"},
      {"2014-05-31", "day=last month=2", "2014-02-28", nullptr, "of the month that is set"},
      {"2014-05-31", "day=40 month=2", "2014-03-12", "2014-03-12",
       "a day that is asked for carries"},
      {"2014-05-31", "day+=1 month=2", "2014-03-04", "2014-03-01", "days are counted afterwards"},
      {"2014-05-31", "iso-year=2015 iso-week=53", "2016-01-02", nullptr, "2015 has a week 53"},
      {"2015-12-31", "iso-year=2014 iso-week=52", "2014-12-25", nullptr,
       "week 53, which is not kept, may be missing"},
      {"2015-12-31", "iso-year=2014", "2015-01-01", "2014-12-25", "2014 has no week 53"},
      {"2015-12-31", "iso-year-=1", "2015-01-01", "2014-12-25", "2014 has no week 53"},
      {"2014-05-31", "iso-week=last", "2014-12-27", nullptr, "2014 has 52 weeks"},
      {"2014-05-31", "iso-week+=1", "2014-06-07", nullptr, "seven days"},
      {"2014-05-31", "iso-week=1 day-of-week=mon", "2013-12-30", nullptr,
       "weeks begin on Sunday where nothing else is asked for"},
      {"2014-05-31", "week-of-year=1", "2014-01-04", nullptr, "the Saturday of the first week"},
      {"2014-05-31", "week-of-year+=2", "2014-06-14", nullptr, "fourteen days"},
      {"2014-05-31", "day-of-year=last", "2014-12-31", nullptr, "365 days"},
      {"2012-02-29", "year=2015 day-of-year=10", "2015-01-10", nullptr,
       "no 29 February is missed where the day of the year is set"},
      {"2014-05-31", "day-of-year-=31", "2014-04-30", nullptr, "days"},
      {"2014-05-31", "day-of-week=mon", "2014-05-26", nullptr, "of the week from 25 May on"},
      {"2014-05-31", "day-of-week=last", "2014-05-31", nullptr, "Saturday"},
      {"2014-05-31", "date=2020-02-29 month+=1", "2020-03-29", nullptr, "the date comes first"},
  };
  Cases cases(2 * 28);
  for (const auto& row : rows) {
    const All settings = all(row.settings);
    const doubledouble datetime = pairOfDate(row.from);
    const Zone zone = Zone::named("");
    for (const bool clips : {false, true}) {
      const ResolvedSetting resolved =
          togetherOf(settings.assignments, settings.values, datetime, zone, clips);
      EXPECT_EQ(resolved.setting.component, Component::dayOfMonth) << row.settings;
      const double day = wallOf(datetime, zone).day;
      const char* const expected = clips && row.clipped != nullptr ? row.clipped : row.to;
      EXPECT_EQ(dateText(day - dateOf(day).day + resolved.setting.value), expected)
          << row.settings << (clips ? ", clipped: " : ": ") << row.why;
      ++cases;
    }
  }
}

TEST(Change, ADateThatDoesNotExistIsTold) {
  const Zone zone = Zone::named("");
  const auto lost = [&](const char* from, const char* text, bool clips) {
    const All settings = all(text);
    return togetherOf(settings.assignments, settings.values, pairOfDate(from), zone, clips).setting;
  };
  const Setting june = lost("2014-05-31", "month+=1", false);
  ASSERT_TRUE(june.noSuchDate);
  EXPECT_EQ(june.noSuchDate->month, 6);
  EXPECT_EQ(june.noSuchDate->day, 31);
  EXPECT_FALSE(lost("2014-05-31", "month+=1", true).noSuchDate);
  EXPECT_FALSE(lost("2012-02-29", "year=2015 day-of-year=10", false).noSuchDate);
  const Setting week = lost("2015-12-31", "iso-year=2014", false);
  ASSERT_TRUE(week.noSuchWeek);
  EXPECT_EQ(week.noSuchWeek->year, 2014);
  EXPECT_EQ(week.noSuchWeek->week, 53);
}

TEST(Change, WhichSettingsGoTogether) {
  const struct {
    const char *a, *b;
    bool areApart;
  } rows[] = {
      {"month=1", "month=2", true},
      {"iso-week=1", "iso-week=2", true},
      {"day-of-year=1", "day=1", true},
      {"day-of-year=1", "month=1", true},
      {"day-of-year=1", "quarter=1", true},
      {"quarter=1", "month=1", true},
      {"week-of-year=1", "day=1", true},
      {"week-of-year=1", "day-of-year=1", true},
      {"week-of-year=1", "iso-week=1", true},
      {"week-of-year=1", "iso-year=2014", true},
      {"iso-week=1", "date=2014-05-10", true},
      {"date=2014-05-31", "month=2", true},
      {"date=2014-05-31", "year=2015", true},
      {"date=2014-05-31", "quarter=1", true},
      {"date=2014-05-31", "day=1", true},
      {"date=2014-05-31", "day-of-year=1", true},
      {"date=2014-05-31", "week-of-year=1", true},
      {"date=2014-05-31", "day-of-week=1", false},
      {"date=2014-05-31", "month+=1", false},
      {"iso-year=2014", "month=1", true},
      {"iso-year=2014", "year=2014", true},
      {"iso-week=1", "iso-year=2014", false},
      {"iso-week=1", "day-of-week=1", false},
      {"week-of-year=1", "day-of-week=1", false},
      {"week-of-year=1", "year=2014", false},
      {"year=2014", "month=1", false},
      {"month=1", "day=1", false},
      {"quarter=1", "day=1", false},
      {"year=2014", "day-of-year=1", false},
      {"month+=1", "day-of-year=1", false},
      {"month+=1", "month=1", false},
  };
  Cases cases(2 * 31);
  for (const auto& row : rows) {
    const Assignment a = given(row.a).assignment, b = given(row.b).assignment;
    for (const auto& both : {std::vector{a, b}, std::vector{b, a}}) {
      const auto apart = areApart(both);
      EXPECT_EQ(apart.has_value(), row.areApart) << row.a << ' ' << row.b;
      if (apart) {
        EXPECT_EQ(apart->a, both[0].field()) << row.a << ' ' << row.b;
        EXPECT_EQ(apart->b, both[1].field()) << row.a << ' ' << row.b;
      }
      ++cases;
    }
  }
}

TEST(ClockChoice, ByTheirNames) {
  EXPECT_EQ(foldNamed("later"), plxFOLD_LATER);
  EXPECT_EQ(foldNamed("earlier"), plxFOLD_EARLIER);
  EXPECT_EQ(foldNamed("same"), plxFOLD_SAME);
  EXPECT_EQ(foldNamed("error"), plxFOLD_ERROR);
  EXPECT_EQ(gapNamed("shift"), plxGAP_SHIFT);
  EXPECT_EQ(gapNamed("error"), plxGAP_ERROR);
  EXPECT_EQ(gapNamed("start"), plxGAP_START);
  EXPECT_EQ(gapNamed("end"), plxGAP_END);
  for (const char* none : {"", "Later", "shift", "first"}) EXPECT_FALSE(foldNamed(none)) << none;
  for (const char* none : {"", "Shift", "later", "ends"}) EXPECT_FALSE(gapNamed(none)) << none;
}

}  // namespace
}  // namespace plx
