// Times that come twice and times that are skipped, in every zone from 1900 to 2100, against ICU asked directly.

#include <gtest/gtest.h>
#include <unicode/basictz.h>
#include <unicode/gregocal.h>

#include <algorithm>
#include <memory>

#include "library/setting/support.h"
#include "support/cases.h"
#include "support/every_zone.h"
#include "support/length.h"

namespace {

// A change of the clock; seconds.
struct Step {
  std::int64_t second;
  int before, after;
};

// Between 1900 and 2100.
std::vector<Step> stepsOf(const icu::BasicTimeZone& zone, bool overlaps) {
  std::vector<Step> steps;
  for (const Change& change : changesOf(zone)) {
    if (change.instant < -2208988800000.0 || change.instant >= 4102444800000.0) continue;
    if (change.before == change.after || (change.after < change.before) != overlaps) continue;
    steps.push_back({static_cast<std::int64_t>(change.instant / 1000),
                     static_cast<int>(change.before / 1000),
                     static_cast<int>(change.after / 1000)});
  }
  return steps;
}

int offsetAt(const icu::BasicTimeZone& zone, std::int64_t second) {
  std::int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(static_cast<double>(second) * 1000, false, raw, saving, status);
  EXPECT_TRUE(U_SUCCESS(status));
  return (raw + saving) / 1000;
}

// A setting and where ICU's calendar has its value.
struct Field {
  int component;
  UCalendarDateFields field;
  double add;
};
constexpr Field kFields[] = {{paYEAR, UCAL_EXTENDED_YEAR, 0},
                             {paMONTH, UCAL_MONTH, 1},
                             {paWEEK_OF_YEAR, UCAL_WEEK_OF_YEAR, 0},
                             {paDAY_OF_MONTH, UCAL_DATE, 0},
                             {paDAY_OF_YEAR, UCAL_DAY_OF_YEAR, 0},
                             {paDAY_OF_WEEK, UCAL_DAY_OF_WEEK, 0},
                             {paHOUR, UCAL_HOUR_OF_DAY, 0},
                             {paMINUTE, UCAL_MINUTE, 0},
                             {paSECOND, UCAL_SECOND, 0},
                             {paTIME_OF_DAY, UCAL_MILLISECONDS_IN_DAY, 0},
                             {paQUARTER, UCAL_MONTH, 0}};

// What an ICU calendar of the proleptic Gregorian kind shows.
class Clock {
 public:
  explicit Clock(const icu::BasicTimeZone& zone) {
    UErrorCode status = U_ZERO_ERROR;
    calendar_ = std::make_unique<icu::GregorianCalendar>(zone, icu::Locale("en_US"), status);
    calendar_->setGregorianChange(-8.64e15, status);
    EXPECT_TRUE(U_SUCCESS(status));
  }
  double value(const Field& field, std::int64_t second) {
    UErrorCode status = U_ZERO_ERROR;
    calendar_->setTime(static_cast<double>(second) * 1000, status);
    const int found = calendar_->get(field.field, status);
    EXPECT_TRUE(U_SUCCESS(status));
    // ICU counts what has passed since midnight, not what the clock shows, in the second hour of two.
    if (field.component == paTIME_OF_DAY) {
      return calendar_->get(UCAL_HOUR_OF_DAY, status) * 3600.0 +
             calendar_->get(UCAL_MINUTE, status) * 60.0 + calendar_->get(UCAL_SECOND, status);
    }
    if (field.component == paQUARTER) return found % 3 == 0 ? found / 3 + 1 : 0;
    return found + field.add;
  }

 private:
  std::unique_ptr<icu::GregorianCalendar> calendar_;
};

std::vector<std::int64_t> set(std::vector<std::int64_t> seconds, std::vector<double> values,
                              int component, const plxOptions& options) {
  Column<std::int64_t> datetimes(std::move(seconds), "<M8[s]");
  Column<double> numbers(std::move(values), "<f8");
  const plxArray array = datetimes.array();
  const plxSetting setting{component, numbers.array(), nullptr};
  plxError error;
  const int status = plxSet(&array, &setting, 1, &options, &array, &error);
  EXPECT_EQ(told(status, error), "") << options.zone << " component " << component;
  return datetimes.elements();
}

// Setting what the clock shows, at the first and at the last second of each overlap, both times that they come.
TEST(Folds, EveryOverlapOfEveryZone) {
  Cases cases(ofUsual(2'000'000));
  for (const std::string& name : everyUsualZone()) {
    const std::unique_ptr<icu::BasicTimeZone> made = zoneOf(name);
    const icu::BasicTimeZone& zone = *made;
    Clock clock(zone);
    std::vector<std::int64_t> seconds, earlier, later;
    for (const Step& change : stepsOf(zone, true)) {
      for (const std::int64_t wall :
           {change.second + change.after, change.second + change.before - 1}) {
        const std::int64_t first = wall - change.before, second = wall - change.after;
        if (offsetAt(zone, first) != change.before || offsetAt(zone, second) != change.after)
          continue;
        for (const std::int64_t of : {first, second}) {
          seconds.push_back(of);
          earlier.push_back(first);
          later.push_back(second);
        }
      }
    }
    for (const Field& field : kFields) {
      std::vector<std::int64_t> some, someEarlier, someLater;
      std::vector<double> values;
      for (std::size_t i = 0; i < seconds.size(); ++i) {
        const double value = clock.value(field, seconds[i]);
        if (field.component == paQUARTER && value == 0) continue;  // another month
        some.push_back(seconds[i]);
        someEarlier.push_back(earlier[i]);
        someLater.push_back(later[i]);
        values.push_back(value);
      }
      plxOptions options = inZone(name.c_str());
      ASSERT_EQ(set(some, values, field.component, options), someLater) << name << field.component;
      options.fold = plxFOLD_EARLIER;
      ASSERT_EQ(set(some, values, field.component, options), someEarlier)
          << name << field.component;
      options.fold = plxFOLD_SAME;
      ASSERT_EQ(set(some, values, field.component, options), some) << name << field.component;
      cases += static_cast<std::int64_t>(3 * some.size());
      if (some.empty()) continue;
      options.fold = plxFOLD_ERROR;
      Column<std::int64_t> datetimes(some, "<M8[s]");
      Column<double> numbers(values, "<f8");
      const plxArray array = datetimes.array();
      const plxSetting setting{field.component, numbers.array(), nullptr};
      plxError error;
      EXPECT_EQ(plxSet(&array, &setting, 1, &options, &array, &error), 1) << name;
      EXPECT_STREQ(error.identifier, "Pelmor:library:Refused");
      EXPECT_EQ(error.index, 0U);
      EXPECT_EQ(datetimes.elements(), some);
    }
  }
}

// Setting the time of day to the first and the last second that is skipped, and to those beside them.
TEST(Folds, EveryGapOfEveryZone) {
  Cases cases(ofUsual(200'000));
  for (const std::string& name : everyUsualZone()) {
    const std::unique_ptr<icu::BasicTimeZone> made = zoneOf(name);
    const icu::BasicTimeZone& zone = *made;
    std::vector<std::int64_t> from, shifted, start, end;
    std::vector<double> values;
    for (const Step& change : stepsOf(zone, false)) {
      const std::int64_t gapStart = change.second + change.before,
                         gapEnd = change.second + change.after;
      for (const std::int64_t wall : {gapStart - 1, gapStart, gapEnd - 1, gapEnd}) {
        const std::int64_t midnight = wall - ((wall % 86400) + 86400) % 86400;
        // Noon of the day asked for, where nothing else changes.
        const std::int64_t noon = midnight + 43200 - change.after;
        const int offset = offsetAt(zone, noon);
        if (noon + offset < midnight || noon + offset >= midnight + 86400) continue;
        const bool isSkipped = wall >= gapStart && wall < gapEnd;
        const std::int64_t plain = wall - (wall < gapEnd ? change.before : change.after);
        // What ICU's own offsets make of it: other changes may be near.
        if (offsetAt(zone, plain) != (wall < gapStart ? change.before : change.after)) continue;
        from.push_back(noon);
        values.push_back(static_cast<double>(wall - midnight));
        shifted.push_back(plain);
        start.push_back(isSkipped ? change.second - 1 : plain);
        end.push_back(isSkipped ? change.second : plain);
      }
    }
    plxOptions options = inZone(name.c_str());
    ASSERT_EQ(set(from, values, paTIME_OF_DAY, options), shifted) << name;
    options.gap = plxGAP_START;
    ASSERT_EQ(set(from, values, paTIME_OF_DAY, options), start) << name;
    options.gap = plxGAP_END;
    ASSERT_EQ(set(from, values, paTIME_OF_DAY, options), end) << name;
    cases += static_cast<std::int64_t>(3 * from.size());
  }
}

// 02:30:15.25 on the day on which New York has no such time.
TEST(Folds, AtTheEdgeOfAGapNothingIsLeftBelowTheSecond) {
  const std::int64_t ns = 1394398815250000001;  // 2014-03-09T21:00:15.250000001Z
  for (const auto& [gap, expected] : {std::pair(plxGAP_START, std::int64_t{1394348399}),
                                      std::pair(plxGAP_END, std::int64_t{1394348400})}) {
    Column<std::int64_t> datetimes({ns}, "<M8[ns]");
    const plxArray array = datetimes.array();
    const plxSetting hour = word(paHOUR, "2");
    plxOptions options = inZone("America/New_York");
    options.gap = gap;
    plxError error;
    const int status = plxSet(&array, &hour, 1, &options, &array, &error);
    EXPECT_EQ(told(status, error), "");
    EXPECT_EQ(datetimes.elements()[0], expected * 1'000'000'000);
  }
}

TEST(Folds, MeanNothingWithoutATimeZone) {
  for (const char* zone : {"", "UTC", "UTCLeapSeconds", "+05:30"}) {
    plxOptions options = inZone(zone);
    options.fold = plxFOLD_ERROR;
    options.gap = plxGAP_ERROR;
    EXPECT_EQ(set({0}, {5}, paMINUTE, options),
              (std::vector<std::int64_t>{zone[0] == '+' ? 300 - 1800 : 300}))
        << zone;
  }
}

TEST(Folds, WhatBecameOfEachElement) {
  // 2014: 10 May, 31 May, 9 March 12:50, both 2 November 01:30 (the first and the second), NaT.
  Column<std::int64_t> datetimes({1399710615, 1401525015, 1394383800, 1414906200, 1414909800, kNaT},
                                 "<M8[s]");
  const auto found = [&](const plxSetting& setting, plxFold fold = plxFOLD_LATER) {
    std::vector<std::uint8_t> findings(6, 99);
    plxOptions options = inZone("America/New_York");
    options.findings = findings.data();
    options.fold = fold;
    Column<std::int64_t> results(std::vector<std::int64_t>(6), "<M8[s]");
    const plxArray in = datetimes.array(), out = results.array();
    plxError error;
    const int status = plxSet(&in, &setting, 1, &options, &out, &error);
    EXPECT_EQ(told(status, error), "");
    return std::vector<int>(findings.begin(), findings.end());
  };
  EXPECT_EQ(found(word(paMONTH, "14")), (std::vector<int>{plxCARRIED, plxCARRIED | plxNO_SUCH_DATE,
                                                          plxCARRIED, plxCARRIED, plxCARRIED, 0}));
  EXPECT_EQ(found(word(paHOUR, "2")), (std::vector<int>{0, 0, plxSHIFTED, 0, 0, 0}));
  EXPECT_EQ(found(word(paHOUR, "1")),
            (std::vector<int>{0, 0, 0, plxTWICE | plxMOVED, plxTWICE, 0}));
  EXPECT_EQ(found(word(paHOUR, "1"), plxFOLD_SAME),
            (std::vector<int>{0, 0, 0, plxTWICE, plxTWICE, 0}));
}

TEST(Folds, FindingsThatAreErrors) {
  Column<std::int64_t> datetimes({16200, 16221}, "<M8[D]");
  const plxArray array = datetimes.array();
  const plxSetting february = word(paMONTH, "feb");
  plxOptions options = inZone("");
  options.refused = plxNO_SUCH_DATE;
  plxError error;
  EXPECT_EQ(plxSet(&array, &february, 1, &options, &array, &error), 1);
  EXPECT_EQ(told(1, error),
            "Pelmor:library:Refused at 1: there is no 31 February 2014: 2014-03-03T00:00:00");
  EXPECT_EQ(datetimes.elements(), (std::vector<std::int64_t>{16200 - 89, 16221}));
}

// Elements that are left out are neither read nor an error, and their results are not written.
TEST(Folds, WhereElementsAreLeftOut) {
  const std::uint8_t where[] = {1, 0, 1};
  Column<double> datetimes({1399710615250, 1e300, 0}, "<f8"), results({7, 7, 7}, "<f8"),
      values({13, 0.5, 1}, "<f8");
  const plxArray in = datetimes.array(), out = results.array();
  const plxSetting hour{paHOUR, values.array(), nullptr};
  plxOptions options = inZone("");
  options.where = where;
  plxError error;
  const int status = plxSet(&in, &hour, 1, &options, &out, &error);
  EXPECT_EQ(told(status, error), "");
  EXPECT_EQ(results.elements(), (std::vector<double>{1399710615250 + 5 * 3600000, 7, 3600000}));
}

// Several blocks are never over without a call, however little of them the calling thread gets to.
TEST(Folds, ProgressStopsSeveralThreads) {
  constexpr std::size_t kCount = std::size_t{3} << 13;
  const plxSetting hour = word(paHOUR, "1");
  plxOptions options = inZone("");
  options.threads = 3;
  options.progress = [](void*, std::size_t, std::size_t) { return 1; };
  Cases cases(100);
  for (int call = 0; call < 100; ++call, ++cases) {
    Column<double> datetimes(std::vector<double>(kCount, 0.0), "<f8");
    const plxArray array = datetimes.array();
    plxError error;
    ASSERT_EQ(plxSet(&array, &hour, 1, &options, &array, &error), 1);
    ASSERT_STREQ(error.identifier, "Pelmor:library:Stopped");
    ASSERT_EQ(error.index, PLX_NO_INDEX);
    ASSERT_GT(error.done, 0U);
    ASSERT_LE(error.done, kCount);
    const auto first = datetimes.elements().begin();
    const auto done = static_cast<std::ptrdiff_t>(error.done);
    ASSERT_EQ(std::count(first, first + done, 3600000), done);
  }
}

TEST(Folds, ProgressStops) {
  Column<double> datetimes(std::vector<double>(100'000, 0.0), "<f8");
  const plxArray array = datetimes.array();
  const plxSetting hour = word(paHOUR, "1");
  plxOptions options = inZone("");
  options.context = &options;
  options.progress = [](void*, std::size_t done, std::size_t all) {
    EXPECT_LE(done, all);
    return done >= 30'000 ? 1 : 0;
  };
  plxError error;
  EXPECT_EQ(plxSet(&array, &hour, 1, &options, &array, &error), 1);
  EXPECT_STREQ(error.identifier, "Pelmor:library:Stopped");
  EXPECT_EQ(error.index, PLX_NO_INDEX);
  EXPECT_GE(error.done, 30'000U);
  EXPECT_LT(error.done, 100'000U);
  for (std::size_t i = 0; i < 100'000; ++i)
    ASSERT_EQ(datetimes.elements()[i], i < error.done ? 3600000 : 0) << i;
}

}  // namespace
