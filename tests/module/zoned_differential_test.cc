// The module in many zones against ICU's plain calendar loop and against a closed form in integers.

#include <gtest/gtest.h>
#include <unicode/tztrans.h>

#include "support/bits.h"
#include "support/calendar_oracles.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/random.h"

namespace {

// Zones with one offset and with many, daylight saving of an hour, of half an hour and of two,
// transitions at midnight, skipped days, offsets with minutes and seconds, negative saving, both
// hemispheres.
constexpr const char* kZones[] = {
    "America/New_York",  "America/Los_Angeles", "America/St_Johns", "America/Sao_Paulo",
    "America/Caracas",   "America/Havana",      "America/Asuncion", "America/Anchorage",
    "America/Godthab",   "America/Juneau",      "Europe/London",    "Europe/Paris",
    "Europe/Berlin",     "Europe/Dublin",       "Europe/Lisbon",    "Europe/Moscow",
    "Europe/Istanbul",   "Europe/Amsterdam",    "Africa/Cairo",     "Africa/Casablanca",
    "Africa/Monrovia",   "Africa/Windhoek",     "Asia/Kolkata",     "Asia/Kathmandu",
    "Asia/Tehran",       "Asia/Gaza",           "Asia/Tokyo",       "Asia/Shanghai",
    "Asia/Manila",       "Asia/Pyongyang",      "Australia/Sydney", "Australia/Lord_Howe",
    "Australia/Perth",   "Pacific/Apia",        "Pacific/Auckland", "Pacific/Chatham",
    "Pacific/Kwajalein", "Antarctica/Troll",    "Atlantic/Azores",  "Etc/GMT+12",
    "Etc/UTC",           "GMT+05:30",
};

// The moments where something changes, and their neighbours, as instants and as wall times before
// and after.
std::vector<std::int64_t> edges(const icu::BasicTimeZone& zone) {
  std::vector<std::int64_t> all;
  icu::TimeZoneTransition transition;
  double t = -5364662400000.0;  // 1800
  while (zone.getNextTransition(t, false, transition) && transition.getTime() < 7258118400000.0) {
    t = transition.getTime();
    const auto at = static_cast<std::int64_t>(t);
    for (const std::int64_t around : {-3600000, -1, 0, 1, 1800000, 3600000})
      all.push_back(at + around);
  }
  return all;
}

std::int32_t randomValue(Random& random, Selector selector) {
  const auto pick = [&](std::int64_t low, std::int64_t high) {
    return static_cast<std::int32_t>(random.whole(low, high));
  };
  switch (selector) {
    case kYear:
      return random.oneIn(8) ? pick(-100000, 100000) : pick(1850, 2100);
    case kQuarter:
      return random.oneIn(8) ? pick(-300000, 300000) : pick(1, 4);
    case kMonth:
      return random.oneIn(8) ? pick(-1000000, 1000000) : pick(0, 13);
    case kWeekOfYear:
      return random.oneIn(8) ? pick(-4000000, 4000000) : pick(0, 54);
    case kDay:
      return random.oneIn(8) ? pick(-30000000, 30000000) : pick(0, 32);
    case kDayOfYear:
      return random.oneIn(8) ? pick(-30000000, 30000000) : pick(0, 367);
    case kDayOfWeek:
      return random.oneIn(8) ? pick(INT32_MIN, INT32_MAX) : pick(-7, 15);
    case kHour:
      return random.oneIn(8) ? pick(-400000000, 400000000) : pick(-1, 25);
    case kMinute:
      return random.oneIn(8) ? pick(INT32_MIN, INT32_MAX) : pick(-1, 60);
    case kSecond:
      return random.oneIn(8) ? pick(INT32_MIN, INT32_MAX) : pick(-1, 60);
    case kTimeOfDay:
      return random.oneIn(8) ? pick(-2147483, 2147483) : pick(0, 86399);
  }
  return 0;
}

class EveryZone : public testing::TestWithParam<const char*> {};

TEST_P(EveryZone, AgreesWithTheCalendarLoopAndWithTheClosedForm) {
  const std::string zone = GetParam();
  const DatetimeModule module;
  oracles::CalendarLoop loop(zone);
  const oracles::ClosedForm closedForm(zone);
  const std::vector<std::int64_t> atEdges = edges(closedForm.zone());
  Random random(1);
  Cases cases(11 * 2500);
  for (const Selector selector : kSelectorsOfAll) {
    std::vector<doubledouble> t;
    std::vector<double> values;
    const auto add = [&](std::int64_t at) {
      t.push_back({static_cast<double>(at), 0.0});
      values.push_back(randomValue(random, selector));
    };
    for (const std::int64_t at : atEdges) add(at);
    while (t.size() < 2500) {
      add(random.oneIn(6) ? random.whole(-1000000000000000, 1000000000000000)
                          : random.whole(-4000000000000, 5000000000000));
    }
    const auto results = module.results(t, values, selector, zone);
    for (std::size_t i = 0; i < t.size(); ++i, ++cases) {
      const auto v = static_cast<std::int32_t>(values[i]);
      const double byLoop = loop.set(t[i].hi, selector, v);
      const auto byForm = closedForm.set(static_cast<std::int64_t>(t[i].hi), selector, v);
      ASSERT_SAME_BITS(results[i], (doubledouble{byLoop, 0.0}))
          << "selector " << selector << " of " << static_cast<std::int64_t>(t[i].hi) << " to " << v;
      ASSERT_EQ(static_cast<std::int64_t>(results[i].hi), byForm)
          << "selector " << selector << " of " << static_cast<std::int64_t>(t[i].hi) << " to " << v;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Zones, EveryZone, testing::ValuesIn(kZones), [](const auto& info) {
  std::string name = info.param;
  for (char& c : name) {
    if (c == '+') c = 'P';
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return name;
});

// What is below a millisecond rides along unchanged.
TEST(Fractions, AreAddedToTheWholeMilliseconds) {
  const DatetimeModule module;
  Random random(2);
  Cases cases(8 * 4000);
  for (const char* zone : {"America/New_York", "Asia/Kathmandu"}) {
    for (const Selector selector : {kYear, kMonth, kDay, kHour}) {
      std::vector<doubledouble> whole, with;
      std::vector<double> values;
      for (int i = 0; i < 4000; ++i) {
        whole.push_back({static_cast<double>(random.whole(-4000000000000, 5000000000000)), 0.0});
        with.push_back(
            two_sum(whole.back().hi,
                    std::ldexp(random.real(0, 1), -static_cast<int>(random.whole(0, 60)))));
        values.push_back(randomValue(random, selector));
      }
      const auto wholeResults = module.results(whole, values, selector, zone);
      const auto results = module.results(with, values, selector, zone);
      for (std::size_t i = 0; i < whole.size(); ++i, ++cases) {
        const double fraction = dd::collapse(dd::subtract(with[i], dd::Floor(with[i])));
        ASSERT_SAME_BITS(results[i], two_sum(fraction, wholeResults[i].hi)) << with[i];
      }
    }
  }
}

}  // namespace
