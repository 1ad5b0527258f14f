// Values written as words.
#include "inspect/named.h"

#include <gtest/gtest.h>

#include <string>

#include "datetime/datetime_text.h"
#include "host/embed.h"
#include "inspect/component_value.h"
#include "inspect/wall.h"
#include "module/components.h"
#include "module/module.h"
#include "support/cases.h"
#include "support/random.h"

namespace plx {
namespace {

TEST(Named, WeekdaysMonthsAndQuarters) {
  const struct {
    const char *component, *text;
    double number;
  } rows[] = {
      {"day-of-week", "sun", 1},
      {"day-of-week", "Monday", 2},
      {"day-of-week", "TUE", 3},
      {"day-of-week", "wEdNesDay", 4},
      {"day-of-week", "thu", 5},
      {"day-of-week", "fri", 6},
      {"day-of-week", "saturday", 7},
      {"month", "jan", 1},
      {"month", "February", 2},
      {"month", "MAY", 5},
      {"month", "sep", 9},
      {"month", "december", 12},
      {"quarter", "q1", 1},
      {"quarter", "Q4", 4},
  };
  for (const auto& r : rows) {
    const auto value = named(findComponent(r.component), r.text);
    ASSERT_TRUE(value) << r.text;
    EXPECT_FALSE(value->isLast) << r.text;
    EXPECT_EQ(value->number, r.number) << r.text;
  }
}

TEST(Named, NothingElse) {
  const struct {
    const char *component, *text;
  } rows[] = {
      {"day-of-week", ""},    {"day-of-week", "mo"},   {"day-of-week", "mond"},
      {"day-of-week", "jan"}, {"month", "mon"},        {"month", "sept"},
      {"month", "january "},  {"month", " jan"},       {"month", "m\xC3\xA4r"},
      {"quarter", "q0"},      {"quarter", "q5"},       {"quarter", "q"},
      {"quarter", "1"},       {"day", "mon"},          {"year", "last"},
      {"second", "last"},     {"time-of-day", "last"}, {"day", "lastly"},
      {"day", "las"},         {"hour", "noon"},        {"day-of-week", "1"},
  };
  for (const auto& r : rows)
    EXPECT_FALSE(named(findComponent(r.component), r.text)) << r.component << ' ' << r.text;
}

TEST(Named, LastOfWhatADateIsIn) {
  const struct {
    const char *component, *zone, *date;
    double number;
    const char* why;
  } rows[] = {
      {"day", "", "2014-02-10", 28, "February"},
      {"day", "", "2012-02-10", 29, "of a leap year"},
      {"day", "", "1900-02-10", 28, "a century is none"},
      {"day", "", "-0004-02-10", 29, "below 1"},
      {"day", "", "2014-12-01", 31, "December"},
      {"day", "", "2014-04-30", 30, "April"},
      {"day", "Asia/Tokyo", "2014-04-30T20:00Z", 31, "it is May in Tokyo"},
      {"day-of-year", "", "2016-01-01", 366, "a leap year"},
      {"day-of-year", "", "2015-01-01", 365, "a common one"},
      {"month", "", "2014-05-10", 12, "of the year"},
      {"quarter", "", "2014-05-10", 4, "of the year"},
      {"day-of-week", "", "2014-05-10", 7, "Saturday"},
      {"hour", "", "2014-05-10", 23, "of the day"},
      {"minute", "", "2014-05-10", 59, "of the hour"},
      {"week-of-year", "", "2014-05-10", 53, "with 31 December"},
      {"week-of-year", "", "2000-05-10", 54, "a leap year that began on a Saturday"},
      {"week-of-year", "Europe/Paris", "2014-05-10", 52, "31 December is in week 1"},
      {"week-of-year", "Europe/Paris", "2010-12-28", 53, "in the weeks of 2011"},
      {"week-of-year", "Europe/Paris", "2016-05-10", 53, "31 December is a Saturday"},
  };
  for (const auto& r : rows) {
    const Component component = findComponent(r.component);
    const Zone zone = Zone::named(r.zone);
    Complaint complaint;
    const auto second = zone.secondOf(*readDatetime(r.date, complaint), complaint);
    const auto value = named(component, "last");
    ASSERT_TRUE(value && value->isLast);
    EXPECT_EQ(resolve(*value, component, pairOf(*second, ""), zone), r.number) << r.why;
  }
}

// Of all dates in the unit around, none reads higher, and one reads so.
TEST(Named, LastIsTheGreatestThatIsRead) {
  Cases cases(10'000);
  Random random(1);
  const NamedValue last{true, 0};
  for (const char* text : {"", "Europe/Paris", "Pacific/Apia"}) {
    const Zone zone = Zone::named(text);
    for (int i = 0; i < 4; ++i) {
      // Two thousand days on: five years, and a turn of a century among them.
      const double first = static_cast<double>(random.whole(-200'000, 50'000));
      for (const char* name : {"day", "day-of-year", "week-of-year"}) {
        const Component component = findComponent(name);
        const auto at = [&](double day) { return doubledouble{(day + 0.5) * kMillisPerDay, 0.0}; };
        const auto shown = [&](const doubledouble& pair) {
          const Wall wall = wallOf(pair, zone);
          return shownValue(component, wall.day, secondOfDay(wall), zone);
        };
        for (double day = first; day < first + 2000; ++day, ++cases) {
          const double value = shown(at(day));
          const double next = shown(at(day + 1));
          ASSERT_LE(value, resolve(last, component, at(day), zone)) << text << name << day;
          if (next < value) {
            ASSERT_EQ(value, resolve(last, component, at(day), zone)) << text << name << day;
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace plx
