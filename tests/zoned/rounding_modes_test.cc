// The walks in a zone in every rounding mode, with subnormals and without: no result is promised
// there but to nearest, yet no index leaves the zone's tables, whose ends are guarded here. The
// module's entry has calls run to nearest anyway.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "base/component.h"
#include "offsets/granules.h"
#include "support/any_time.h"
#include "support/cases.h"
#include "support/every_zone.h"
#include "support/float_environment.h"
#include "support/guarded_array.h"
#include "support/raised.h"
#include "support/random.h"
#include "zoned/calendar.h"
#include "zoned/table_walk.h"
#include "zoned/vector_walk.h"

namespace {

class GuardedLine {
 public:
  GuardedLine(const zone_lanes::ZoneLine& line, Guard guard)
      : line_(line),
        starts_({line.offsets.starts, line.offsets.stretches + 1}, guard),
        offsets_({line.offsets.offsets, line.offsets.stretches}, guard),
        words_({line.granules.words, static_cast<std::size_t>(line.granules.last) + 1}, guard) {}

  zone_lanes::ZoneLine line() const {
    zone_lanes::ZoneLine guarded = line_;
    guarded.offsets.starts = starts_.data();
    guarded.offsets.offsets = offsets_.data();
    guarded.granules.words = words_.data();
    return guarded;
  }

 private:
  zone_lanes::ZoneLine line_;
  GuardedArray<double> starts_, offsets_;
  GuardedArray<std::uint64_t> words_;
};

// Also at the edges of the stretches that tables remember.
double anyTimeOfTables(Random& random) {
  if (!random.oneIn(10)) return anyTime(random);
  return static_cast<double>(random.whole(-40, 190)) * kGranuleMillis +
         static_cast<double>(random.whole(-2, 2));
}

const char* const kZones[] = {"Europe/Berlin", "America/New_York",  "Asia/Kolkata",
                              "Pacific/Apia",  "Africa/Casablanca", "Etc/UTC",
                              "GMT+05:30:15"};

TEST(RoundingModes, LeaveNoTableOfAZone) {
  if (zonedInstructionSets().empty())
    GTEST_SKIP() << "this processor has no instruction set of this build";
  const auto environments = roundings();
  constexpr std::size_t kCount = 203;  // blocks of 48, and a rest
  Cases cases(static_cast<std::int64_t>(std::size(kZones) * zonedInstructionSets().size() *
                                        environments.size() * kComponents.size()) *
              2 * 3 * 800);
  Random random(43);
  for (const char* name : kZones) {
    const auto calendar = createCalendar(boost::unique_ptr<icu::TimeZone>(zoneOf(name).release()));
    const auto table = OffsetTable::of(calendar->getTimeZone());
    ASSERT_TRUE(table) << name;
    const Granules granules(*table);
    const zone_lanes::Zone zone = zone_lanes::zoneOf(*table, granules);
    for (const Guard guard : {Guard::end, Guard::start}) {
      const GuardedLine instants(zone.instants, guard), walls(zone.walls, guard);
      for (const int kind : {0, 1, 2}) {  // a series, times that vectors claim, all times
        GuardedArray<double> high(kCount), low(kCount), values(kCount);
        GuardedArray<double> resultHigh(kCount), resultLow(kCount);
        for (std::size_t i = 0; i < kCount; ++i) {
          high[i] = kind == 0   ? 1.7e12 + static_cast<double>(i) * 0x1p28
                    : kind == 1 ? static_cast<double>(random.whole(-0x1p43, 0x1p44))
                                : anyTimeOfTables(random);
          low[i] = kind < 2 || random.oneIn(2) ? 0.0 : random.ofExponent(-1074, 2);
          values[i] = kind == 2 && random.oneIn(40) ? std::floor(anyTimeOfTables(random))
                                                    : static_cast<double>(random.whole(-3, 60));
        }
        for (const Component component : kComponents) {
          for (const auto& set : zonedInstructionSets()) {
            for (const FloatEnvironment& environment : environments) {
              // On from behind each element that is refused.
              for (std::size_t from = 0; from < kCount; from += 29) {
                const Elements elements{
                    high.data() + from,       low.data() + from,       values.data() + from, 1,
                    resultHigh.data() + from, resultLow.data() + from, kCount - from};
                CalendarWalk rest(*calendar, component, elements);
                const auto walk = [&] {
                  set.walk({*table, {instants.line(), walls.line()}, component, elements, rest});
                };
                const FloatEnvironment after =
                    runIn(environment, [&] { static_cast<void>(raisedBy(walk)); });
                EXPECT_EQ(after, environment) << set.name;
                cases += static_cast<std::int64_t>(kCount - from);
              }
            }
          }
        }
      }
    }
  }
}

// The search in the table, and the remembered stretches.
TEST(RoundingModes, SearchNowhereElse) {
  Cases cases(500000);
  Random random(47);
  for (const char* name : kZones) {
    const auto table = OffsetTable::of(*zoneOf(name));
    ASSERT_TRUE(table) << name;
    const Granules granules(*table);
    const zone_lanes::Zone zone = zone_lanes::zoneOf(*table, granules);
    for (const Guard guard : {Guard::end, Guard::start}) {
      const GuardedLine guarded(zone.walls, guard);
      const OffsetLine line = guarded.line().offsets;
      for (const FloatEnvironment& environment : roundings()) {
        zone_lanes::Stretches stretches;
        for (int i = 0; i < 5000; ++i) {
          const double t = anyTimeOfTables(random);
          double offset = HUGE_VAL;
          runIn(environment, [&] {
            offset = offsetAt(line, t);
            zone_lanes::moveTo(stretches, line, t);
          });
          ASSERT_LT(std::fabs(offset), 86400000.0) << name << " at " << t << ", " << environment;
          ++cases;
        }
      }
    }
  }
}

}  // namespace
