// The table of a zone's offsets against ICU's answers.

#include "offsets/offset_table.h"

#include <gtest/gtest.h>
#include <unicode/rbtz.h>
#include <unicode/simpletz.h>
#include <unicode/vtzone.h>

#include <algorithm>
#include <cmath>

#include "arith/civil.h"
#include "support/cases.h"
#include "support/every_zone.h"
#include "support/random.h"

namespace {

double offsetByICU(const icu::BasicTimeZone& zone, double instant) {
  int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(instant, false, raw, saving, status);
  EXPECT_TRUE(U_SUCCESS(status));
  return static_cast<double>(raw) + saving;
}

double localOffsetByICU(const icu::BasicTimeZone& zone, double wall) {
  int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffsetFromLocal(wall, UCAL_TZ_LOCAL_FORMER, UCAL_TZ_LOCAL_LATTER, raw, saving, status);
  EXPECT_TRUE(U_SUCCESS(status));
  return static_cast<double>(raw) + saving;
}

std::vector<std::string> allZones() {
  std::vector<std::string> all = everyZone();
  for (const char* fixed : {"GMT+3", "GMT-05:30", "GMT+05:30:15", "GMT+23:59:59"}) {
    all.emplace_back(fixed);
  }
  return all;
}

TEST(OffsetTable, EveryZoneFits) {
  Cases cases(600);
  for (const std::string& id : allZones()) {
    EXPECT_TRUE(OffsetTable::of(*zoneOf(id))) << id;
    ++cases;
  }
}

// Of the zones of one offset those that have the table's; of others none, not even the table's own.
TEST(OffsetTable, OfOneOffsetIsSeenAtOnce) {
  const std::vector<std::string> all = allZones();
  const auto soleOffset = [](const OffsetTable& table) {
    const OffsetLine line = table.instants();
    return line.starts[1] == HUGE_VAL ? line.offsets[0] : kNan;
  };
  Cases cases(all.size() * 6);
  std::size_t same = 0;
  for (const char* id :
       {"Etc/UTC", "GMT+3", "Etc/GMT+12", "Asia/Tokyo", "America/New_York", "Africa/Algiers"}) {
    const auto table = OffsetTable::of(*zoneOf(id));
    ASSERT_TRUE(table) << id;
    for (const std::string& other : all) {
      const auto zone = zoneOf(other);
      const bool isSame = soleOffset(*table) == soleOffset(*OffsetTable::of(*zone));
      EXPECT_EQ(table->isOneOffsetOf(*zone), isSame) << id << " and " << other;
      same += isSame;
      ++cases;
    }
  }
  EXPECT_GT(same, 10U);
}

TEST(OffsetTable, AgreesWithICUInEveryZone) {
  Cases cases(2000000);
  Random random(3);
  for (const std::string& id : allZones()) {
    const auto zone = zoneOf(id);
    const auto table = OffsetTable::of(*zone);
    ASSERT_TRUE(table) << id;
    const auto check = [&](double t) {
      ASSERT_EQ(offsetAt(table->instants(), t), offsetByICU(*zone, t))
          << id << " at the instant " << t;
      ASSERT_EQ(offsetAt(table->walls(), t), localOffsetByICU(*zone, t))
          << id << " at the wall time " << t;
      cases += 2;
    };
    for (const Change& change : changesOf(*zone)) {
      for (const double t :
           {change.instant, change.instant + change.before, change.instant + change.after}) {
        for (const double around : {-1000.0, -1.0, 0.0, 1.0, 1000.0}) check(t + around);
      }
    }
    for (int i = 0; i < 500; ++i) {
      check(static_cast<double>(random.whole(-4503599627370496, 4503599627370496)));
      check(static_cast<double>(random.whole(-4000000000000, 20000000000000)));
    }
    // The turn of a year, where yearly rules begin and cycles end.
    for (int year = 1999; year < 2500; ++year) {
      const double newYear = 86400000.0 * std::floor((year - 1970) * 365.2425 + 0.5);
      check(newYear + static_cast<double>(random.whole(-200000000, 200000000)));
    }
  }
}

// The turn of each month, in years of every kind. In the hours in which UTC and the clock are in different
// months, ICU's offsets need not be what a yearly rule in UTC says: rules for which that matters are refused
// (tests/rules/made_rules_test.cc), and no zone has one.
TEST(OffsetTable, AgreesWithICUAtTheTurnOfEveryMonth) {
  Cases cases(2000000);
  for (const std::string& id : allZones()) {
    const auto zone = zoneOf(id);
    const auto table = OffsetTable::of(*zone);
    ASSERT_TRUE(table) << id;
    for (int year = 2009; year < 2009 + 28; ++year) {
      for (int month = 1; month <= 12; ++month) {
        const double turn = 86400000.0 * ymd2days(year, month, 1.0);
        for (double t = turn - 86400000.0; t <= turn + 86400000.0; t += 3600000.0) {
          ASSERT_EQ(offsetAt(table->instants(), t), offsetByICU(*zone, t)) << id << " at " << t;
          ASSERT_EQ(offsetAt(table->walls(), t), localOffsetByICU(*zone, t)) << id << " at " << t;
          cases += 2;
        }
      }
    }
  }
}

// Offsets of a zone at the two ends of what the calendar takes, and a day beyond.
TEST(OffsetTable, ReachesTheEnds) {
  Cases cases(2000);
  for (const std::string& id : allZones()) {
    const auto zone = zoneOf(id);
    const auto table = OffsetTable::of(*zone);
    for (const double t : {-0x1p52 - 86400000.0, -0x1p52, 0x1p52, 0x1p52 + 86400000.0}) {
      EXPECT_EQ(offsetAt(table->instants(), t), offsetByICU(*zone, t)) << id << " at " << t;
      EXPECT_EQ(offsetAt(table->walls(), t), localOffsetByICU(*zone, t)) << id << " at " << t;
      ++cases;
    }
  }
}

// What look-ups by other means than offsetAt() count on.
TEST(OffsetTable, LinesHaveTwoStretchesOfNoLengthAtTheirEnd) {
  Cases cases(1200);
  for (const std::string& id : allZones()) {
    const auto table = OffsetTable::of(*zoneOf(id));
    for (const OffsetLine& line : {table->instants(), table->walls()}) {
      const std::size_t last = line.stretches - 3;
      EXPECT_EQ(line.starts[0], -HUGE_VAL) << id;
      EXPECT_TRUE(std::is_sorted(line.starts, line.starts + last + 1)) << id;
      EXPECT_LT(line.starts[last], line.cycleEnd) << id;
      for (std::size_t i = last + 1; i <= line.stretches; ++i) {
        EXPECT_EQ(line.starts[i], line.cycleEnd) << id;
        if (i < line.stretches) {
          EXPECT_EQ(line.offsets[i], line.offsets[last]) << id;
        }
      }
      ++cases;
    }
  }
}

class OwnZone : public icu::SimpleTimeZone {
 public:
  using SimpleTimeZone::SimpleTimeZone;
  OwnZone* clone() const override { return new OwnZone(*this); }
};

TEST(OffsetTable, LeavesOtherZonesToTheCalendar) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::SimpleTimeZone saving(3600000, "own", UCAL_MARCH, -1, UCAL_SUNDAY, 7200000,
                                   UCAL_OCTOBER, -1, UCAL_SUNDAY, 10800000, status);
  ASSERT_TRUE(U_SUCCESS(status));
  EXPECT_FALSE(OffsetTable::of(saving)) << "rules of the host's own";
  EXPECT_FALSE(OffsetTable::of(OwnZone(3600000, "own"))) << "a class of the host's own";
  EXPECT_FALSE(OffsetTable::of(icu::SimpleTimeZone(3600500, "own"))) << "half a second";
  EXPECT_FALSE(OffsetTable::of(icu::SimpleTimeZone(86400000, "own"))) << "a whole day";
  EXPECT_TRUE(OffsetTable::of(icu::SimpleTimeZone(-86399000, "own"))) << "a second less";
  const icu::RuleBasedTimeZone rules("own", new icu::InitialTimeZoneRule("own", 3600000, 0));
  EXPECT_FALSE(OffsetTable::of(rules)) << "a zone of rules";
  const std::unique_ptr<icu::VTimeZone> calendar(
      icu::VTimeZone::createVTimeZoneByID("Europe/Paris"));
  EXPECT_FALSE(OffsetTable::of(*calendar)) << "a zone of an iCalendar";
}

}  // namespace
