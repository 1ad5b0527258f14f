// Every way of setting a component in a time zone against the calendar's, bit by bit, in every zone
// that ICU lists: values, errors, and the elements before them. Three million elements; the
// argument --long takes twenty times as many.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/field_codes.h"
#include "support/aligned_doubles.h"
#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_arrays.h"
#include "support/every_zone.h"
#include "support/integer_calendar.h"
#include "support/length.h"
#include "support/raised.h"
#include "support/random.h"
#include "unzoned/lane_constants.h"
#include "zoned/calendar.h"
#include "zoned/calendar_walk.h"
#include "zoned/set_field.h"
#include "zoned/table_walk.h"
#include "zoned/vector_walk.h"

namespace {

int scale = 1;

constexpr std::size_t kComponentCount = kComponents.size();

bool takesFractions(Component component) { return factsOf(component).takesFractions; }

boost::unique_ptr<icu::GregorianCalendar> calendarOf(const std::string& zone) {
  return createCalendar(boost::unique_ptr<icu::TimeZone>(zoneOf(zone).release()));
}

struct Inputs {
  std::vector<double> high, low, values;  // no low parts: empty; values: one, or as many as high

  void add(const doubledouble& t, double v) {
    high.push_back(t.hi);
    low.push_back(t.lo);
    values.push_back(v);
  }
  std::size_t size() const { return high.size(); }
  Elements elements(std::vector<double>& resultHigh, std::vector<double>& resultLow,
                    std::size_t from = 0, std::size_t count = SIZE_MAX) const {
    const bool each = values.size() > 1;
    return {.high = high.data() + from,
            .low = low.empty() ? nullptr : low.data() + from,
            .values = values.data() + (each ? from : 0),
            .step = each ? std::size_t{1} : 0,
            .resultHigh = resultHigh.data() + from,
            .resultLow = resultLow.data() + from,
            .count = std::min(count, size() - from)};
  }
};

struct Expected {
  std::vector<double> high, low;
  std::vector<std::string> error;  // of each element; empty where it is set
};

class Zone {
 public:
  explicit Zone(const std::string& name)
      : id(name),
        zone(zoneOf(name)),
        calendar(calendarOf(name)),
        table(OffsetTable::of(calendar->getTimeZone())) {
    if (table) granules.emplace(*table);
  }

  Expected byCalendar(Component component, const Inputs& in) const {
    Expected all{std::vector<double>(in.size()), std::vector<double>(in.size()),
                 std::vector<std::string>(in.size())};
    CalendarWalk walk(*calendar, component, in.elements(all.high, all.low));
    paSetErrorsReturn(true);
    for (std::size_t i = 0; i < in.size(); ++i) {
      try {
        walk.set(i);
      } catch (const brel::except::IMsgIDException& error) {
        all.error[i] = error.GetID();
      }
    }
    paSetErrorsReturn(false);
    return all;
  }

  double oneByCalendar(Component component, double t, double v) const {
    double high = 0.0, low = 0.0;
    CalendarWalk(*calendar, component, {&t, nullptr, &v, 0, &high, &low, 1}).set(0);
    return high;
  }

  const std::string id;
  const std::unique_ptr<icu::BasicTimeZone> zone;
  const boost::unique_ptr<icu::GregorianCalendar> calendar;
  const std::optional<OffsetTable> table;
  std::optional<Granules> granules;
};

struct Way {
  std::string name;
  std::function<void(const Zone&, Component, const Elements&)> run;
};

// What a processor is given that has no instruction set of the build.
void runTableWalk(const Zone& zone, Component component, const Elements& elements) {
  CalendarWalk rest(*zone.calendar, component, elements);
  bestZonedWalk({})(
      {*zone.table, zone_lanes::zoneOf(*zone.table, *zone.granules), component, elements, rest});
}

void runSetField(const Zone& zone, Component component, const Elements& e) {
  const auto arrayOf = [](const double* data, std::size_t n) {
    return std::vector<double>(data, data + n);
  };
  const std::vector<double> low = e.low ? arrayOf(e.low, e.count) : std::vector<double>();
  const Array datetimes = doubles(arrayOf(e.high, e.count), e.low ? &low : nullptr);
  const Array values = doubles(arrayOf(e.values, e.step ? e.count : 1));
  const std::vector<double> before(e.count, 77.0);
  const Array result = doubles(before, &before);
  const auto store = [&] {
    std::copy_n(paGetRealData(result.get()), e.count, e.resultHigh);
    std::copy_n(paGetImagData(result.get()), e.count, e.resultLow);
  };
  try {
    setField(datetimes.get(), values.get(), fieldOf(component), result.get(),
             boost::unique_ptr<icu::GregorianCalendar>(zone.calendar->clone()));
  } catch (...) {
    store();
    throw;
  }
  store();
}

std::vector<Way> makeWays() {
  std::vector<Way> all = {{"table", runTableWalk}, {"setField", runSetField}};
  for (const ZonedInstructionSet& set : zonedInstructionSets()) {
    const auto run = [walk = set.walk](const Zone& zone, Component component,
                                       const Elements& elements) {
      CalendarWalk rest(*zone.calendar, component, elements);
      walk({*zone.table, zone_lanes::zoneOf(*zone.table, *zone.granules), component, elements,
            rest});
    };
    all.push_back({set.name, run});
  }
  return all;
}

const std::vector<Way>& ways() {
  static const std::vector<Way> all = makeWays();
  return all;
}

constexpr const char* kNoSet = "this processor has no instruction set of this build";

TEST(BestWalk, IsTheFirst) {
  const auto one = [](const ZonedCall&) {};
  const auto other = [](const ZonedCall&) { FAIL(); };
  EXPECT_EQ(bestZonedWalk({{"best", one}, {"other", other}}), +one);
}

TEST(Ways, AreTheTableTheSetterAndEveryInstructionSet) {
  EXPECT_EQ(ways().size(), 2 + zonedInstructionSets().size());
  for (const Way& way : ways()) std::printf("%s\n", way.name.c_str());
}

// The elements up to the first error, that one included, then those up to the next: each stretch in
// one run of the way.
void compare(const Way& way, const Zone& zone, Component component, const Inputs& in,
             const Expected& expected) {
  std::vector<double> high(in.size(), 77.0), low(in.size(), 77.0);
  for (std::size_t from = 0; from < in.size();) {
    std::size_t end = from;
    while (end < in.size() && expected.error[end].empty()) ++end;
    const bool fails = end < in.size();
    const auto raised = raisedBy([&] {
      // Further elements after the one that fails, which no way may reach with an error of theirs.
      const std::size_t count = fails ? std::min(in.size() - from, end - from + 3) : end - from;
      way.run(zone, component, in.elements(high, low, from, count));
    });
    const std::string error = fails ? expected.error[end] : "";
    ASSERT_EQ(raised ? raised->identifier : "", error)
        << way.name << ", " << zone.id << ", " << factsOf(component).name << ", element " << end;
    for (std::size_t i = from; i < end; ++i) {
      ASSERT_SAME_BITS((doubledouble{high[i], low[i]}),
                       (doubledouble{expected.high[i], expected.low[i]}))
          << way.name << ", " << zone.id << ", " << factsOf(component).name << " of "
          << doubledouble{in.high[i], in.low.empty() ? 0.0 : in.low[i]} << " to "
          << in.values[in.values.size() == 1 ? 0 : i];
    }
    from = end + 1;
  }
}

// With one value for each element, and the same with one for all and no low parts.
void compareAll(const Zone& zone, Component component, const Inputs& in, Cases& cases) {
  if (in.size() == 0) return;
  const Expected expected = zone.byCalendar(component, in);
  Inputs single{in.high, {}, {in.values[in.size() / 2]}};
  const Expected ofSingle = zone.byCalendar(component, single);
  for (const Way& way : ways()) {
    ASSERT_NO_FATAL_FAILURE(compare(way, zone, component, in, expected));
    ASSERT_NO_FATAL_FAILURE(compare(way, zone, component, single, ofSingle));
  }
  cases += static_cast<std::int64_t>(in.size() + single.size());
}

double usualValue(Random& random, Component component) {
  const auto pick = [&](std::int64_t low, std::int64_t high) {
    return static_cast<double>(random.whole(low, high));
  };
  switch (component) {
    case Component::year:
      return pick(1850, 2250);
    case Component::quarter:
      return pick(1, 4);
    case Component::month:
      return pick(1, 12);
    case Component::weekOfYear:
      return pick(1, 54);
    case Component::dayOfMonth:
      return pick(1, 31);
    case Component::dayOfYear:
      return pick(1, 366);
    case Component::dayOfWeek:
      return pick(1, 7);
    case Component::hour:
      return pick(0, 23);
    case Component::minute:
      return pick(0, 59);
    case Component::second:
      return random.oneIn(2) ? pick(0, 59) : pick(0, 59999) / 1000.0;
    default:
      return random.oneIn(2) ? pick(0, 86399) : pick(0, 86399999) / 1000.0;
  }
}

// Whole, far out of the usual range, and within 32 bits.
double unusualValue(Random& random, Component component) {
  const double limit = std::min(factsOf(component).largestInZone, 0x1p31 - 1.0);
  if (random.oneIn(3)) return static_cast<double>(random.whole(-100, 100));
  if (random.oneIn(3)) return random.oneIn(2) ? limit : -limit;
  const double magnitude = std::min(limit, std::exp2(random.real(0.0, std::log2(limit))));
  const double v = std::trunc(random.oneIn(2) ? magnitude : -magnitude);
  return takesFractions(component) ? v + random.real(-1.0, 1.0) : v;
}

// May be refused.
double anyValue(Random& random, Component component) {
  switch (random.whole(0, 9)) {
    case 0:
      return random.anyBits();
    case 1:
      return kAwkwardDoubles[static_cast<std::size_t>(random.whole(0, kAwkwardDoubles.size() - 1))];
    case 2: {
      const double limit = std::min(factsOf(component).largestInZone, 0x1p31);
      return (random.oneIn(2) ? limit : -limit) + static_cast<double>(random.whole(-1, 1));
    }
    case 3:
      return random.real(-3e9, 3e9);
    case 4:
      return usualValue(random, component) + 0.5;
    default:
      return unusualValue(random, component);
  }
}

doubledouble usualTime(Random& random) {
  return {static_cast<double>(random.whole(-5364662400000, 9000000000000)), 0.0};
}

doubledouble normalisedTime(Random& random) {
  return two_sum(usualTime(random).hi,
                 std::ldexp(random.real(-1.0, 1.0), -static_cast<int>(random.whole(0, 80))));
}

doubledouble anyTime(Random& random) {
  switch (random.whole(0, 11)) {
    case 0:
      return {random.anyBits(), random.oneIn(2) ? 0.0 : random.anyBits()};
    case 1:
      return {
          kAwkwardDoubles[static_cast<std::size_t>(random.whole(0, kAwkwardDoubles.size() - 1))],
          kAwkwardDoubles[static_cast<std::size_t>(random.whole(0, kAwkwardDoubles.size() - 1))]};
    case 2: {  // at the ends
      const double end = random.oneIn(2) ? 0x1p52 : -0x1p52;
      return two_sum(end + static_cast<double>(random.whole(-2, 2)), random.real(-1.0, 1.0));
    }
    case 3:
    case 4:
      return {static_cast<double>(random.whole(-4503599627370496, 4503599627370496)), 0.0};
    case 5: {
      const double end = random.oneIn(2) ? 0x1p49 : -0x1p49;
      return {end + static_cast<double>(random.whole(-100000000, 100000000)), 0.0};
    }
    case 6:  // not normalised
      return {usualTime(random).hi, random.real(-100.0, 100.0)};
    default:
      return normalisedTime(random);
  }
}

// The value that a component has in the wall time.
double valueOf(Component component, std::int64_t wall) {
  using namespace integer_calendar;
  const Int day = floorDiv(wall, 86400000);
  const auto ms = static_cast<double>(wall - day * 86400000);
  const Date date = dateOf(day);
  const auto dayOfYear = static_cast<double>(day - firstOfYear(date.year) + 1);
  switch (component) {
    case Component::year:
      return static_cast<double>(date.year);
    case Component::quarter:
      return (date.month + 2) / 3;
    case Component::month:
      return date.month;
    case Component::weekOfYear: {
      const Int first = firstOfYear(dateOf(day - weekday(day) + 6).year);
      return static_cast<double>((day - (first - weekday(first))) / 7 + 1);
    }
    case Component::dayOfMonth:
      return date.day;
    case Component::dayOfYear:
      return dayOfYear;
    case Component::dayOfWeek:
      return weekday(day) + 1;
    case Component::hour:
      return std::floor(ms / 3600000.0);
    case Component::minute:
      return std::floor(std::fmod(ms, 3600000.0) / 60000.0);
    case Component::second:
      return std::fmod(ms, 60000.0) / 1000.0;
    default:
      return ms / 1000.0;
  }
}

class Walks : public testing::Test {
 protected:
  Random random_{4};
};

// As instants: the moments around every transition, set to anything. As wall times: something else
// set to what leads to the moments that clocks show around it.
TEST_F(Walks, AroundEveryTransition) {
  Cases cases(ofWhole(900000));
  for (const std::string& id : zonesOfThisRun()) {
    const Zone zone(id);
    ASSERT_TRUE(zone.table) << id;
    Inputs inputs[kComponentCount];
    for (const Change& change : changesOf(*zone.zone)) {
      for (const double around : {-1.0, 0.0, 1.0}) {
        for (int times = 0; times < 2 * scale; ++times) {
          const auto which = static_cast<std::size_t>(random_.whole(0, kComponentCount - 1));
          inputs[which].add({change.instant + around, 0.0},
                            random_.oneIn(4) ? unusualValue(random_, kComponents[which])
                                             : usualValue(random_, kComponents[which]));
          const double wall =
              change.instant + around + (random_.oneIn(2) ? change.before : change.after);
          const auto other = static_cast<std::size_t>(random_.whole(0, kComponentCount - 1));
          const Component component = kComponents[other];
          const double from =
              zone.oneByCalendar(component, wall - change.after, usualValue(random_, component));
          inputs[other].add({from, 0.0}, valueOf(component, static_cast<std::int64_t>(wall)));
        }
      }
    }
    for (std::size_t i = 0; i < kComponentCount; ++i) {
      ASSERT_NO_FATAL_FAILURE(compareAll(zone, kComponents[i], inputs[i], cases));
    }
  }
}

TEST_F(Walks, UsualElements) {
  Cases cases(ofUsual(800000));
  for (const std::string& id : everyUsualZone()) {
    const Zone zone(id);
    for (const Component component : kComponents) {
      Inputs in;
      for (int i = 0; i < 60 * scale; ++i)
        in.add(usualTime(random_), usualValue(random_, component));
      ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
    }
  }
}

// The same in order, as in a time series.
TEST_F(Walks, Series) {
  Cases cases(ofUsual(500000));
  for (const std::string& id : everyUsualZone()) {
    const Zone zone(id);
    const auto start = static_cast<double>(random_.whole(-2000000000000, 2500000000000));
    const double step = std::exp2(random_.real(0.0, 34.0));
    for (const Component component : kComponents) {
      Inputs in;
      for (int i = 0; i < 40 * scale; ++i) {
        in.add({std::floor(start + step * i), 0.0}, usualValue(random_, component));
      }
      ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
    }
  }
}

// So few elements a year that a block seldom lies in three stretches of constant offset, and half a
// block often does; also where offsets change four times a year. Some are no whole milliseconds.
TEST_F(Walks, SeriesTooThinForTheirStretches) {
  Cases cases(3 * 11 * 2 * 12 * 200 * std::int64_t{scale});
  for (const char* id : {"America/New_York", "Africa/Casablanca", "Australia/Lord_Howe"}) {
    const Zone zone(id);
    for (const Component component : kComponents) {
      for (int round = 0; round < 12 * scale; ++round) {
        const double step = random_.real(5.0, 16.0) * 86400000.0;
        const double start = std::floor(random_.real(0.0, 0x1p40));
        const bool haveQuarters = round % 2 == 1;
        Inputs in;
        for (int i = 0; i < 200; ++i) {
          const double t = std::floor(start + step * (i + random_.real(-0.4, 0.4)));
          const auto quarters = static_cast<double>(haveQuarters ? random_.whole(0, 3) : 0);
          in.add({t + 0.25 * quarters, 0.0}, usualValue(random_, component));
        }
        ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
      }
    }
  }
}

// A series of many stretches, with values around those from which on a component can lead out of
// the stretches that its datetimes are in.
TEST_F(Walks, SeriesOfFarValues) {
  Cases cases(ofUsual(600000));
  const auto furthestOf = [](Component component) {
    switch (component) {
      case Component::dayOfMonth:
        return 31.0;
      case Component::hour:
        return 144.0;
      case Component::minute:
        return 8640.0;
      case Component::second:
      case Component::timeOfDay:
        return 518400.0;
      default:
        return 24.0;
    }
  };
  const std::vector<std::string> ids = everyUsualZone();
  for (std::size_t zone = 0; zone < ids.size(); zone += 3) {
    const Zone at(ids[zone]);
    for (const Component component : kComponents) {
      const auto start = static_cast<double>(random_.whole(-2100000000000, 3500000000000));
      const double step = std::exp2(random_.real(20.0, 33.0));
      const double furthest = furthestOf(component);
      const bool arePlain = random_.oneIn(2);
      Inputs in;
      for (int i = 0; i < 130 * scale; ++i) {
        const double around = furthest + static_cast<double>(random_.whole(arePlain ? -1 : 0, 1));
        const double v = arePlain && random_.oneIn(4) ? usualValue(random_, component)
                         : random_.oneIn(2)           ? around
                                                      : -around;
        in.add({std::floor(start + step * (i + random_.real(0.0, 1.0))), 0.0}, v);
      }
      ASSERT_NO_FATAL_FAILURE(compareAll(at, component, in, cases));
    }
  }
}

// So many that their results are written past the caches where they begin at a line of those.
TEST(Ways, MoreThanCachesHold) {
  if (zonedInstructionSets().empty()) GTEST_SKIP() << kNoSet;
  constexpr std::size_t kCount = lanes::kPastCaches + 13;
  Cases cases(ofUsual(std::int64_t{kCount} * std::int64_t{kComponentCount} * 2));
  Random random(17);
  const Zone zone("America/New_York");
  int turn = 0;
  for (const Component component : kComponents) {
    if (!isVisited(turn++)) continue;
    Inputs in;
    for (std::size_t i = 0; i < kCount; ++i) {
      // Random, but for a series, and with some crowds of odd elements.
      const bool isOdd = i % 50000 < 100;
      const double usual = i < kCount / 2 ? static_cast<double>(random.whole(0, 2208988800000))
                                          : 900000.0 * static_cast<double>(i);
      in.add(isOdd ? normalisedTime(random) : doubledouble{usual, 0.0},
             usualValue(random, component));
    }
    std::vector<double> tableHigh(kCount), tableLow(kCount);
    runTableWalk(zone, component, in.elements(tableHigh, tableLow));
    for (const ZonedInstructionSet& set : zonedInstructionSets()) {
      for (const auto& [behind, lowBehind] : {std::pair{0, 0}, {0, 1}}) {
        AlignedDoubles high(kCount, static_cast<std::size_t>(behind), 77.0);
        AlignedDoubles low(kCount, static_cast<std::size_t>(lowBehind), 77.0);
        Elements e = in.elements(tableHigh, tableLow);
        e.resultHigh = high.data();
        e.resultLow = low.data();
        CalendarWalk rest(*zone.calendar, component, e);
        set.walk(
            {*zone.table, zone_lanes::zoneOf(*zone.table, *zone.granules), component, e, rest});
        for (std::size_t i = 0; i < kCount; ++i, ++cases) {
          const doubledouble expected{tableHigh[i], tableLow[i]}, result{high[i], low[i]};
          ASSERT_TRUE(sameBits(result, expected))
              << set.name << ", " << factsOf(component).name << ", " << i << ": " << result
              << ", not " << expected;
        }
      }
    }
  }
}

// Across the year in which the table of a zone with yearly rules ends and recurs, both ways.
TEST_F(Walks, SeriesAcrossTheEndOfTheTable) {
  Cases cases(10000);
  for (const char* id : {"America/New_York", "Australia/Sydney", "Africa/Casablanca"}) {
    const Zone zone(id);
    const double end = zone.table->instants().cycleEnd;
    for (const double step : {3600000.0, 86400000.0, 20.0 * 86400000.0}) {
      for (const Component component : kComponents) {
        Inputs in;
        for (int i = -48; i < 72; ++i) {  // the end is where a block begins
          const double start = std::isfinite(end) ? end : 0.0;
          in.add({start + step * i, 0.0}, usualValue(random_, component));
        }
        ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
        std::reverse(in.high.begin(), in.high.end());
        ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
      }
    }
  }
}

TEST_F(Walks, AnyElements) {
  Cases cases(ofWhole(800000));
  for (const std::string& id : zonesOfThisRun()) {
    const Zone zone(id);
    for (const Component component : kComponents) {
      Inputs in;
      for (int i = 0; i < 60 * scale; ++i) {
        const bool isUsual = random_.oneIn(2);
        in.add(isUsual ? usualTime(random_) : anyTime(random_),
               isUsual && random_.oneIn(2) ? anyValue(random_, component)
                                           : usualValue(random_, component));
      }
      ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
    }
  }
}

// An error at every position of a few vectors, alone and before others.
TEST_F(Walks, ErrorsAtEveryPosition) {
  Cases cases(ofUsual(5000));
  const Zone zone("America/New_York");
  int turn = 0;
  for (const Component component : {Component::month, Component::hour, Component::second}) {
    for (std::size_t n = 1; n <= 70; n = n < 20 ? n + 1 : n + 25) {
      for (std::size_t at = 0; at < n; ++at) {
        if (!isVisited(turn++)) continue;
        Inputs in;
        for (std::size_t i = 0; i < n; ++i) {
          in.add(i < at || random_.oneIn(2) ? usualTime(random_) : doubledouble{0x1p53, 0.0},
                 usualValue(random_, component));
        }
        if (at % 2 == 0 || component == Component::second) {
          in.high[at] = 0x1p53;
        } else {
          in.values[at] = 1.5;
        }
        ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
      }
    }
  }
}

// Otherwise as created. (A change date that was set once stays in force in part.)
icu::GregorianCalendar withJulianPast(const icu::TimeZone& zone) {
  UErrorCode status = U_ZERO_ERROR;
  icu::GregorianCalendar calendar(zone, "en_US", status);
  EXPECT_TRUE(U_SUCCESS(status));
  EXPECT_EQ(calendar.getGregorianChange(), -12219292800000.0);
  return calendar;
}

// One element that is no usual one at every position of a few vectors and blocks.
TEST_F(Walks, OneOddElementAtEveryPosition) {
  Cases cases(ofWhole(100000));
  const Zone zone("America/New_York");
  int turn = 0;
  for (const Component component : kComponents) {
    for (const double odd :
         {kNan, -kNan, kInf, -kInf, -0.0, 0.5, 0x1p49 + 1, -0x1p51, 0x1p52 + 2}) {
      for (std::size_t at = 0; at < 115; at += testsAreWhole() && at < 20 ? 1 : 7) {
        if (!isVisited(turn++)) continue;
        Inputs in;
        for (std::size_t i = 0; i < 115; ++i)
          in.add(usualTime(random_), usualValue(random_, component));
        Inputs withOddValue = in;
        in.high[at] = odd;
        in.low.clear();
        withOddValue.values[at] = odd;
        ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
        ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, withOddValue, cases));
      }
    }
  }
}

// A pair with all the low part that the high part leaves room for, at any depth.
doubledouble withLow(Random& random, double high) {
  const double magnitude = std::fabs(high);
  const double place = std::nextafter(magnitude, kInf) - magnitude;
  const double low =
      std::ldexp(random.real(-0.25, 0.25) * place, -static_cast<int>(random.whole(0, 60)));
  return two_sum(high, low);
}

// Just before 1970 what is below a millisecond has more bits than the whole one before it leaves
// room for: its distance from there rounds, and which way it does hangs on the low part.
TEST_F(Walks, FractionsBesideZero) {
  Cases cases(2 * 11 * 4000 * std::int64_t{scale});
  const Zone zone("America/New_York");
  for (const Component component : kComponents) {
    Inputs in;
    for (int i = 0; i < 4000 * scale; ++i) {
      const double high = random_.oneIn(2) ? random_.real(-1.0, 1.0) : random_.ofExponent(-120, 0);
      in.add(withLow(random_, high), usualValue(random_, component));
    }
    ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
  }
}

// At the ends of what the vectors claim, with a low part that leads back or beyond, among others that
// are written all the same.
TEST_F(Walks, LowPartsAtTheEndsOfTheDomain) {
  Cases cases(2 * 11 * 4 * 6 * 100);
  const Zone zone("America/New_York");
  for (const Component component : kComponents) {
    for (const double end : {-0x1p49, 0x1p49, -0x1p49 + 1.0, 0x1p49 - 1.0}) {
      for (const double low : {-0.01, 0.01, -0x1p-40, 0x1p-40, -DBL_TRUE_MIN, DBL_TRUE_MIN}) {
        Inputs in;
        for (int i = 0; i < 100; ++i) in.add(usualTime(random_), usualValue(random_, component));
        in.high[50] = end;
        in.low[50] = low;
        ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
      }
    }
  }
}

// Long blocks that one offset serves, but for an element somewhere among them: another stretch of
// the zone, another calendar's time, a fraction, or a value that leads elsewhere.
TEST_F(Walks, OneOddElementInSteadyTimes) {
  constexpr std::size_t kCount = 1000;
  Cases cases(ofWhole(11 * 4 * 13 * 4 * std::int64_t{kCount}));
  int turn = 0;
  for (const char* id : {"America/New_York", "Asia/Kolkata", "GMT+05:30", "Asia/Tehran"}) {
    const Zone zone(id);
    for (const Component component : kComponents) {
      for (const double odd :
           {kNan, -kNan, kInf, -kInf, -0.0, 0.5, 1404172800000.25, 1388534400000.0, 1414879200000.0,
            -2208988800000.0, 4102444800000.0, 0x1p49 + 1, 1e300}) {
        for (const std::size_t at : {1, 47, 400, 767, 768, 998}) {
          if (!testsAreWhole() && ++turn % (testsAreShort() ? 57 : 7) != 0)
            continue;  // each position in its turn
          Inputs in;
          for (std::size_t i = 0; i < kCount; ++i) {  // the July of 2014
            const double t = 1404172800000.0 + std::floor(random_.real(0, 30 * 86400000.0));
            in.add({t, 0.0}, usualValue(random_, component));
          }
          Inputs withOddValue = in;
          in.high[at] = odd;
          in.low.clear();
          ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
          withOddValue.values[at] = random_.oneIn(2) ? 13.0 : odd;
          ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, withOddValue, cases));
        }
      }
    }
  }
}

// A series across a change, but for one element that lies years before or after it, in each decade
// that the quickest ways take. Set to the year of the others it is one of them.
TEST_F(Walks, OneElementFarFromItsSeries) {
  constexpr double kYear = 365.25 * 86400000.0;
  Cases cases(200000);
  const Zone zone("America/New_York");
  for (const Component component : kComponents) {
    for (int year = 1920; year <= 2080; year += 10) {
      const double april = std::floor((year - 1970 + 0.3) * kYear);
      for (const double years : {-30.0, -4.0, -1.0, 1.0, 4.0, 9.0, 30.0}) {
        for (const std::size_t at : {1, 13, 46}) {
          Inputs in;
          for (int i = 0; i < 48; ++i) {
            const double v = component == Component::year ? year : usualValue(random_, component);
            in.add({april + i * 43200000.0, 0.0}, v);
          }
          in.high[at] += years * kYear;
          ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
        }
      }
    }
  }
}

// A series across two changes, with one element within a millisecond of the changes before and after
// these, or set to there. All others stay where they are.
TEST_F(Walks, OneElementAtTheEdgesOfItsSeries) {
  Cases cases(ofUsual(250000));
  const Zone zone("America/New_York");
  const std::vector<Change> changes = changesOf(*zone.zone);
  const auto wallOf = [&](double t) { return t + offsetAt(zone.table->instants(), t); };
  int turn = 0;
  for (std::size_t first = 1; first + 3 < changes.size(); first += 15) {
    const double begin = changes[first].instant, end = changes[first + 3].instant;
    for (const Component component : kComponents) {
      if (!isVisited(turn++)) continue;
      Inputs series;
      for (int i = 0; i < 48; ++i) {
        const double t = std::floor(begin + (end - begin) * (i + 0.5) / 48);
        series.add({t, 0.0}, valueOf(component, static_cast<std::int64_t>(wallOf(t))));
      }
      for (const Change& edge : {changes[first], changes[first + 3]}) {
        for (const double around : {-1.0, 0.0, 1.0}) {
          Inputs in = series, setThere = series;
          in.high[20] = edge.instant + around;
          in.values[20] =
              component == Component::year ? series.values[20] : usualValue(random_, component);
          ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
          const double wall = edge.instant + around + std::max(edge.before, edge.after);
          setThere.values[20] = valueOf(component, static_cast<std::int64_t>(wall));
          setThere.high[20] = zone.oneByCalendar(component, wall - edge.after, series.values[20]);
          ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, setThere, cases));
        }
      }
    }
  }
}

// From one side of 1970 as far to the other, from summer to winter: the sum of both times is small,
// but not the way between them.
TEST_F(Walks, FromOneSideOf1970ToTheOther) {
  constexpr double kDay = 86400000.0;
  Cases cases(3 * 6 * 2 * 48);
  const Zone zone("America/New_York");
  const std::pair<Component, double> unitsPerDay[] = {
      {Component::hour, 24.0}, {Component::minute, 1440.0}, {Component::second, 86400.0}};
  for (const auto& [component, units] : unitsPerDay) {
    for (const double day : {-625.0, -200.0, -20.0, 20.0, 260.0, 625.0}) {
      Inputs in;
      for (int i = 0; i < 48; ++i) {
        const double t = std::floor((day + random_.real(-1.0, 1.0)) * kDay);
        in.add({t, 0.0}, -2.0 * day * units + static_cast<double>(random_.whole(-5, 5)));
      }
      ASSERT_NO_FATAL_FAILURE(compareAll(zone, component, in, cases));
    }
  }
}

// Calendars configured otherwise give their own answers.
TEST(SetField, AsksOtherCalendars) {
  struct Row {
    const char* why;
    void (*configure)(icu::GregorianCalendar&);
    Component component;
    double t, v;
  };
  const double gap = 1394323200000.0, overlap = 1414879200000.0;  // 2014-03-09, 2014-11-01/02
  const Row rows[] = {
      {"a Julian past", [](icu::GregorianCalendar& c) { c = withJulianPast(c.getTimeZone()); },
       Component::year, 0.0, 1400.0},
      {"skipped times read with the later offset",
       [](icu::GregorianCalendar& c) { c.setSkippedWallTimeOption(UCAL_WALLTIME_FIRST); },
       Component::timeOfDay, gap + 43200000.0, 9000.0},
      {"the first of repeated times",
       [](icu::GregorianCalendar& c) { c.setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST); },
       Component::timeOfDay, overlap + 64800000.0, 5400.0},
      {"weeks that begin on Monday",
       [](icu::GregorianCalendar& c) { c.setFirstDayOfWeek(UCAL_MONDAY); }, Component::dayOfWeek,
       1394496000000.0, 1.0},
      {"weeks of at least four days",
       [](icu::GregorianCalendar& c) { c.setMinimalDaysInFirstWeek(4); }, Component::weekOfYear,
       1293926400000.0, 10.0},
  };
  Cases cases(5);
  for (const Row& row : rows) {
    const auto usual = calendarOf("America/New_York");
    const auto other = calendarOf("America/New_York");
    row.configure(*other);
    const Inputs in{std::vector<double>(200, row.t), {}, {row.v}};
    std::vector<double> high(200), low(200);
    double asUsual = 0.0, expected = 0.0, zero = 0.0;
    CalendarWalk(*usual, row.component, {&row.t, nullptr, &row.v, 0, &asUsual, &zero, 1}).set(0);
    CalendarWalk(*other, row.component, {&row.t, nullptr, &row.v, 0, &expected, &zero, 1}).set(0);
    EXPECT_NE(asUsual, expected) << row.why << ": the row shows nothing";
    EXPECT_TRUE(isCreatedCalendar(*usual));
    EXPECT_FALSE(isCreatedCalendar(*other)) << row.why;
    const Array result = doubles(high, &low);
    setField(doubles(in.high).get(), doubles(in.values).get(), fieldOf(row.component), result.get(),
             boost::unique_ptr<icu::GregorianCalendar>(other->clone()));
    for (const doubledouble& x : elements(result)) {
      ASSERT_SAME_BITS(x, (doubledouble{expected, 0.0})) << row.why;
    }
    ++cases;
  }
  const auto strict = calendarOf("America/New_York");
  strict->setLenient(false);
  EXPECT_FALSE(isCreatedCalendar(*strict)) << "refuses what carries";
  struct OwnCalendar : icu::GregorianCalendar {
    explicit OwnCalendar(const icu::GregorianCalendar& c) : GregorianCalendar(c) {}
  };
  EXPECT_FALSE(isCreatedCalendar(OwnCalendar(*calendarOf("America/New_York"))))
      << "a class of the host's own";
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc > 1 && std::strcmp(argv[1], "--long") == 0) scale = 20;
  return RUN_ALL_TESTS();
}
