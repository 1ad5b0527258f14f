// What a zone keeps of its offsets, against ICU's zone and calendar asked each time.

#include "datetime/offsets.h"

#include <gtest/gtest.h>
#include <unicode/gregocal.h>

#include <cstdint>
#include <memory>
#include <random>
#include <string>
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

TEST(Offsets, AreThoseOfTheCalendarAroundEveryTransition) {
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

TEST(Offsets, AreThoseOfTheCalendarAnywhere) {
  Cases cases(600 * 2000);
  std::mt19937_64 random(1);
  const auto within = [&](std::int64_t first, std::int64_t last) {
    return std::uniform_int_distribution<std::int64_t>(first, last)(random);
  };
  for (const std::string& id : everyZone()) {
    Compare compare(id);
    if (!compare.isNamed()) continue;
    for (int i = 0; i < 1000; ++i) {
      // A stretch's place is that of others a hundred years away, so some are looked up again.
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
TEST(Offsets, AreThoseOfTheCalendarWhereStretchesMeet) {
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

// Most of time has to be known, or nothing was gained.
TEST(Offsets, AreKnownAlmostEverywhere) {
  Cases cases(1000);
  const auto zone = zoneOf("America/New_York");
  Offsets offsets(*zone);
  std::mt19937_64 random(2);
  int known = 0;
  for (int i = 0; i < 100'000; ++i, ++cases) {
    const auto second = static_cast<std::int64_t>(random() % 2'208'988'800);
    known += offsets.at(second) && offsets.ofWallTime(second);
  }
  EXPECT_GT(known, 99'800);
}

}  // namespace
}  // namespace plx
