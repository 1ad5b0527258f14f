// What a setting did, told by comparing what was asked for with what came out.
#include "inspect/check.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "datetime/datetime_text.h"
#include "host/embed.h"
#include "inspect/leap_table.h"
#include "module/components.h"
#include "module/module.h"
#include "support/built.h"
#include "support/cases.h"
#include "support/every_zone.h"
#include "support/random.h"
#include "tools/support/run_plx.h"
#include "unzoned/leap_seconds.h"

namespace plx {
namespace {

class Check : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(paSetLocale("en_US", nullptr), 0); }

  // "component=value" of some words, one after the other through the module.
  std::vector<Setting> settingsOf(const char* text) {
    std::vector<Setting> settings;
    for (const std::string& word : words(text)) {
      const std::size_t sign = word.find('=');
      settings.push_back({findComponent(word.substr(0, sign)), std::stod(word.substr(sign + 1))});
    }
    return settings;
  }

  // Nothing for a result that the module refuses.
  std::optional<doubledouble> apply(const std::vector<Setting>& settings, const doubledouble& pair,
                                    const Zone& zone) {
    Datetimes one;
    one.push(pair);
    for (const Setting& s : settings)
      if (module_.set(one, {s.value}, factsOf(s.component).selector, zone.text()))
        return std::nullopt;
    return one.at(0);
  }

  Module module_{built("plx_datetime.so")};
};

TEST_F(Check, TellsWhatHappened) {
  const struct {
    const char *settings, *zone, *text, *told;
  } rows[] = {
      {"month=6", "", "2014-05-10T08:30", ""},
      {"day=31", "", "2014-05-10", ""},
      {"hour=0 minute=0 second=0", "", "2014-05-10T08:30", ""},
      {"time-of-day=86399.5", "", "2014-05-10T08:30", ""},
      {"second=59.999999999999993", "", "2014-05-10T08:30", ""},
      {"year=-44", "Europe/Paris", "2014-03-15T12:00", ""},
      {"quarter=3", "", "2014-05-10T08:30", ""},
      {"week-of-year=20", "Europe/Paris", "2014-12-31T08:30", ""},
      {"month=13", "", "2014-05-10T08:30", "month 13 carried over: 2015-01-10T08:30:00"},
      {"day=31", "", "2014-04-10", "day 31 carried over: 2014-05-01T00:00:00"},
      {"hour=24", "UTC", "2014-04-10", "hour 24 carried over: 2014-04-11T00:00:00Z"},
      {"second=-0.5", "", "2014-04-10", "second -0.5 carried over: 2014-04-09T23:59:59.5"},
      {"day-of-week=8", "", "2015-01-01", "day-of-week 8 carried over: 2014-12-28T00:00:00"},
      {"week-of-year=54", "", "2014-05-10", "week-of-year 54 carried over: 2015-01-10T00:00:00"},
      {"month=2", "", "2014-05-31", "there is no 31 February 2014: 2014-03-03T00:00:00"},
      {"day=31 month=2", "", "2014-05-10", "there is no 31 February 2014: 2014-03-03T00:00:00"},
      {"quarter=2", "", "2014-12-31", "there is no 31 April 2014: 2014-05-01T00:00:00"},
      {"month=4", "", "1970-01-31T23:59:59.99999999988",
       "there is no 31 April 1970: 1970-05-01T23:59:59.99999999988"},
      {"year=2013", "", "2012-02-29", "there is no 29 February 2013: 2013-03-01T00:00:00"},
      {"month=14", "", "2014-05-31",
       "there is no 31 February 2015; month 14 carried over: "
       "2015-03-03T00:00:00"},
      {"hour=2 minute=61", "", "2014-05-10T08:30", "minute 61 carried over: 2014-05-10T03:01:00"},
      {"month=2 day=31", "", "2014-05-10", "day 31 carried over: 2014-03-03T00:00:00"},
      {"day=31 month=2", "", "2014-05-10", "there is no 31 February 2014: 2014-03-03T00:00:00"},
      {"month=2 day=10", "", "2014-05-31", "month 2 carried over: 2014-03-10T00:00:00"},
      {"day=10 month=2", "", "2014-05-31", ""},
      {"day=31 day=30", "", "2014-04-10", ""},
      {"hour=2", "America/New_York", "2014-03-09T12:50",
       "02:50:00 is skipped on 2014-03-09, when the clock goes from 02:00:00 to 03:00:00: "
       "2014-03-09T03:50:00-04:00"},
      {"minute=150", "America/New_York", "2014-03-09T01:50",
       "minute 150 carried over: 2014-03-09T03:30:00-04:00"},
      {"hour=3", "America/New_York", "2014-03-09T12:00", ""},
      {"day=30", "Pacific/Apia", "2011-12-10T12:00",
       "12:00:00 is skipped on 2011-12-30, when the clock goes from 2011-12-30 00:00:00 to "
       "2011-12-31 00:00:00: 2011-12-31T12:00:00+14:00"},
      {"day=9 day=10", "America/New_York", "2014-03-08T02:30",
       "one of the settings led to a time that a change of the clock skips: "
       "2014-03-10T03:30:00-04:00"},
      {"day=2", "America/New_York", "2014-11-10T01:30",
       "this time comes twice, as the clock goes back from 02:00:00 to 01:00:00, and is the "
       "second: 2014-11-02T01:30:00-05:00"},
      {"minute=30", "America/New_York", "2014-11-02T01:30-04:00",
       "this time comes twice, as the clock goes back from 02:00:00 to 01:00:00, and moved from "
       "the first to the second: 2014-11-02T01:30:00-05:00"},
      {"minute=45", "Australia/Lord_Howe", "2014-04-06T01:30",
       "this time comes twice, as the clock goes back from 02:00:00 to 01:30:00, and is the "
       "second: 2014-04-06T01:45:00+10:30"},
      {"second=60", "UTCLeapSeconds", "2012-06-30T23:59:00",
       "second 60 carried over: 2012-07-01T00:00:00Z"},
      {"second=59", "UTCLeapSeconds", "2012-06-30T23:59:60", ""},
  };
  for (const auto& r : rows) {
    const Zone zone = Zone::named(r.zone);
    const auto settings = settingsOf(r.settings);
    Complaint complaint;
    const auto text = readDatetime(r.text, complaint);
    const doubledouble before = pairOf(*zone.secondOf(*text, complaint), text->fraction);
    const auto after = apply(settings, before, zone);
    ASSERT_TRUE(after) << r.settings;
    Checker checker(zone);
    const Finding finding = checker.check(before, *after, settings);
    EXPECT_EQ(checker.describe(finding, *after), r.told) << r.settings << ' ' << r.text;
    EXPECT_EQ(finding.any(), r.told[0] != '\0') << r.settings << ' ' << r.text;
  }
}

Setting randomSetting(Random& random) {
  const Component component = kComponents[static_cast<std::size_t>(random.whole(0, 10))];
  const auto value = [&]() -> double {
    switch (component) {
      case Component::year:
        return static_cast<double>(random.whole(1880, 2037));
      case Component::timeOfDay:
        return random.real(-1000, 90000);
      case Component::second:
        return random.real(-10, 70);
      default:
        return static_cast<double>(random.whole(-5, 62));
    }
  };
  return {component, value()};
}

// Without a calendar, what was asked for is what comes out.
TEST_F(Check, KnowsWhatArithmeticGives) {
  Cases cases(60'000);
  Random random(1);
  for (const char* text : {"", "UTC", "UTCLeapSeconds"}) {
    const Zone zone = Zone::named(text);
    Checker checker(zone);
    for (int i = 0; i < 20'000; ++i, ++cases) {
      doubledouble before{std::floor(random.real(-1e14, 1e14)), 0};
      if (i % 4 == 0)
        before = {leapInstantsElapsed[static_cast<std::size_t>(i / 4 % kLeapSeconds)] +
                      static_cast<double>(random.whole(-2000, 2000)),
                  0};
      const std::vector<Setting> settings(static_cast<std::size_t>(random.whole(1, 3)),
                                          randomSetting(random));
      const auto after = apply(settings, before, zone);
      ASSERT_TRUE(after);
      const Finding finding = checker.check(before, *after, settings);
      ASSERT_TRUE(finding.askedWall == zone.wallTime(secondOf(*after)).seconds)
          << text << ' ' << factsOf(settings[0].component).name << ' ' << settings[0].value
          << " at " << before.hi;
      ASSERT_FALSE(finding.shifted || finding.overlap);
    }
  }
}

// The instants that show a wall time, from the offsets around it.
std::set<int128> instantsOf(int128 wall, const Zone& zone) {
  std::set<int128> found;
  for (int128 probe = wall - 100'000; probe <= wall + 100'000; probe += 900) {
    const int128 instant = wall - zone.wallTime(probe).offsetSeconds;
    if (zone.wallTime(instant).seconds == wall) found.insert(instant);
  }
  return found;
}

// In a zone it is, unless no instant shows it; where two do, that is told.
TEST_F(Check, KnowsGapsAndOverlaps) {
  Cases cases(20'000);
  Random random(2);
  int gaps = 0, overlaps = 0, moved = 0;
  for (const char* id :
       {"America/New_York", "Europe/Paris", "Europe/Dublin", "Australia/Lord_Howe", "Asia/Gaza",
        "Pacific/Apia", "Africa/Casablanca", "America/Caracas", "Antarctica/Troll"}) {
    const Zone zone = Zone::named(id);
    Checker checker(zone);
    const auto changes = changesOf(*zoneOf(id));
    for (int i = 0; i < 3000; ++i) {
      const Change& change =
          changes[static_cast<std::size_t>(random.whole(0, static_cast<int>(changes.size()) - 1))];
      const doubledouble before{
          change.instant + static_cast<double>(random.whole(-5'000'000, 5'000'000)), 0};
      // Whole seconds: a fraction below zero is added behind the calendar.
      Setting setting = randomSetting(random);
      setting.value = std::floor(setting.value);
      const auto after = apply({setting}, before, zone);
      ASSERT_TRUE(after);
      const Finding finding = checker.check(before, *after, std::span(&setting, 1));
      const auto instants = instantsOf(finding.askedWall, zone);
      const auto told = testing::Message() << id << ' ' << factsOf(setting.component).name << ' '
                                           << setting.value << " at " << before.hi;
      ASSERT_EQ(finding.shifted, instants.empty()) << told;
      ASSERT_EQ(finding.gap.has_value(), instants.empty()) << told;
      if (instants.empty()) {
        ++gaps;
      } else {
        ASSERT_TRUE(*instants.rbegin() == secondOf(*after)) << told;
        ASSERT_EQ(finding.overlap.has_value(), instants.size() == 2) << told;
        overlaps += finding.overlap.has_value();
        ASSERT_EQ(finding.moved, finding.overlap && *instants.begin() == secondOf(before)) << told;
        moved += finding.moved;
      }
      ++cases;
    }
  }
  EXPECT_GT(gaps, 100);
  EXPECT_GT(overlaps, 300);
  EXPECT_GT(moved, 50);
}

TEST(PastLeapTable, BeginsWithTheFirstLeapSecondThatIsNotKnown) {
  const Zone zone = Zone::named("UTCLeapSeconds");
  const struct {
    const char* text;
    bool past;
  } rows[] = {
      {"2012-06-30T23:59:60", false}, {"2012-07-01", false}, {"2015-06-30T23:59:59.999999", false},
      {"2015-07-01", true},           {"2024-01-01", true},  {"1960-01-01", false},
  };
  for (const auto& r : rows) {
    Complaint complaint;
    const auto text = readDatetime(r.text, complaint);
    EXPECT_EQ(pastLeapTable(pairOf(*zone.secondOf(*text, complaint), text->fraction)), r.past)
        << r.text;
  }
}

}  // namespace
}  // namespace plx
