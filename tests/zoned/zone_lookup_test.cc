// What the vectors remember of a zone, and when they try what.

#include "zoned/zone_lookup.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "support/cases.h"
#include "support/every_zone.h"
#include "support/random.h"

namespace {

using namespace zone_lanes;

TEST(Stretches, HoldFromTheirFirstEdgeToBeforeTheirLast) {
  const Stretches stretches{{-5.0, 1.0, 2.0, 7.0}, {}, 0};
  EXPECT_TRUE(stretches.hold(-5.0));
  EXPECT_TRUE(stretches.hold(6.5));
  EXPECT_FALSE(stretches.hold(-5.5));
  EXPECT_FALSE(stretches.hold(7.0));
  EXPECT_FALSE(stretches.hold(NAN));
  EXPECT_FALSE(Stretches{}.hold(0.0)) << "empty";
}

// From wherever they were before, to wherever a time lies.
TEST(Stretches, MoveToATime) {
  Cases cases(500000);
  Random random(11);
  for (const std::string& id : everyZone()) {
    const auto table = OffsetTable::of(*zoneOf(id));
    ASSERT_TRUE(table) << id;
    for (const OffsetLine& line : {table->instants(), table->walls()}) {
      Stretches stretches;
      const auto check = [&](double t) {
        moveTo(stretches, line, t);
        ++cases;
        if (!(t < line.cycleEnd)) {
          for (const double edge : stretches.edges) ASSERT_EQ(edge, HUGE_VAL) << id << " at " << t;
          return;
        }
        ASSERT_TRUE(stretches.edges[0] <= t && t < stretches.edges[1]) << id << " at " << t;
        ASSERT_EQ(stretches.offsets[0], offsetAt(line, t)) << id << " at " << t;
        for (int i = 1; i < 3; ++i) {
          if (!(stretches.edges[i] < line.cycleEnd)) continue;
          ASSERT_EQ(stretches.offsets[i], offsetAt(line, stretches.edges[i])) << id << " at " << t;
        }
      };
      for (int i = 0; i < 300; ++i) {
        ASSERT_NO_FATAL_FAILURE(
            check(static_cast<double>(random.whole(-5000000000000, 15000000000000))));
      }
      for (std::size_t i = 1; i < line.stretches - 2 && i < 100; ++i) {
        ASSERT_NO_FATAL_FAILURE(check(line.starts[i] - 1.0));
        ASSERT_NO_FATAL_FAILURE(check(line.starts[i]));
      }
      ASSERT_NO_FATAL_FAILURE(check(NAN));
      if (!std::isfinite(line.cycleEnd)) continue;
      for (const double after : {-1.0, 0.0, 1.0, 1e13}) {
        ASSERT_NO_FATAL_FAILURE(check(line.cycleEnd + after));
        ASSERT_NO_FATAL_FAILURE(check(line.cycleEnd - 1.0));
      }
    }
  }
}

// After the second one in vain the next is skipped, then 3, 7, 15, and no more than that.
TEST(Attempts, AreSkippedTheMoreOftenTheMoreWereInVain) {
  Attempts attempts;
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(attempts.isDue());
    for (const int skipped : {0, 1, 3, 7, 15, 15, 15}) {
      attempts.note(false);
      for (int i = 0; i < skipped; ++i) EXPECT_FALSE(attempts.isDue()) << i << " of " << skipped;
      EXPECT_TRUE(attempts.isDue()) << "after " << skipped;
    }
    attempts.note(true);
    EXPECT_TRUE(attempts.isDue()) << "at once after a success";
  }
}

}  // namespace
