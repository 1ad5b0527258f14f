// The system's clock against ICU's rules, where both are made up.
#include "datetime/system_clock.h"

#include <gtest/gtest.h>
#include <unicode/simpletz.h>

#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/cases.h"
#include "tools/support/temporary_folder.h"
#include "tools/support/zone_files.h"

namespace plx {
namespace {

constexpr int kHour = 3600;
constexpr std::int64_t kDay = 86400;

// The zone of the C library, while it lives.
class SystemZone {
 public:
  SystemZone(int first, const std::vector<std::pair<std::int64_t, int>>& changes) {
    ::setenv("TZ", (":" + folder_.write("zone", zoneFile(first, changes))).c_str(), 1);
    ::tzset();
  }
  ~SystemZone() {
    ::unsetenv("TZ");
    ::tzset();
  }
  SystemZone(const SystemZone&) = delete;
  SystemZone& operator=(const SystemZone&) = delete;

 private:
  const TemporaryFolder folder_;
};

// ICU's zone at a constant offset, which counts how often it is asked.
class Counting : public icu::SimpleTimeZone {
 public:
  Counting(int offset, std::int64_t& asked)
      : SimpleTimeZone(offset * 1000, icu::UnicodeString()), asked_(asked) {}
  using SimpleTimeZone::getOffset;
  void getOffset(UDate date, UBool isLocal, std::int32_t& raw, std::int32_t& saving,
                 UErrorCode& status) const override {
    ++asked_;
    SimpleTimeZone::getOffset(date, isLocal, raw, saving, status);
  }

 private:
  std::int64_t& asked_;
};

// From 1970 on, saving from the last Sunday of March until that of October, by UTC.
std::unique_ptr<icu::BasicTimeZone> paris() {
  UErrorCode status = U_ZERO_ERROR;
  auto zone = std::make_unique<icu::SimpleTimeZone>(
      kHour * 1000, icu::UnicodeString(), UCAL_MARCH, -1, UCAL_SUNDAY, kHour * 1000,
      icu::SimpleTimeZone::UTC_TIME, UCAL_OCTOBER, -1, UCAL_SUNDAY, kHour * 1000,
      icu::SimpleTimeZone::UTC_TIME, kHour * 1000, status);
  EXPECT_TRUE(U_SUCCESS(status));
  return zone;
}

// 2014-03-30T01:00Z and 2014-10-26T01:00Z.
constexpr std::int64_t kMarch = 1396141200, kOctober = 1414285200;

TEST(SystemClock, TellsFromWhereTheOffsetsReallyDiffer) {
  const struct {
    std::int64_t march, october;  // when the C library's clock changes
    std::int64_t from;
    int system, icu;
    const char* why;
  } rows[] = {
      {kMarch + 300, kOctober, kMarch, kHour, 2 * kHour, "five minutes late"},
      {kMarch + 1, kOctober, kMarch, kHour, 2 * kHour, "a second late"},
      {kMarch - 1, kOctober, kMarch - 1, 2 * kHour, kHour, "a second early"},
      {kMarch - 777, kOctober, kMarch - 777, 2 * kHour, kHour, "some minutes early"},
      {kMarch, kOctober - 60, kOctober - 60, kHour, 2 * kHour, "a minute early in October"},
      {kMarch + 20 * kDay, kOctober, kMarch, kHour, 2 * kHour, "twenty days late"},
  };
  Cases cases(6 * 9);
  for (const auto& r : rows) {
    const SystemZone zone(kHour, {{r.march, 2 * kHour}, {r.october, kHour}});
    SystemClock clock(paris());
    for (int hours = -40; hours <= 40; hours += 10) {
      const std::int64_t second = r.from + hours * kHour;
      EXPECT_FALSE(clock.agrees(second)) << r.why << ", " << hours << " h";
      const auto difference = clock.differenceAt(second);
      EXPECT_EQ(difference.second, r.from) << r.why << ", " << hours << " h";
      EXPECT_EQ(difference.system, r.system) << r.why << ", " << hours << " h";
      EXPECT_EQ(difference.icu, r.icu) << r.why << ", " << hours << " h";
      ++cases;
    }
  }
}

// Whatever place it has in the array: four are compared at once.
TEST(SystemClock, FindsTheFirstThatDiffers) {
  const SystemZone zone(kHour, {{kMarch + 300, 2 * kHour}, {kOctober, kHour}});
  Cases cases(55);
  for (std::size_t size = 1; size <= 10; ++size) {
    for (std::size_t place = 0; place < size; ++place) {
      std::vector<double> millis(size, (kMarch - 400 * kDay) * 1000.0);
      SystemClock clock(paris());
      EXPECT_EQ(clock.firstDiffering(millis), std::nullopt) << size;
      for (std::size_t i = place; i < size; ++i) millis[i] = kMarch * 1000.0;
      EXPECT_EQ(clock.firstDiffering(millis), place) << size;
      ++cases;
    }
  }
}

// A difference of decades is walked through once, in whatever order the datetimes come.
TEST(SystemClock, LooksThroughNoDifferenceTwice) {
  const SystemZone zone(kHour, {{0, 2 * kHour}, {80 * 365 * kDay, kHour}});
  Cases cases(6000);
  for (const bool isBackward : {false, true}) {
    std::int64_t asked = 0;
    SystemClock clock(std::make_unique<Counting>(kHour, asked));
    for (std::int64_t i = 1; i <= 3000; ++i) {
      const std::int64_t second = 9 * kDay * (isBackward ? 3001 - i : i);
      EXPECT_EQ(clock.differenceAt(second).second, 0) << second;
      ++cases;
    }
    EXPECT_LT(asked, 80 * 365 + 3000 * 20) << isBackward;
  }
}

// Nor through more than two centuries.
TEST(SystemClock, LooksNoFurtherThanTwoCenturies) {
  const SystemZone zone(2 * kHour, {});
  std::int64_t asked = 0;
  SystemClock clock(std::make_unique<Counting>(kHour, asked));
  const auto difference = clock.differenceAt(0);
  EXPECT_NEAR(static_cast<double>(difference.second), -200 * 366.0 * kDay, 3.0 * kDay);
  EXPECT_EQ(difference.system, 2 * kHour);
  EXPECT_EQ(difference.icu, kHour);
  EXPECT_LT(asked, 210 * 366);
}

}  // namespace
}  // namespace plx
