// Granules hold what the table of offsets holds.
#include "offsets/granules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "support/cases.h"
#include "support/every_zone.h"
#include "support/random.h"

namespace {

// What one word says: the offsets before and after one change.
struct Told {
  bool isTold, isCrowded;
  double start;   // of the granule, in milliseconds since 1970
  double change;  // likewise
  double before, after;

  double at(double t) const { return t < change ? before : after; }
};

double numberOf(double t) { return std::floor(t / kGranuleMillis); }

double fieldOf(std::uint64_t word, int bit) {
  return (static_cast<double>(word >> bit & kGranuleOffsetMask) - kGranuleOffsetBias) * 1000.0;
}

// Before the first granule, and after the last one, those stand for all others.
Told toldAt(const GranuleLine& line, double t) {
  const double number = std::clamp(numberOf(t) - line.first, 0.0, line.last);
  const std::uint64_t word = line.words[static_cast<std::size_t>(number)];
  const double start = (line.first + number) * kGranuleMillis;
  const auto change = static_cast<double>(word & kGranuleChangeMask) - kGranuleChangeBias;
  return {(word & kGranuleUntold) == 0,
          (word & kGranuleCrowded) != 0,
          start,
          start + change * 1000.0,
          fieldOf(word, kGranuleBeforeBit),
          fieldOf(word, kGranuleAfterBit)};
}

bool isCovered(const GranuleLine& line, double t) {
  const double number = numberOf(t) - line.first;
  return 0.0 <= number && number <= line.last;
}

// At random times and next to every change; and from each of them on, within the margin.
TEST(Granules, TellTheOffsetsOfTheTable) {
  Cases cases(1'000'000);
  Random random(5);
  std::int64_t told = 0;
  for (const std::string& id : everyZone()) {
    const auto table = OffsetTable::of(*zoneOf(id));
    ASSERT_TRUE(table) << id;
    const Granules granules(*table);
    const auto check = [&](const OffsetLine& offsets, const GranuleLine& line, double t) {
      const Told word = toldAt(line, t);
      ++cases;
      if (!word.isTold) return;
      ++told;
      ASSERT_EQ(word.at(t), offsetAt(offsets, t)) << id << " at " << t;
      if (word.isCrowded || !isCovered(line, t)) return;
      const double away = std::floor(random.real(-kGranuleMargin, kGranuleMillis + kGranuleMargin));
      ASSERT_EQ(word.at(word.start + away), offsetAt(offsets, word.start + away))
          << id << " at " << t << " and " << word.start + away;
    };
    for (const auto& [offsets, line] : {std::pair(table->instants(), granules.instants()),
                                        std::pair(table->walls(), granules.walls())}) {
      for (int i = 0; i < 400; ++i) {
        const bool isFar = i % 10 == 0;
        const double t = isFar ? random.real(-0x1p52, 0x1p52) : random.real(-6e12, 6e12);
        ASSERT_NO_FATAL_FAILURE(check(offsets, line, std::floor(t)));
      }
      for (std::size_t i = 1; i < offsets.stretches && offsets.starts[i] < 5e12; ++i) {
        for (const double around : {-1.0, 0.0, 1.0})
          ASSERT_NO_FATAL_FAILURE(check(offsets, line, offsets.starts[i] + around));
      }
    }
  }
  EXPECT_GT(told, 800'000) << "most of time, or the test shows little";
}

// The numbers of the granules fit those that look them up.
TEST(Granules, AreNoMoreThanTheirMost) {
  Cases cases(500);
  for (const std::string& id : everyZone()) {
    const auto table = OffsetTable::of(*zoneOf(id));
    ASSERT_TRUE(table) << id;
    const Granules granules(*table);
    EXPECT_LT(granules.instants().last, static_cast<double>(kMostGranules)) << id;
    EXPECT_LT(granules.walls().last, static_cast<double>(kMostGranules)) << id;
    ++cases;
  }
}

// Two changes within one granule are not told there, and one of them is crowded around it.
TEST(Granules, AreSilentWhereTwoChangesComeClose) {
  // Casablanca puts the clock back for Ramadan: on 2012-07-20 and again, forward, on 2012-08-20.
  const auto table = OffsetTable::of(*zoneOf("Africa/Casablanca"));
  ASSERT_TRUE(table);
  const Granules granules(*table);
  Cases cases(100);
  int silent = 0;
  for (double t = 1325376000000.0; t < 1388534400000.0; t += kGranuleMillis / 4, ++cases) {
    const Told word = toldAt(granules.instants(), t);
    silent += !word.isTold || word.isCrowded;
  }
  EXPECT_GT(silent, 0);
  EXPECT_LT(silent, 100);
}

}  // namespace
