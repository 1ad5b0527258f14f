// The stretches of equal offsets.
#include "datetime/zone.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/cases.h"
#include "support/every_zone.h"
#include "support/random.h"

namespace plx {
namespace {

TEST(ZoneStretches, OfNewYorkIn2014) {
  const Zone zone = Zone::named("America/New_York");
  const Stretch summer = zone.stretchAt(1400000000);
  ASSERT_TRUE(summer.begin && summer.end);
  EXPECT_EQ(summer.offset, -4 * 3600);
  EXPECT_TRUE(summer.begin->second == 1394348400);
  EXPECT_TRUE(summer.begin->isGap());
  EXPECT_TRUE(summer.begin->wallBefore() == 1394348400 - 5 * 3600);
  EXPECT_TRUE(summer.begin->wallAfter() == 1394348400 - 4 * 3600);
  EXPECT_TRUE(summer.end->second == 1414908000);
  EXPECT_FALSE(summer.end->isGap());
  EXPECT_FALSE(zone.stretchAt(-5000000000).begin);
}

TEST(ZoneStretches, LinesWithoutChangesAreOneStretch) {
  for (const char* text : {"", "UTC", "UTCLeapSeconds", "+05:30", "Etc/UTC"}) {
    const Zone zone = Zone::named(text);
    for (const int128 second : {int128{0}, int128{4503599627370}, int128{-4503599627371}}) {
      const Stretch stretch = zone.stretchAt(second);
      EXPECT_FALSE(stretch.begin || stretch.end) << text;
      EXPECT_EQ(stretch.offset, text == std::string("+05:30") ? 19800 : 0) << text;
    }
  }
}

// In every zone, at random seconds and on both sides of every change.
TEST(ZoneStretches, HoldTheOffsetFromTheirFirstSecondToTheirLast) {
  Cases cases(100'000);
  Random random(1);
  for (const std::string& id : everyZone()) {
    const Zone zone = Zone::named(id);
    std::vector<int128> seconds;
    for (const Change& change : changesOf(*zoneOf(id)))
      for (const int away : {-1, 0, 1})
        seconds.push_back(static_cast<int128>(change.instant / 1000) + away);
    for (int i = 0; i < 20; ++i) seconds.push_back(random.whole(-5'000'000'000, 20'000'000'000));
    for (const int128 second : seconds) {
      const Stretch stretch = zone.stretchAt(second);
      ++cases;
      ASSERT_EQ(stretch.offset, zone.wallTime(second).offsetSeconds) << id;
      if (stretch.begin) {
        ASSERT_TRUE(stretch.begin->second <= second) << id;
        ASSERT_EQ(stretch.begin->after, stretch.offset) << id;
        ASSERT_NE(stretch.begin->before, stretch.offset) << id;
        ASSERT_EQ(stretch.begin->before, zone.wallTime(stretch.begin->second - 1).offsetSeconds);
        ASSERT_EQ(stretch.offset, zone.wallTime(stretch.begin->second).offsetSeconds) << id;
      }
      if (stretch.end) {
        ASSERT_TRUE(second < stretch.end->second) << id;
        ASSERT_EQ(stretch.end->before, stretch.offset) << id;
        ASSERT_NE(stretch.end->after, stretch.offset) << id;
        ASSERT_EQ(stretch.offset, zone.wallTime(stretch.end->second - 1).offsetSeconds) << id;
        ASSERT_EQ(stretch.end->after, zone.wallTime(stretch.end->second).offsetSeconds) << id;
      }
    }
  }
}

}  // namespace
}  // namespace plx
