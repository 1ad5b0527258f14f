// The offsets of zones, against ICU's zone and calendar asked each time.

#include "datetime/zone_offsets.h"

#include <gtest/gtest.h>
#include <unicode/gregocal.h>
#include <unicode/rbtz.h>
#include <unicode/simpletz.h>
#include <unicode/tzrule.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "datetime/zone.h"
#include "support/cases.h"
#include "support/every_zone.h"

namespace plx {
namespace {

constexpr std::int64_t kLast = 4503599627370;  // 2^52 milliseconds

// Plain ICU.
class Calendar {
 public:
  explicit Calendar(const std::string& id) {
    UErrorCode status = U_ZERO_ERROR;
    calendar_ = std::make_unique<icu::GregorianCalendar>(zoneOf(id).release(), icu::Locale("en_US"),
                                                         status);
    calendar_->setGregorianChange(-0x1p53, status);
    calendar_->setSkippedWallTimeOption(UCAL_WALLTIME_LAST);
    calendar_->setRepeatedWallTimeOption(UCAL_WALLTIME_LAST);
    EXPECT_TRUE(U_SUCCESS(status));
  }

  std::int64_t offset(std::int64_t second) const {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t raw = 0, saving = 0;
    calendar_->getTimeZone().getOffset(static_cast<double>(second) * 1000.0, false, raw, saving,
                                       status);
    EXPECT_TRUE(U_SUCCESS(status));
    return (raw + saving) / 1000;
  }

  // By the fields of a wall time: days after 1970-01-01 carry.
  std::int64_t secondOf(std::int64_t wall) const {
    const std::int64_t day = (wall - (wall % 86400 + 86400) % 86400) / 86400;
    const auto ofDay = static_cast<std::int32_t>(wall - day * 86400);
    UErrorCode status = U_ZERO_ERROR;
    calendar_->clear();
    calendar_->set(1970, UCAL_JANUARY, static_cast<std::int32_t>(day) + 1, ofDay / 3600,
                   ofDay / 60 % 60, ofDay % 60);
    const auto millis = static_cast<std::int64_t>(calendar_->getTime(status));
    EXPECT_TRUE(U_SUCCESS(status));
    return millis / 1000;
  }

 private:
  std::unique_ptr<icu::GregorianCalendar> calendar_;
};

class Compare {
 public:
  explicit Compare(const std::string& id) : id_(id), zone_(Zone::named(id)), calendar_(id) {}

  bool isNamed() const { return zone_.isCalendar(); }  // "UTC" has no calendar

  void instant(std::int64_t second) {
    const WallTime wall = zone_.wallTime(second);
    ASSERT_EQ(wall.offsetSeconds, calendar_.offset(second)) << id_ << ' ' << second;
    ASSERT_TRUE(wall.seconds == second + wall.offsetSeconds);
  }

  void wallTime(std::int64_t wall) {
    DatetimeText text;
    const auto [day, secondOfDay] = floorDiv(wall, 86400);
    text.day = static_cast<std::int64_t>(day);
    text.secondOfDay = static_cast<int>(secondOfDay);
    Complaint complaint;
    const auto second = zone_.secondOf(text, complaint);
    ASSERT_TRUE(second) << id_ << ' ' << wall;
    ASSERT_EQ(static_cast<std::int64_t>(*second), calendar_.secondOf(wall)) << id_ << ' ' << wall;
  }

 private:
  std::string id_;
  Zone zone_;
  Calendar calendar_;
};

// The seconds next to each edge of what changes, and next to where it is asked of the calendar.
std::vector<std::int64_t> around(std::int64_t second, std::int64_t jump) {
  std::vector<std::int64_t> all;
  for (const std::int64_t edge : {std::int64_t{0}, jump, -jump, jump + 7200, -jump - 7200}) {
    for (int i = -1; i <= 1; ++i) all.push_back(second + edge + i);
  }
  return all;
}

TEST(ZoneOffsets, AreThoseOfTheCalendarAroundEveryTransition) {
  Cases cases(3'000'000);
  for (const std::string& id : everyZone()) {
    Compare compare(id);
    if (!compare.isNamed()) continue;
    for (const Change& change : changesOf(*zoneOf(id))) {
      const auto instant = static_cast<std::int64_t>(change.instant / 1000);
      const auto before = static_cast<std::int64_t>(change.before / 1000);
      const auto after = static_cast<std::int64_t>(change.after / 1000);
      const std::int64_t jump = std::abs(after - before);
      for (const std::int64_t second : around(instant, jump)) {
        compare.instant(second);
        ++cases;
      }
      for (const std::int64_t wall : around(instant + after, jump)) {
        compare.wallTime(wall);
        ++cases;
      }
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(ZoneOffsets, AreThoseOfTheCalendarAnywhere) {
  Cases cases(600 * 2000);
  std::mt19937_64 random(1);
  const auto within = [&](std::int64_t first, std::int64_t last) {
    return std::uniform_int_distribution<std::int64_t>(first, last)(random);
  };
  for (const std::string& id : everyZone()) {
    Compare compare(id);
    if (!compare.isNamed()) continue;
    for (int i = 0; i < 1000; ++i) {
      // Places are shared by times 34 years apart, so some are looked up again.
      const std::int64_t reach = i % 4 == 0 ? kLast - 200'000 : 10'000'000'000;
      const std::int64_t second = i % 4 == 1 ? within(0, 2'208'988'800) : within(-reach, reach);
      compare.instant(second);
      compare.wallTime(second);
      if (testing::Test::HasFatalFailure()) return;
      cases += 2;
    }
  }
}

// Where one stretch meets the next.
TEST(ZoneOffsets, AreThoseOfTheCalendarWhereStretchesMeet) {
  Cases cases(10 * 4096 * 4);
  for (const char* id : {"America/New_York", "Africa/Casablanca", "Pacific/Apia", "Europe/Dublin",
                         "Asia/Gaza", "Antarctica/Troll", "Australia/Lord_Howe",
                         "America/Scoresbysund", "Asia/Kolkata", "Africa/Monrovia"}) {
    Compare compare(id);
    for (std::int64_t number = -2048; number < 2048; ++number) {
      for (const std::int64_t second : {number << 21, (number << 21) - 1}) {
        compare.instant(second);
        compare.wallTime(second);
        if (testing::Test::HasFatalFailure()) return;
        cases += 2;
      }
    }
  }
}

void expectSame(const OffsetStretch& one, const OffsetStretch& other, const std::string& where) {
  ASSERT_EQ(one.start, other.start) << where;
  ASSERT_EQ(one.end, other.end) << where;
  ASSERT_EQ(one.before, other.before) << where;
  ASSERT_EQ(one.offset, other.offset) << where;
  ASSERT_EQ(one.after, other.after) << where;
}

// Zones that the module has no table of: rules of ICU's own class, those of New York since 2007.
TEST(ZoneOffsets, AreAskedOfICUWhereThereIsNoTable) {
  Cases cases(20'000);
  UErrorCode status = U_ZERO_ERROR;
  constexpr std::int32_t kTwo = 2 * 3600 * 1000;
  auto simple = std::make_unique<icu::SimpleTimeZone>(-5 * 3600 * 1000, "own", UCAL_MARCH, 2,
                                                      UCAL_SUNDAY, kTwo, UCAL_NOVEMBER, 1,
                                                      UCAL_SUNDAY, kTwo, 3600 * 1000, status);
  ASSERT_TRUE(U_SUCCESS(status));
  ASSERT_FALSE(OffsetTable::of(*simple));
  ZoneOffsets asked(std::move(simple)), known(zoneOf("America/New_York"));
  std::mt19937_64 random(3);
  std::uniform_int_distribution<std::int64_t> since2008(1'199'163'600, 10'000'000'000);
  const auto compare = [&](std::int64_t second) {
    ASSERT_EQ(asked.at(second), known.at(second)) << second;
    ASSERT_EQ(asked.ofWallTime(second), known.ofWallTime(second)) << second;
    ASSERT_NO_FATAL_FAILURE(
        expectSame(asked.stretchAt(second), known.stretchAt(second), std::to_string(second)));
    ++cases;
  };
  for (int i = 0; i < 5'000; ++i) {
    const std::int64_t second = since2008(random);
    ASSERT_NO_FATAL_FAILURE(compare(second));
    const auto edge = static_cast<std::int64_t>(known.stretchAt(second).end / 1000.0);
    for (const std::int64_t around : {-1, 0, 1}) ASSERT_NO_FATAL_FAILURE(compare(edge + around));
  }
}

// ICU answers the first questions, the table those that follow.
TEST(ZoneOffsets, FirstAnswersAreThoseOfTheTable) {
  Cases cases(4 * 10'000);
  std::size_t turn = 0;
  for (const std::string& id : everyZone()) {
    const auto zone = zoneOf(id);
    if (!OffsetTable::of(*zone)) continue;
    ZoneOffsets warm(zoneOf(id));
    for (int i = 0; i < 5; ++i) warm.at(0);
    std::vector<std::int64_t> seconds = {-kLast, kLast, 0, 2'147'483'647, 4'102'444'800};
    for (const Change& change : changesOf(*zone))
      if (++turn % 4 == 0) seconds.push_back(static_cast<std::int64_t>(change.instant / 1000));
    for (const std::int64_t second : seconds) {
      const std::string where = id + ' ' + std::to_string(second);
      ZoneOffsets fresh(zoneOf(id));
      ASSERT_EQ(fresh.at(second), warm.at(second)) << where;
      const std::int64_t wall = second + warm.at(second);
      ASSERT_EQ(fresh.ofWallTime(wall), warm.ofWallTime(wall)) << where;
      for (const std::int64_t at : {second - 1, second})
        ASSERT_NO_FATAL_FAILURE(expectSame(fresh.stretchAt(at), warm.stretchAt(at), where));
      cases += 4;
    }
  }
}

// An hour of standard time after an hour of saving is no change of the offset.
TEST(ZoneOffsets, WhatLeavesTheOffsetIsPassedOverWithoutATableToo) {
  constexpr std::int32_t kHour = 3'600'000;
  const struct {
    std::int32_t standard, saving;
    UDate from;
  } rules[] = {{0, kHour, 1e12}, {kHour, 0, 1.1e12}, {0, kHour, 1.2e12}, {2 * kHour, 0, 1.3e12}};
  auto zone =
      std::make_unique<icu::RuleBasedTimeZone>("own", new icu::InitialTimeZoneRule("UTC", 0, 0));
  UErrorCode status = U_ZERO_ERROR;
  for (const auto& rule : rules) {
    zone->addTransitionRule(
        new icu::TimeArrayTimeZoneRule("rule", rule.standard, rule.saving, &rule.from, 1,
                                       icu::DateTimeRule::UTC_TIME),
        status);
  }
  zone->complete(status);
  ASSERT_TRUE(U_SUCCESS(status));
  ASSERT_FALSE(OffsetTable::of(*zone));
  ZoneOffsets offsets(std::move(zone));
  Cases cases(5);
  for (const std::int64_t second :
       {1'000'000'000, 1'050'000'000, 1'100'000'000, 1'150'000'000, 1'299'999'999}) {
    const OffsetStretch stretch = offsets.stretchAt(second);
    EXPECT_EQ(stretch.start, 1e12) << second;
    EXPECT_EQ(stretch.end, 1.3e12) << second;
    EXPECT_EQ(stretch.before, 0) << second;
    EXPECT_EQ(stretch.offset, kHour) << second;
    EXPECT_EQ(stretch.after, 2 * kHour) << second;
    ++cases;
  }
}

}  // namespace
}  // namespace plx
