// Zones as ICU's data could have them one day, and as no data may have them: a table is made of the rules that it
// can hold, and of no others; and every result is the calendar's either way.
//
// Tables are made of zones of the class that ICU makes of its data. This program has its own definition of the
// function that makes them, which gives zones of a class of ours, made of any rules.

#include <gtest/gtest.h>
#include <unicode/rbtz.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "arith/civil.h"
#include "base/field_codes.h"
#include "offsets/offset_table.h"
#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_arrays.h"
#include "support/random.h"
#include "zoned/calendar.h"
#include "zoned/calendar_walk.h"
#include "zoned/set_field.h"

namespace {

constexpr int kHour = 3600000;
constexpr double kDay = 86400000.0;
const int kForEver = icu::AnnualTimeZoneRule::MAX_YEAR;

// What goes wrong when the zone is asked for its rules, or is wrong in them.
enum class Fault { none, count, rules, noInitialRule, ruleOfAnotherKind, otherOrder, offset };

class OddZone : public icu::RuleBasedTimeZone {
 public:
  explicit OddZone(int offset = kHour)
      : RuleBasedTimeZone("odd", new icu::InitialTimeZoneRule("odd", offset, 0)) {}
  OddZone* clone() const override { return new OddZone(*this); }

  // From each of the times on, which are milliseconds in UTC unless they are said to be on the clock.
  OddZone& past(std::vector<double> times, int offset, int saving = 0,
                icu::DateTimeRule::TimeRuleType type = icu::DateTimeRule::UTC_TIME) {
    return add(new icu::TimeArrayTimeZoneRule("past", offset, saving, times.data(),
                                              static_cast<int32_t>(times.size()), type));
  }

  // Each year from then on, on a day of a month and at a time of it in UTC.
  OddZone& yearly(int month, int day, int millis, int saving, int start = 1980, int end = kForEver,
                  int offset = kHour) {
    return add(new icu::AnnualTimeZoneRule(
        "yearly", offset, saving,
        icu::DateTimeRule(month, day, millis, icu::DateTimeRule::UTC_TIME), start, end));
  }

  OddZone& with(Fault fault) {
    fault_ = fault;
    return *this;
  }

  // To be called when all rules are there.
  bool isComplete() {
    complete(status_);
    return U_SUCCESS(status_);
  }

  int32_t countTransitionRules(UErrorCode& status) const override {
    if (fault_ == Fault::count) status = U_UNSUPPORTED_ERROR;
    return RuleBasedTimeZone::countTransitionRules(status);
  }

  void getTimeZoneRules(const icu::InitialTimeZoneRule*& initial, const icu::TimeZoneRule* rules[],
                        int32_t& count, UErrorCode& status) const override {
    if (fault_ == Fault::rules) status = U_UNSUPPORTED_ERROR;
    RuleBasedTimeZone::getTimeZoneRules(initial, rules, count, status);
    if (fault_ == Fault::ruleOfAnotherKind) rules[0] = initial;
    if (fault_ == Fault::noInitialRule) initial = nullptr;
    if (fault_ == Fault::otherOrder) std::reverse(rules, rules + count);
  }

  void getOffset(UDate date, UBool isLocal, int32_t& raw, int32_t& saving,
                 UErrorCode& status) const override {
    if (fault_ == Fault::offset) status = U_UNSUPPORTED_ERROR;
    RuleBasedTimeZone::getOffset(date, isLocal, raw, saving, status);
  }

 private:
  OddZone& add(icu::TimeZoneRule* rule) {
    addTransitionRule(rule, status_);
    EXPECT_TRUE(U_SUCCESS(status_)) << u_errorName(status_);
    return *this;
  }

  Fault fault_ = Fault::none;
  UErrorCode status_ = U_ZERO_ERROR;
};

}  // namespace

icu::TimeZone* icu::TimeZone::createTimeZone(const icu::UnicodeString&) { return new OddZone; }

namespace {

double midnight(int year, int month = 1, int day = 1) { return ymd2days(year, month, day) * kDay; }

// Summer time as in many zones, but on fixed days.
OddZone& withSummers(OddZone& zone) {
  return zone.yearly(UCAL_MARCH, 28, kHour, kHour).yearly(UCAL_OCTOBER, 28, kHour, 0);
}

struct Row {
  const char* why;
  std::function<void(OddZone&)> addRules;
};

const Row kOfTables[] = {
    {"a change before 1800, and one after it",
     [](OddZone& z) {
       z.past({midnight(1700), midnight(1950)}, 2 * kHour).past({midnight(1900)}, 0);
     }},
    {"none but before 1800",
     [](OddZone& z) {
       z.past({midnight(1600), midnight(1700)}, 2 * kHour);
     }},
    {"one on the day with which 1800 begins",
     [](OddZone& z) { z.past({midnight(1800)}, 2 * kHour); }},
    {"none but after 2100", [](OddZone& z) { z.past({midnight(2200)}, 2 * kHour); }},
    {"one on the day with which 2100 begins",
     [](OddZone& z) { z.past({midnight(2100)}, 2 * kHour); }},
    {"one long before 1800 and one long after 2100",
     [](OddZone& z) { z.past({midnight(1500)}, 2 * kHour).past({midnight(2300)}, -5 * kHour); }},
    {"many within days",
     [](OddZone& z) {
       for (int i = 0; i < 40; ++i) z.past({midnight(2000) + 1.3 * i * i * kHour}, (i % 5) * kHour);
     }},
    {"the largest offsets",
     [](OddZone& z) {
       z.past({midnight(1990)}, 24 * kHour - 1000).past({midnight(1990, 2)}, -24 * kHour + 1000);
     }},
    {"changes that change nothing but how an offset is made up",
     [](OddZone& z) { z.past({midnight(1990)}, 0, kHour).past({midnight(1991)}, kHour); }},
    {"no change that is one", [](OddZone& z) { z.past({midnight(1990)}, kHour); }},
    {"summers from 1980 on", [](OddZone& z) { withSummers(z); }},
    {"summers, and a change in 1700",
     [](OddZone& z) { withSummers(z.past({midnight(1700)}, 0).past({midnight(1800)}, kHour)); }},
    {"summers that end just before two days before the year does",
     [](OddZone& z) {
       z.yearly(UCAL_JANUARY, 3, 0, kHour).yearly(UCAL_DECEMBER, 29, 23 * kHour, 0);
     }},
};

const Row kOfTheCalendar[] = {
    {"half a second before all changes",
     [](OddZone& z) { z = OddZone(kHour + 500), z.past({midnight(1990)}, kHour); }},
    {"half a second after a change", [](OddZone& z) { z.past({midnight(1990)}, kHour + 500); }},
    {"a whole day", [](OddZone& z) { z.past({midnight(1990)}, 24 * kHour); }},
    {"a change on the half second",
     [](OddZone& z) { z.past({midnight(1990) + 500.0}, 2 * kHour); }},
    {"a change on the clock",
     [](OddZone& z) { z.past({midnight(1990)}, 2 * kHour, 0, icu::DateTimeRule::WALL_TIME); }},
    {"two changes at once",
     [](OddZone& z) { z.past({midnight(1990)}, 2 * kHour).past({midnight(1990)}, 3 * kHour); }},
    {"one yearly rule, which ends",
     [](OddZone& z) { z.yearly(UCAL_MARCH, 28, 0, kHour, 1980, 2010); }},
    {"a pair of yearly rules of which one ends",
     [](OddZone& z) {
       z.yearly(UCAL_MARCH, 28, 0, kHour).yearly(UCAL_OCTOBER, 28, 0, 0, 1980, 2010);
     }},
    {"a pair of yearly rules of which the other ends",
     [](OddZone& z) {
       z.yearly(UCAL_MARCH, 28, 0, kHour).yearly(UCAL_OCTOBER, 28, 0, 0, 1980, 2010);
       z.with(Fault::otherOrder);
     }},
    {"a pair of yearly rules, which end",
     [](OddZone& z) {
       z.yearly(UCAL_MARCH, 28, 0, kHour, 1980, 2010).yearly(UCAL_OCTOBER, 28, 0, 0, 1980, 2010);
     }},
    {"four yearly rules",
     [](OddZone& z) {
       z.yearly(UCAL_MARCH, 28, 0, kHour, 1970, 1979).yearly(UCAL_OCTOBER, 28, 0, 0, 1970, 1979);
       withSummers(z);
     }},
    {"saving in winter as well",
     [](OddZone& z) {
       z.past({midnight(1979)}, kHour, kHour);
       z.yearly(UCAL_MARCH, 28, 0, 2 * kHour).yearly(UCAL_OCTOBER, 28, 0, kHour);
     }},
    {"no saving, but another offset",
     [](OddZone& z) {
       z.yearly(UCAL_MARCH, 28, 0, 0, 1980, kForEver, 2 * kHour).yearly(UCAL_OCTOBER, 28, 0, 0);
     }},
    {"another offset with the saving",
     [](OddZone& z) {
       z.yearly(UCAL_MARCH, 28, 0, kHour, 1980, kForEver, 2 * kHour).yearly(UCAL_OCTOBER, 28, 0, 0);
     }},
    {"summers that begin a year after winters",
     [](OddZone& z) {
       z.yearly(UCAL_MARCH, 28, 0, kHour, 1981).yearly(UCAL_OCTOBER, 28, 0, 0, 1980);
     }},
    {"summers from before 1970 on",
     [](OddZone& z) {
       z.yearly(UCAL_MARCH, 28, 0, kHour, 1969).yearly(UCAL_OCTOBER, 28, 0, 0, 1969);
     }},
    {"summers that begin with the year",
     [](OddZone& z) { z.yearly(UCAL_JANUARY, 1, kHour, kHour).yearly(UCAL_JUNE, 28, 0, 0); }},
    {"summers that end with the year",
     [](OddZone& z) { z.yearly(UCAL_JUNE, 28, 0, kHour).yearly(UCAL_DECEMBER, 31, kHour, 0); }},
    {"a summer and a winter that begin at once",
     [](OddZone& z) { z.yearly(UCAL_JUNE, 28, 0, kHour).yearly(UCAL_JUNE, 28, 0, 0); }},
    {"summers that begin on the half second",
     [](OddZone& z) { z.yearly(UCAL_MARCH, 28, 500, kHour).yearly(UCAL_OCTOBER, 28, 0, 0); }},
    {"a change on the eve of the first year of summers",
     [](OddZone& z) {
       withSummers(z.past({midnight(1979)}, 0).past({midnight(1979, 12, 31)}, kHour));
     }},
    {"a change after the first year of summers",
     [](OddZone& z) { withSummers(z.past({midnight(1985)}, 2 * kHour)); }},
};

TEST(OddZones, HaveATableOrNot) {
  Cases cases(35);
  const auto expect = [&](const Row& row, bool hasTable) {
    OddZone zone;
    row.addRules(zone);
    zone.isComplete();
    EXPECT_EQ(OffsetTable::of(zone).has_value(), hasTable) << row.why;
    ++cases;
  };
  for (const Row& row : kOfTables) expect(row, true);
  for (const Row& row : kOfTheCalendar) expect(row, false);
}

TEST(OddZones, HaveNoTableWhereTheRulesCannotBeHad) {
  Cases cases(10);
  for (const bool hasSummers : {false, true}) {
    for (const auto& [fault, why] : {std::pair{Fault::count, "no number of rules"},
                                     {Fault::rules, "no rules"},
                                     {Fault::noInitialRule, "no rule before all changes"},
                                     {Fault::ruleOfAnotherKind, "neither times nor a year's date"},
                                     {Fault::offset, "no offset at a time"}}) {
      OddZone zone;
      zone.past({midnight(1950)}, 0).past({midnight(1960)}, kHour);
      if (hasSummers) withSummers(zone);
      ASSERT_TRUE(zone.isComplete());
      EXPECT_TRUE(OffsetTable::of(zone)) << "without a fault";
      EXPECT_FALSE(OffsetTable::of(zone.with(fault))) << why;
      ++cases;
    }
  }
}

// Times in no order, in order, and around each change.
std::vector<double> timesFor(const icu::BasicTimeZone& zone, Random& random) {
  std::vector<double> times;
  for (int i = 0; i < 300; ++i) {
    times.push_back(static_cast<double>(random.whole(-15000000000000, 15000000000000)));
  }
  for (int i = 0; i < 300; ++i) times.push_back(midnight(1450) + i * 1150.3 * kDay);
  icu::TimeZoneTransition next;
  double t = midnight(1400);
  for (int i = 0; i < 100 && zone.getNextTransition(t, false, next); ++i) {
    t = next.getTime();
    for (const double hours : {-30.0, -2.0, -1.0, -0.5, 0.0, 0.5, 1.0, 2.0, 30.0}) {
      times.push_back(t + hours * kHour + static_cast<double>(random.whole(-1, 1)));
    }
  }
  for (double& time : times) time = std::floor(time);
  return times;
}

// Sets all by the setter, and by the calendar.
void expectByCalendar(const char* why, const OddZone& zone, Component component,
                      const std::vector<double>& times, const std::vector<double>& values,
                      Cases& cases) {
  const std::vector<double> zeros(times.size());
  const Array result = doubles(zeros, &zeros);
  const auto calendar = createCalendar(boost::unique_ptr<icu::TimeZone>(zone.clone()));
  setField(doubles(times).get(), doubles(values).get(), fieldOf(component), result.get(),
           boost::unique_ptr<icu::GregorianCalendar>(calendar->clone()));
  const std::vector<doubledouble> set = elements(result);
  std::vector<double> high(times.size()), low(times.size());
  CalendarWalk(*calendar, component,
               {times.data(), nullptr, values.data(), 1, high.data(), low.data(), times.size()})
      .setAll();
  for (std::size_t i = 0; i < times.size(); ++i) {
    ASSERT_SAME_BITS(set[i], (doubledouble{high[i], low[i]}))
        << why << ": " << factsOf(component).name << " of " << times[i] << " to " << values[i];
    ++cases;
  }
}

TEST(OddZones, AreSetAsByTheCalendar) {
  constexpr Component kSome[] = {Component::year,       Component::quarter,   Component::weekOfYear,
                                 Component::dayOfMonth, Component::dayOfWeek, Component::hour,
                                 Component::second};
  Cases cases(240000);
  Random random(7);
  const auto check = [&](const Row& row) {
    OddZone zone;
    row.addRules(zone);
    if (!zone.isComplete()) return;  // one yearly rule for ever: such a zone has no offsets
    const std::vector<double> times = timesFor(zone, random);
    for (const Component component : kSome) {
      std::vector<double> values;
      for (std::size_t i = 0; i < times.size(); ++i) {
        values.push_back(static_cast<double>(component == Component::year ? random.whole(1450, 2450)
                                                                          : random.whole(1, 23)));
      }
      ASSERT_NO_FATAL_FAILURE(expectByCalendar(row.why, zone, component, times, values, cases));
    }
  };
  for (const Row& row : kOfTables) ASSERT_NO_FATAL_FAILURE(check(row));
  for (const Row& row : kOfTheCalendar) ASSERT_NO_FATAL_FAILURE(check(row));
}

// A change by nearly two days, and days of a month that lead to about it.
TEST(OddZones, WithTheLargestChangeAreSetNearIt) {
  constexpr int kMost = 24 * kHour - 1000;
  Cases cases(2 * 35 * 300);
  for (const bool isForward : {false, true}) {
    OddZone zone(isForward ? -kMost : kMost);
    zone.past({midnight(1990, 2) + 12 * kHour}, isForward ? kMost : -kMost);
    ASSERT_TRUE(zone.isComplete());
    for (int day = -1; day < 34; ++day) {
      std::vector<double> times;  // around the turn of the year
      for (int i = 0; i < 300; ++i) times.push_back(midnight(1989, 12, 31) + i * 600000.0);
      const std::vector<double> values(times.size(), day);
      ASSERT_NO_FATAL_FAILURE(
          expectByCalendar("nearly two days", zone, Component::dayOfMonth, times, values, cases));
    }
  }
}

}  // namespace
