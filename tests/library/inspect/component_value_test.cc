// Reading components: setting what was read changes nothing, but for what is listed below.
#include "inspect/component_value.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "datetime/datetime_text.h"
#include "host/embed.h"
#include "inspect/wall.h"
#include "module/components.h"
#include "module/module.h"
#include "support/built.h"
#include "support/cases.h"
#include "support/every_zone.h"
#include "support/length.h"
#include "support/random.h"
#include "unzoned/leap_seconds.h"

namespace plx {
namespace {

// What a calendar makes of a value in seconds: the whole ones to the clock, the rest to what is added.
doubledouble calendarSeconds(double value, double before) {
  const double whole = std::trunc(value);
  return two_sum((value - whole) * kMillisPerSecond, before + whole * kMillisPerSecond);
}

bool areSameBits(const doubledouble& a, const doubledouble& b) {
  return std::bit_cast<std::uint64_t>(a.hi) == std::bit_cast<std::uint64_t>(b.hi) &&
         std::bit_cast<std::uint64_t>(a.lo) == std::bit_cast<std::uint64_t>(b.lo);
}

// The seconds from `before`, whole milliseconds since midnight, to the time of day. Where a double
// sets exactly this time of day, it is that one; a quotient may round to its neighbour.
double secondsFrom(double before, const Wall& wall, Component component, const Zone& zone) {
  const auto set = [&](double value) -> doubledouble {
    if (zone.isCalendar()) return calendarSeconds(value, before);
    if (component == Component::second) return two_sum(value * kMillisPerSecond, before);
    return {value * kMillisPerSecond, 0.0};
  };
  const doubledouble millis = dd::subtract(wall.msOfDay, before);
  const double nearest = dd::collapse(dd::divide(millis, kMillisPerSecond));
  for (const double value :
       {nearest, std::nextafter(nearest, -1.0), std::nextafter(nearest, 1e9)}) {
    const doubledouble there = set(value);
    if (there.hi == wall.msOfDay.hi && there.lo == wall.msOfDay.lo) return value;
  }
  return nearest;
}

// The number that a component has at a datetime, as nearly as a double tells it.
double componentValue(Component component, const doubledouble& pair, const Zone& zone) {
  const Wall wall = wallOf(pair, zone);
  const double shown = shownValue(component, wall.day, secondOfDay(wall), zone);
  if (!factsOf(component).takesFractions) return shown;
  const double before =
      component == Component::second ? (secondOfDay(wall) - shown) * kMillisPerSecond : 0.0;
  return secondsFrom(before, wall, component, zone) + (wall.insertedSecond ? 1.0 : 0.0);
}

doubledouble pairIn(const Zone& zone, const std::string& text) {
  Complaint complaint;
  const auto datetime = readDatetime(text, complaint);
  if (!datetime) throw std::runtime_error(text + ": " + complaint.what);
  const auto second = zone.secondOf(*datetime, complaint);
  if (!second) throw std::runtime_error(text + ": " + complaint.what);
  return pairOf(*second, datetime->fraction);
}

std::string written(const char* name, const char* zoneText, const char* text) {
  const Zone zone = Zone::named(zoneText);
  std::string out;
  writeComponentValue(out, findComponent(name), pairIn(zone, text), zone, 9, false);
  return out;
}

TEST(ComponentValue, OfDatetimesThatAnyoneCanCheck) {
  const struct {
    const char *name, *zone, *text, *value, *why;
  } rows[] = {
      {"year", "", "2014-05-10", "2014", "a year"},
      {"year", "", "-0044-03-15", "-44", "below 1"},
      {"year", "", "+12330436978418-07-07", "12330436978418", "far away"},
      {"year", "Asia/Tokyo", "2014-12-31T20:00Z", "2015", "in a zone, its own year"},
      {"quarter", "", "2014-03-31", "1", "its last day"},
      {"quarter", "", "2014-04-01", "2", "its first day"},
      {"quarter", "Europe/Paris", "2014-12-31", "4", "in a zone"},
      {"month", "", "2014-05-10", "5", "a month"},
      {"week-of-year", "", "2014-05-10", "19", "from Sunday"},
      {"week-of-year", "", "2014-12-31", "53", "the last days count in their own year"},
      {"week-of-year", "Europe/Paris", "2014-12-31", "1", "a calendar counts them in the next"},
      {"week-of-year", "Europe/Paris", "2014-12-27", "52", "the Saturday before"},
      {"week-of-year", "Europe/Paris", "2016-12-31", "53", "a Saturday on 31 December"},
      {"week-of-year", "", "2016-12-31", "53", "the same by arithmetic"},
      {"week-of-year", "", "2000-12-31", "54", "a leap year that began on a Saturday"},
      {"day", "", "2014-05-10", "10", "of the month"},
      {"day-of-year", "", "2016-12-31", "366", "of a leap year"},
      {"day-of-week", "", "2014-05-10", "7", "a Saturday"},
      {"day-of-week", "", "1969-12-28", "1", "a Sunday"},
      {"hour", "America/New_York", "2014-03-09T07:00Z", "3", "after a gap"},
      {"minute", "+05:30", "2014-03-09T07:00Z", "30", "an offset's clock"},
      {"second", "", "2014-05-10T08:30:15.25", "15.25", "with its fraction"},
      {"second", "", "2014-05-10T08:30", "0", "whole"},
      {"second", "", "1969-12-31T23:59:59.9", "59.9", "counted forward before 1970"},
      {"second", "UTCLeapSeconds", "2012-06-30T23:59:60.5", "60.5", "inserted"},
      {"minute", "UTCLeapSeconds", "2012-06-30T23:59:60.5", "59", "of the same minute"},
      {"time-of-day", "UTCLeapSeconds", "2012-06-30T23:59:60.5", "86400.5", "of a longer day"},
      {"time-of-day", "", "2014-05-10T01:00:00.5", "3600.5", "since midnight"},
      {"time-of-day", "America/New_York", "2014-03-09T03:00", "10800", "by the clock in a gap"},
      {"second", "-04:56:02", "2014-05-10T00:00:00Z", "58", "an offset with seconds"},
  };
  for (const auto& r : rows) EXPECT_EQ(written(r.name, r.zone, r.text), r.value) << r.why;
}

TEST(ComponentValue, SecondsNeverRoundUpToTheNextMinute) {
  const Zone zone = Zone::named("");
  const Component second = Component::second;
  const struct {
    const char *fraction, *rounded, *exact;
  } rows[] = {
      {"9999999999", "59.9999999999", "59.9999999999"},
      {"99999999951", "59.99999999951", "59.99999999951"},
      {"9999999994", "59.999999999", "59.9999999994"},
      {"1000000001", "59.1", "59.1000000001"},
  };
  for (const auto& r : rows) {
    const doubledouble pair = pairOf(59, r.fraction);
    std::string rounded, exact;
    writeComponentValue(rounded, second, pair, zone, 9, false);
    writeComponentValue(exact, second, pair, zone, 9, true);
    EXPECT_EQ(rounded, r.rounded) << r.fraction;
    EXPECT_EQ(exact, r.exact) << r.fraction;
  }
}

double difference(const doubledouble& a, const doubledouble& b) {
  return dd::collapse(dd::subtract(a, b));
}

// Why setting what was read gave something else.
enum class Why { quarter, secondOfTwo, noDouble, inserted, finerThanADouble, finerThanSums };

class SettingWhatWasRead : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(paSetLocale("en_US", nullptr), 0); }

  doubledouble set(const doubledouble& pair, Component component, double value, const Zone& zone) {
    Datetimes one;
    one.push(pair);
    const auto error = module_.set(one, {value}, factsOf(component).selector, zone.text());
    if (error) throw std::runtime_error(error->message);
    return one.at(0);
  }

  // Holds every pair to it, for every component; counts the exceptions, each of which must show the
  // one reason it is allowed for.
  void check(const Zone& zone, const Datetimes& pairs) {
    for (const Component component : kComponents) {
      std::vector<double> values;
      for (std::size_t i = 0; i < pairs.size(); ++i)
        values.push_back(componentValue(component, pairs.at(i), zone));
      Datetimes set = pairs;
      const auto error = module_.set(set, values, factsOf(component).selector, zone.text());
      ASSERT_FALSE(error) << zone.text() << ' ' << factsOf(component).name << ": "
                          << error->message;
      for (std::size_t i = 0; i < pairs.size(); ++i, ++visited_) {
        if (areSameBits(set.at(i), pairs.at(i))) {
          ++same_;
        } else {
          explain(zone, component, pairs.at(i), values[i], set.at(i));
        }
        if (HasFatalFailure()) return;
      }
    }
  }

  void explain(const Zone& zone, Component component, const doubledouble& was, double value,
               const doubledouble& is) {
    const auto told = testing::Message()
                      << zone.text() << ' ' << factsOf(component).name << ' ' << value << " of {"
                      << was.hi << ", " << was.lo << "} gave {" << is.hi << ", " << is.lo << '}';
    const Wall wall = wallOf(was, zone), wallNow = wallOf(is, zone);
    if (wall.insertedSecond) {
      ++exceptions_[Why::inserted];
      return;
    }
    if (component == Component::quarter && dateOf(wall.day).month != 3 * value - 2) {
      ASSERT_TRUE(areSameBits(this->set(was, Component::month, 3 * value - 2, zone), is)) << told;
      ASSERT_EQ(componentValue(component, is, zone), value) << told;
      ++exceptions_[Why::quarter];
      return;
    }
    if (zone.isCalendar() && difference(is, was) > 900) {
      ASSERT_EQ(wallNow.day, wall.day) << told;
      ASSERT_LT(std::fabs(difference(wallNow.msOfDay, wall.msOfDay)), 1e-7) << told;
      ++exceptions_[Why::secondOfTwo];
      return;
    }
    const bool replacesFraction =
        component == Component::second || component == Component::timeOfDay;
    if (replacesFraction) {
      // Half a step of the value as milliseconds, and half a step of those.
      const double step = std::nextafter(value, 1e9) - value;
      ASSERT_LE(std::fabs(difference(is, was)), 1100 * step) << told;
      double other = value;
      for (int i = 0; i < 4; ++i) other = std::nextafter(other, -1.0);
      for (int i = 0; i < 9; ++i, other = std::nextafter(other, 1e9))
        ASSERT_FALSE(areSameBits(this->set(was, component, other, zone), was))
            << told << "; " << other;
      ++exceptions_[Why::noDouble];
      return;
    }
    if (!zone.isCalendar()) {
      // The day and the time of day are sums of two doubles, which reach down to here.
      ASSERT_NE(std::ldexp(was.lo, 78), std::trunc(std::ldexp(was.lo, 78))) << told;
      ASSERT_LE(std::fabs(difference(is, was)), 0x1p-78) << told;
      ++exceptions_[Why::finerThanSums];
      return;
    }
    const doubledouble fraction = dd::subtract(was, dd::Floor(was));
    ASSERT_NE(two_sum(fraction.hi, fraction.lo).lo, 0.0) << told;
    ASSERT_LE(std::fabs(difference(is, was)), 0x1p-53) << told;
    ++exceptions_[Why::finerThanADouble];
  }

  Module module_{built("plx_datetime.so")};
  std::int64_t visited_ = 0, same_ = 0;
  std::map<Why, std::int64_t> exceptions_;
};

// Around an instant: its edges to the second, the millisecond and below.
void pushAround(Datetimes& pairs, double instant) {
  for (const double away : {-3600e3, -1800e3, -1000.0, -1.0, -0.5, 0.0, 0.125, 1.0, 1000.0, 1800e3,
                            3600e3 - 1, 3600e3, 7200e3, -86400e3, 86400e3})
    pairs.push(two_sum(instant, away));
}

// Whole milliseconds and eighths, which every clock keeps.
Datetimes coarsePairs(Random& random, double farthest, std::int64_t count) {
  Datetimes pairs;
  for (int i = 0; i < count; ++i) {
    const double eighths = random.oneIn(2) ? 0 : static_cast<double>(random.whole(0, 7)) / 8;
    pairs.push(two_sum(std::floor(random.real(-farthest, farthest)), eighths));
  }
  return pairs;
}

constexpr double kYears = 365.2425 * kMillisPerDay;

TEST_F(SettingWhatWasRead, OfPlainTimeIsTheSame) {
  Random random(1);
  for (const char* text : {"", "UTC"}) {
    const Zone zone = Zone::named(text);
    for (const double farthest : {1e3, 1e9, 60 * kYears, 3000 * kYears, 1e6 * kYears})
      check(zone, coarsePairs(random, farthest, ofWhole(3000)));
    if (HasFatalFailure()) return;
  }
  Cases cases(ofWhole(300'000));
  cases += visited_;
  // 1.001 times 1000 is 1000.9999999999999, and so is what the doubles next to it give.
  EXPECT_LT(exceptions_[Why::noDouble], visited_ / 200);
  EXPECT_EQ(same_ + exceptions_[Why::quarter] + exceptions_[Why::noDouble], visited_);
}

TEST_F(SettingWhatWasRead, OfTheLeapSecondLineIsTheSameOutsideInsertedSeconds) {
  Random random(2);
  const Zone zone = Zone::named("UTCLeapSeconds");
  Datetimes pairs = coarsePairs(random, 60 * kYears, ofWhole(3000));
  for (const double instant : leapInstantsElapsed) pushAround(pairs, instant);
  for (const double instant : leapInstantsElapsed) pairs.push({instant + 999, 0.5});
  check(zone, pairs);
  Cases cases(testsAreWhole() ? 30'000 : ofUsual(6'000));
  cases += visited_;
  EXPECT_EQ(exceptions_[Why::inserted], 25 * 4 * 11);
  EXPECT_EQ(
      same_ + exceptions_[Why::quarter] + exceptions_[Why::inserted] + exceptions_[Why::noDouble],
      visited_);
}

TEST_F(SettingWhatWasRead, InZonesIsTheSameButInTheFirstOfTwo) {
  Random random(3);
  const char* zones[] = {
      "America/New_York",    "Europe/Paris",      "Europe/Dublin",     "Asia/Kolkata",
      "Australia/Lord_Howe", "America/Sao_Paulo", "America/St_Johns",  "Africa/Casablanca",
      "Africa/Monrovia",     "Pacific/Apia",      "Pacific/Kwajalein", "Antarctica/Troll",
      "Asia/Manila",         "Etc/UTC",           "America/Caracas"};
  for (const char* text : zones) {
    const Zone zone = Zone::named(text);
    Datetimes pairs;
    for (const double farthest : {60 * kYears, 3000 * kYears, 140000 * kYears}) {
      for (int i = 0; i < ofWhole(500); ++i)
        pairs.push(two_sum(std::floor(random.real(-farthest, farthest)),
                           static_cast<double>(random.whole(0, 7)) / 8));
    }
    int count = 0;
    for (const Change& change : changesOf(*zoneOf(text)))
      if (count++ < 60) pushAround(pairs, change.instant);
    check(zone, pairs);
    if (HasFatalFailure()) return;
  }
  Cases cases(testsAreWhole() ? 300'000 : ofUsual(100'000));
  cases += visited_;
  EXPECT_GT(exceptions_[Why::secondOfTwo], 3'000);
  EXPECT_GT(exceptions_[Why::quarter], 3'000);
}

// Pairs as they come out of arithmetic, with any bits below a millisecond.
TEST_F(SettingWhatWasRead, OfFineFractions) {
  Random random(4);
  for (const char* text : {"", "UTCLeapSeconds", "America/New_York", "+05:30"}) {
    const Zone zone = Zone::named(text);
    Datetimes pairs;
    for (const double farthest : {1e6, 60 * kYears, 3000 * kYears}) {
      for (int i = 0; i < ofWhole(1000); ++i) {
        const double hi = random.real(-farthest, farthest);
        pairs.push(two_sum(hi, random.oneIn(2) ? 0 : random.real(-1, 1) * 0x1p-54 * hi));
      }
    }
    check(zone, pairs);
    if (HasFatalFailure()) return;
  }
  Cases cases(ofWhole(100'000));
  cases += visited_;
  EXPECT_GT(exceptions_[Why::finerThanADouble], ofWhole(1000));
  EXPECT_GT(same_, visited_ / 2);
}

}  // namespace
}  // namespace plx
