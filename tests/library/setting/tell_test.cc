// Reading components, converting datetimes and telling of settings through plx/plx.h.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string_view>
#include <tuple>
#include <utility>

#include "library/setting/support.h"
#include "support/cases.h"
#include "support/random.h"
#include "tools/support/temporary_folder.h"
#include "tools/support/zone_files.h"

namespace {

using testing::HasSubstr;
using Text = std::unique_ptr<char, decltype(&plxFreeText)>;

char* bytesOf(double& number) { return reinterpret_cast<char*>(&number); }

std::vector<double> read(std::vector<std::int64_t> counts, const char* type, int component,
                         const char* zone = nullptr) {
  Column<std::int64_t> datetimes(std::move(counts), type);
  Column<double> numbers(std::vector<double>(datetimes.elements().size()), "<f8");
  const plxArray in = datetimes.array(), out = numbers.array();
  const plxOptions options = inZone(zone);
  plxError error;
  const int status = plxGet(&in, component, &options, &out, &error);
  EXPECT_EQ(told(status, error), "");
  return numbers.elements();
}

TEST(Get, Components) {
  const std::int64_t ns = 1399710615250000001;  // 2014-05-10T08:30:15.250000001
  const std::pair<int, double> expected[] = {{paYEAR, 2014},
                                             {paQUARTER, 2},
                                             {paMONTH, 5},
                                             {paWEEK_OF_YEAR, 19},
                                             {paDAY_OF_MONTH, 10},
                                             {paDAY_OF_YEAR, 130},
                                             {paDAY_OF_WEEK, 7},
                                             {paHOUR, 8},
                                             {paMINUTE, 30},
                                             {paSECOND, 15.250000001},
                                             {paTIME_OF_DAY, 30615.250000001}};
  for (const auto& [component, value] : expected)
    EXPECT_EQ(read({ns}, "<M8[ns]", component), std::vector<double>{value}) << component;
}

TEST(Get, InAZoneAndOfWhatIsMissing) {
  const std::vector<double> hours = read({1399710615, kNaT}, "<M8[s]", paHOUR, "Asia/Kolkata");
  EXPECT_EQ(hours[0], 14);
  EXPECT_TRUE(std::isnan(hours[1]));
  EXPECT_EQ(read({1341100824}, "<M8[s]", paSECOND, "UTCLeapSeconds"), std::vector<double>{60});
}

// Without a zone and in one, the double nearest to the fraction as it was counted.
TEST(Get, FractionsInAZoneAreThoseWithoutOne) {
  Cases cases(3000);
  Random random(18);
  std::vector<std::int64_t> counts = {4, 2, -1};
  while (counts.size() < 1000)
    counts.push_back(random.whole(-1'000'000'000'000, 1'000'000'000'000));
  for (const char* unit : {"<M8[ns]", "<M8[ps]", "<M8[as]"}) {
    const std::vector<double> expected = read(counts, unit, paSECOND);
    const std::vector<double> seconds = read(counts, unit, paSECOND, "+05:30");
    for (std::size_t i = 0; i < counts.size(); ++i, ++cases)
      ASSERT_EQ(seconds[i], expected[i]) << counts[i] << unit;
  }
  EXPECT_EQ(read({4}, "<M8[ns]", paSECOND, "+05:30"), std::vector<double>{4e-9});
}

// A fraction of which no double says that it is none: the day, the hour and the minute are still those before.
TEST(Get, JustBeforeMidnight) {
  Column<std::complex<double>> datetime({{-1e-20, 0.0}}, "<c16");
  Column<double> number({0}, "<f8");
  const plxArray in = datetime.array(), out = number.array();
  for (const char* zone : {static_cast<const char*>(nullptr), "Etc/UTC"}) {
    const plxOptions options = inZone(zone);
    for (const auto& [component, value] :
         {std::pair(paDAY_OF_MONTH, 31.0), {paHOUR, 23.0}, {paMINUTE, 59.0}, {paSECOND, 60.0}}) {
      plxError error;
      EXPECT_EQ(told(plxGet(&in, component, &options, &out, &error), error), "");
      EXPECT_EQ(number.elements().front(), value) << component;
    }
  }
}

// Blocks of near datetimes are read together, and one far away makes its block read one by one.
TEST(Get, NearAndFarDatetimesAlike) {
  Cases cases(300'000);
  Random random(19);
  const std::pair<const char*, std::int64_t> units[] = {{"<M8[s]", 1'000},
                                                        {">M8[ms]", 1'000'000},
                                                        {"<M8[us]", 1'000'000'000},
                                                        {"<M8[ns]", 1'000'000'000'000}};
  for (const auto& [type, perKilosecond] : units) {
    std::vector<std::int64_t> counts = {0, -1, 1, -86'400 * (perKilosecond / 1000), kNaT};
    while (counts.size() < 2000)
      counts.push_back(random.whole(-2'000'000, 2'000'000) * perKilosecond +
                       random.whole(0, perKilosecond - 1));
    std::vector<std::int64_t> withFar = counts;
    // More milliseconds than loops take; nanoseconds have none but at the very end.
    constexpr std::int64_t kFarSeconds = 3 * (std::int64_t{1} << 50) / 1000;
    std::int64_t far = 0;
    const bool isBeyond = __builtin_mul_overflow(kFarSeconds, perKilosecond / 1000, &far);
    withFar.push_back(isBeyond ? std::numeric_limits<std::int64_t>::max() : far);
    if (type[0] == '>')
      for (auto* all : {&counts, &withFar})
        for (std::int64_t& count : *all)
          count = std::int64_t(__builtin_bswap64(std::uint64_t(count)));
    for (const char* zone : {"", "UTCLeapSeconds", "America/New_York", "+05:30"}) {
      std::size_t all = 0;
      const plxComponentFacts* const facts = plxComponents(&all);
      for (std::size_t i = 0; i < all; ++i) {
        const int component = facts[i].component;
        const std::vector<double> near = read(counts, type, component, zone);
        const std::vector<double> apart = read(withFar, type, component, zone);
        ASSERT_EQ(std::memcmp(near.data(), apart.data(), near.size() * sizeof(double)), 0)
            << type << zone << component;
        cases += static_cast<std::int64_t>(near.size());
      }
    }
  }
}

TEST(Get, TellsTheElementThatIsOutOfRange) {
  Column<double> millis({0, 1e300}, "<f8"), numbers({0, 0}, "<f8");
  const plxArray in = millis.array(), out = numbers.array();
  plxError error;
  EXPECT_EQ(plxGet(&in, paYEAR, nullptr, &out, &error), 1);
  EXPECT_STREQ(error.identifier, "Pelmor:library:OutOfRange");
  EXPECT_EQ(error.index, 1U);
  EXPECT_EQ(numbers.elements(), (std::vector<double>{1970, 0}));
}

TEST(Get, LeavesOutAndWritesInTheOtherByteOrder) {
  Column<std::int64_t> seconds({0, kNaT, std::numeric_limits<std::int64_t>::max(), 86400 * 40},
                               "<M8[s]");
  Column<double> numbers({7, 7, 7, 7}, ">f8");
  const plxArray in = seconds.array(), out = numbers.array();
  // Every second byte, and the one that is out of range left out.
  const std::uint8_t where[] = {1, 0, 1, 0, 0, 9, 255, 9};
  const std::ptrdiff_t stride = 2;
  plxOptions options = inZone(nullptr);
  options.where = where;
  options.whereStrides = &stride;
  plxError error;
  EXPECT_EQ(told(plxGet(&in, paMONTH, &options, &out, &error), error), "");
  std::vector<double> found = numbers.elements();
  EXPECT_EQ(found[2], 7);
  for (double& number : found) std::reverse(bytesOf(number), bytesOf(number) + sizeof number);
  EXPECT_EQ(found[0], 1);
  EXPECT_TRUE(std::isnan(found[1]));
  EXPECT_EQ(found[3], 2);
}

TEST(Get, TellsDatetimesAsTheyAreWritten) {
  constexpr std::int64_t kFar = 100'000'000;  // days
  constexpr const char* kInZone =
      "; accepted: in a time zone, from -140744-08-10T07:30:29.504Z to "
      "+144683-05-23T16:29:30.496Z";
  Column<std::int64_t> days({0, kFar}, "<M8[D]");
  Column<double> millis({0, 1e16}, "<f8"), numbers({7, 7}, "<f8");
  Column<std::complex<double>> pairs({{0, 0}, {1e16, -1}}, "<c16");
  const std::pair<plxArray, std::string> rows[] = {{days.array(), "+275760-09-13T00:00:00"},
                                                   {millis.array(), "1e+16"},
                                                   {pairs.array(), "1e+16-1j"}};
  const plxArray out = numbers.array();
  const plxOptions options = inZone("+01:00");
  for (const auto& [in, text] : rows) {
    plxError error;
    EXPECT_EQ(
        told(plxGet(&in, paMONTH, &options, &out, &error), error),
        "Pelmor:datetime:RangeError at 1: the datetime is out of range: \"" + text + '"' + kInZone);
    const plxSetting month = word(paMONTH, "2");
    EXPECT_EQ(
        told(plxSet(&in, &month, 1, &options, &in, &error), error),
        "Pelmor:datetime:RangeError at 1: the datetime is out of range: \"" + text + '"' + kInZone);
  }
}

// Where the system's clock shows Paris without its summer time.
TEST(Get, TellsOfAClockThatDiffersFromTheRules) {
  const TemporaryFolder folder;
  std::filesystem::create_directories(folder.path("zoneinfo/Europe"));
  const std::string paris = folder.write("zoneinfo/Europe/Paris", zoneFile(3600, {}, "CET-1"));
  ::setenv("TZ", (':' + paris).c_str(), 1);
  Column<std::int64_t> seconds({1392000000, 1405000000}, "<M8[s]");  // February and July 2014
  Column<double> numbers({7, 7}, "<f8");
  const plxArray in = seconds.array(), out = numbers.array();
  const plxOptions options = inZone("local");
  plxError error;
  const std::string differs =
      "Pelmor:library:OtherClock at 1: local is Europe/Paris, where the system's clock and the "
      "time-zone data in use, ";
  EXPECT_THAT(told(plxGet(&in, paHOUR, &options, &out, &error), error),
              AllOf(testing::StartsWith(differs), HasSubstr(": +01:00 and +02:00: \"2014-07-10T"),
                    testing::EndsWith("; accepted: a zone by its identifier, which means the "
                                      "rules of that data; or newer data")));
  EXPECT_EQ(numbers.elements(), (std::vector<double>{3, 7}));
  const plxSetting hour = word(paHOUR, "12");
  EXPECT_THAT(told(plxSet(&in, &hour, 1, &options, &in, &error), error),
              testing::StartsWith(differs));
  ::unsetenv("TZ");
  ::tzset();
}

// What is left out, what is none, and what is read elsewhere lies past no table.
TEST(Get, TellsOfDatetimesPastTheLeapTable) {
  Cases cases(12);
  for (const auto& [zone, last, isLeftOut, expected] :
       {std::tuple{"UTCLeapSeconds", 1435708825, false, unsigned{plxPAST_LEAP_TABLE}},
        {"utcleapseconds", 1600000000, false, plxPAST_LEAP_TABLE},
        {"UTCLeapSeconds", 1435708824, false, 0},
        {"UTCLeapSeconds", 1600000000, true, 0},
        {"UTC", 1600000000, false, 0},
        {"Europe/Paris", 1600000000, false, 0}}) {
    for (const bool isThreaded : {false, true}) {
      std::vector<std::int64_t> counts(isThreaded ? 20000 : 3, 0);
      counts[1] = kNaT;
      counts.back() = last;
      Column<std::int64_t> datetimes(counts, "<M8[s]");
      Column<double> numbers(std::vector<double>(counts.size()), "<f8");
      std::vector<std::uint8_t> where(counts.size(), 1);
      where.back() = isLeftOut ? 0 : 1;
      const plxArray in = datetimes.array(), out = numbers.array();
      unsigned notes = 77;
      plxOptions options = inZone(zone);
      options.where = where.data();
      options.notes = &notes;
      options.threads = isThreaded ? 2 : 1;
      plxError error;
      EXPECT_EQ(told(plxGet(&in, paHOUR, &options, &out, &error), error), "");
      EXPECT_EQ(notes, expected) << zone << ' ' << last;
      ++cases;
    }
  }
}

TEST(Convert, LeavesOutAndWritesPairsInTheOtherByteOrder) {
  Column<std::int64_t> micros({1500, 7, kNaT, -1}, "<M8[us]"), back({7, 7, 7, 7}, "<M8[us]");
  Column<double> high({7, 7, 7, 7}, ">f8");
  std::vector<double> low(4, 7);
  const plxArray in = micros.array(), out = back.array();
  plxArray pairs = high.array();
  pairs.low = low.data();
  const std::uint8_t where[] = {1, 0, 1, 1};
  plxOptions options = inZone(nullptr);
  options.where = where;
  plxError error;
  EXPECT_EQ(told(plxConvert(&in, &options, &pairs, &error), error), "");
  EXPECT_EQ(high.elements()[1], 7);
  EXPECT_EQ(low[1], 7);
  EXPECT_EQ(told(plxConvert(&pairs, &options, &out, &error), error), "");
  EXPECT_EQ(back.elements(), (std::vector<std::int64_t>{1500, 7, kNaT, -1}));
  std::reverse(bytesOf(high.elements()[0]), bytesOf(high.elements()[0]) + sizeof(double));
  EXPECT_EQ(high.elements()[0], 1.5);
}

TEST(Convert, TellsOfADatetimeThatIsNone) {
  Column<std::complex<double>> pairs({{0, 0}, {1, kNan}}, "<c16");
  Column<double> millis({7, 7}, "<f8");
  const plxArray in = pairs.array(), out = millis.array();
  plxError error;
  EXPECT_EQ(told(plxConvert(&in, nullptr, &out, &error), error),
            "Pelmor:library:NotFinite at 1: the low part of a finite datetime is not finite: "
            "\"1+nanj\"; accepted: a finite low part, the imaginary one, where the high part is "
            "finite");
  EXPECT_EQ(millis.elements(), (std::vector<double>{0, 7}));
}

// Where the high part is none, the low part says nothing.
TEST(Convert, TellsOfALowPartThatIsNone) {
  Cases cases(4);
  using Row = std::pair<double, std::string>;
  for (const auto& [low, text] :
       {Row{kNan, "nan"}, Row{HUGE_VAL, "inf"}, Row{-HUGE_VAL, "-inf"}, Row{0.5, ""}}) {
    Column<double> high({kNan, 5}, "<f8");
    std::vector<double> lows = {low, low};
    plxArray in = high.array();
    in.low = lows.data();
    Column<std::int64_t> micros({7, 7}, "<M8[us]");
    Column<double> numbers({7, 7}, "<f8");
    const plxArray out = micros.array(), seconds = numbers.array();
    const std::string expected =
        text.empty() ? ""
                     : "Pelmor:library:NotFinite at 1: the low part of a finite datetime is not "
                       "finite: \"5," +
                           text + "\"; accepted: a finite low part where the high part is finite";
    plxError error;
    EXPECT_EQ(told(plxConvert(&in, nullptr, &out, &error), error), expected);
    EXPECT_EQ(micros.elements(), (std::vector<std::int64_t>{kNaT, text.empty() ? 5500 : 7}));
    EXPECT_EQ(told(plxGet(&in, paSECOND, nullptr, &seconds, &error), error), expected);
    EXPECT_EQ(numbers.elements()[1], text.empty() ? 0.0055 : 7);
    ++cases;
  }
}

// Counts become pairs, and the pairs the same counts.
TEST(Convert, ThereAndBack) {
  Cases cases(4000);
  Random random(2024);
  for (const char* unit :
       {"Y", "M", "D", "h", "s", "25s", "ms", "us", "7us", "ns", "ps", "fs", "as"}) {
    std::vector<std::int64_t> counts = {0, 1, -1, kNaT};
    // Years and months end 2^52 days from 1970.
    const int most = std::string_view("YM").find(unit) != std::string_view::npos ? 40 : 44;
    for (int i = 0; i < 400; ++i) {
      const bool isSmall = std::string_view("us7usnspsfsas").find(unit) != std::string_view::npos;
      const int bits = static_cast<int>(random.whole(1, isSmall ? 63 : most));
      const auto magnitude = static_cast<std::int64_t>((~std::uint64_t{0} >> 1) >> (63 - bits));
      counts.push_back(random.whole(-magnitude, magnitude));
    }
    const std::string type = std::string("<M8[") + unit + "]";
    Column<std::int64_t> from(counts, type), back(std::vector<std::int64_t>(counts.size()), type);
    Column<double> high(std::vector<double>(counts.size()), "<f8");
    std::vector<double> low(counts.size());
    const plxArray in = from.array(), out = back.array();
    plxArray pairs = high.array();
    pairs.low = low.data();
    plxError error;
    int status = plxConvert(&in, nullptr, &pairs, &error);
    ASSERT_EQ(told(status, error), "") << type;
    status = plxConvert(&pairs, nullptr, &out, &error);
    ASSERT_EQ(told(status, error), "") << type;
    EXPECT_EQ(back.elements(), counts) << type;
    for (std::size_t i = 0; i < counts.size(); ++i, ++cases) {
      if (counts[i] != kNaT) {
        EXPECT_EQ(high.elements()[i] + low[i], high.elements()[i]) << type << counts[i];
      }
    }
  }
}

TEST(Convert, RefusesWhatTheTypeCannotHold) {
  Column<std::int64_t> ns({0, 1}, "<M8[ns]"), days({7, 7}, ">M8[D]");
  Column<double> millis({7, 7}, "<f8");
  const plxArray in = ns.array(), out = days.array(), doubles = millis.array();
  plxError error;
  EXPECT_EQ(plxConvert(&in, nullptr, &out, &error), 1);
  EXPECT_STREQ(error.identifier, "Pelmor:library:CannotHold");
  EXPECT_EQ(error.index, 1U);
  EXPECT_EQ(days.elements(), (std::vector<std::int64_t>{0, 7}));
  EXPECT_EQ(plxConvert(&in, nullptr, &doubles, &error), 1);
  EXPECT_EQ(error.index, 1U);
}

std::string explained(plxTextForm form, plxOptions options = inZone("America/New_York")) {
  Column<std::int64_t> datetime({1394383800}, "<M8[s]");  // 2014-03-09T16:50:00Z
  const plxArray in = datetime.array();
  const plxSetting hour = word(paHOUR, "2");
  plxError error;
  const Text text(plxExplain(&in, &hour, &options, form, &error), plxFreeText);
  EXPECT_NE(text, nullptr) << error.message;
  return text ? text.get() : "";
}

TEST(Explain, InThreeForms) {
  const std::string plain = explained(plxPLAIN_TEXT);
  EXPECT_THAT(plain, HasSubstr("Set hour to 2, in America/New_York\n"));
  EXPECT_THAT(plain, HasSubstr("at 03:50:00."));
  EXPECT_THAT(explained(plxCOLOURED_TEXT), HasSubstr("\x1B[1mSet hour to 2"));
  const std::string html = explained(plxHTML);
  EXPECT_THAT(html, testing::StartsWith("<div class=\"plx\">"));
  EXPECT_THAT(html, HasSubstr("<span class=\"title\">Set hour to 2"));
  EXPECT_THAT(html, testing::Not(HasSubstr("\x1B")));
}

TEST(Explain, AGapThatIsLeftAtItsStart) {
  plxOptions options = inZone("America/New_York");
  options.gap = plxGAP_START;
  EXPECT_THAT(explained(plxPLAIN_TEXT, options), HasSubstr("The result is the last second before"));
}

// Of the options the zone, fold and gap count.
TEST(Explain, LeavesOtherOptionsAside) {
  const std::string plain = explained(plxPLAIN_TEXT);
  const std::uint8_t leftOut = 0;
  std::uint8_t finding = 77;
  unsigned notes = 77;
  plxOptions options = inZone("America/New_York");
  options.where = &leftOut;
  options.findings = &finding;
  options.refused = plxSHIFTED;
  options.notes = &notes;
  EXPECT_EQ(explained(plxPLAIN_TEXT, options), plain);
  EXPECT_EQ(finding, 77);
  EXPECT_EQ(notes, 77U);
}

std::string toldOf(plxArray datetime, plxSetting setting, const char* zone) {
  const plxOptions options = inZone(zone);
  plxError error;
  const Text text(plxExplain(&datetime, &setting, &options, plxPLAIN_TEXT, &error), plxFreeText);
  if (text == nullptr) return told(1, error);
  const std::string whole = text.get();
  return whole.substr(0, whole.find('\n'));
}

// As people write them, and as numbers of any type.
TEST(Explain, ValuesOfEachKind) {
  Column<std::int64_t> seconds({1394383800}, "<M8[s]");
  const plxArray one = seconds.array();
  Column<std::int16_t> two({2 << 8}, ">i2");
  const plxSetting asNumbers = {paMONTH, two.array(), nullptr};
  const double half = 0.5;
  EXPECT_EQ(toldOf(one, word(paDAY_OF_MONTH, "last"), "Europe/Paris"),
            "Set day to last (31), in Europe/Paris");
  EXPECT_EQ(toldOf(one, word(paMONTH, "feb"), nullptr),
            "Set month to feb (2), in plain calendar time");
  EXPECT_EQ(toldOf(one, word(paQUARTER, "Q2"), nullptr),
            "Set quarter to Q2 (2), in plain calendar time");
  EXPECT_EQ(toldOf(one, asNumbers, nullptr), "Set month to 2, in plain calendar time");
  EXPECT_EQ(toldOf(one, forAll(paSECOND, half), nullptr),
            "Set second to 0.5, in plain calendar time");
}

TEST(Explain, WhatCannotBeSet) {
  constexpr const char* kFar =
      "; accepted: dates within 2^52 days of 1970, from -12330436974479-06-28 to "
      "+12330436978418-07-07";
  constexpr const char* kFarInZone =
      "; accepted: in a time zone, from -140744-08-10T07:30:29.504Z to "
      "+144683-05-23T16:29:30.496Z";
  Column<std::int64_t> seconds({1394383800}, "<M8[s]"), far({std::int64_t{1} << 60}, "<M8[W]");
  Column<double> millis({1e300}, "<f8"), high({3.9e23}, "<f8");
  Column<std::complex<double>> finite({{1394383800000, 0.25}}, "<c16");
  double low = 0;
  plxArray pair = high.array();
  pair.low = &low;
  const double nan = kNan, year = 1e14, yearInZone = 200'000, half = 0.5;
  Column<std::int64_t> large({(std::int64_t{1} << 53) + 1}, "<i8");
  const plxArray one = seconds.array();
  EXPECT_EQ(toldOf(far.array(), word(paMONTH, "2"), nullptr),
            "Pelmor:library:OutOfRange: the datetime is out of range: \"1152921504606846976\"" +
                std::string(kFar));
  EXPECT_EQ(
      toldOf(millis.array(), word(paMONTH, "2"), nullptr),
      "Pelmor:library:OutOfRange: the datetime is out of range: \"1e+300\"" + std::string(kFar));
  EXPECT_EQ(
      toldOf(pair, word(paMONTH, "2"), nullptr),
      "Pelmor:library:OutOfRange: the datetime is out of range: \"3.9e+23,0\"" + std::string(kFar));
  EXPECT_EQ(toldOf(pair, word(paMONTH, "2"), "Europe/Paris"),
            "Pelmor:datetime:RangeError: the datetime is out of range: \"3.9e+23,0\"" +
                std::string(kFarInZone));
  EXPECT_EQ(toldOf(one, forAll(paYEAR, year), nullptr),
            "Pelmor:library:OutOfRange: the value or the result is out of range: "
            "\"100000000000000\"" +
                std::string(kFar));
  EXPECT_EQ(toldOf(one, forAll(paSECOND, nan), nullptr),
            "Pelmor:library:OutOfRange: the value or the result is out of range: \"nan\"" +
                std::string(kFar));
  EXPECT_EQ(toldOf(one, forAll(paYEAR, yearInZone), "Etc/UTC"),
            "Pelmor:datetime:RangeError: the value or the result is out of range: "
            "\"2014-03-09T16:50:00\"" +
                std::string(kFarInZone));
  EXPECT_EQ(toldOf(finite.array(), forAll(paYEAR, yearInZone), "Etc/UTC"),
            "Pelmor:datetime:RangeError: the value or the result is out of range: "
            "\"1394383800000+0.25j\"" +
                std::string(kFarInZone));
  EXPECT_EQ(seconds.elements(), std::vector<std::int64_t>{1394383800});
  EXPECT_EQ(toldOf(one, forAll(paMONTH, half), nullptr),
            "Pelmor:datetime:MustBeInteger: not a whole number: \"0.5\"; accepted: whole numbers; "
            "only second and time-of-day take fractions");
  EXPECT_EQ(toldOf(one, {paMONTH, large.array(), nullptr}, nullptr),
            "Pelmor:library:ValueNotExact: the value is too large for a double to hold exactly: "
            "\"9007199254740993\"; accepted: numbers within 2^53");
}

TEST(Tell, Zones) {
  plxError error;
  const Text paris(plxZones("paris", &error), plxFreeText),
      all(plxZones(nullptr, &error), plxFreeText);
  EXPECT_STREQ(paris.get(), "Europe/Paris\n");
  EXPECT_THAT(all.get(), HasSubstr("\nUTCLeapSeconds\n"));
}

TEST(Tell, Components) {
  std::size_t count = 0;
  const plxComponentFacts* facts = plxComponents(&count);
  ASSERT_EQ(count, 11U);
  Cases cases(11);
  for (std::size_t i = 0; i < count; ++i, ++cases) {
    EXPECT_EQ(plxFindComponent(facts[i].name), facts[i].component);
    EXPECT_EQ(plxFindComponent(std::to_string(facts[i].component).c_str()), facts[i].component);
    EXPECT_NE(facts[i].values[0], '\0');
    EXPECT_THAT(facts[i].arguments, HasSubstr(std::string("set ") + facts[i].name + ' '));
  }
  EXPECT_EQ(plxFindComponent("day_of_year"), paDAY_OF_YEAR);
  EXPECT_EQ(plxFindComponent("12"), paDAY_OF_MONTH);
}

TEST(Tell, Versions) {
  plxVersionTexts versions{};
  plxError error;
  ASSERT_EQ(plxVersions(&versions, &error), 0) << error.message;
  EXPECT_STREQ(versions.lastLeapSecond, "2012-06-30T23:59:60Z");
  EXPECT_THAT(versions.module, testing::EndsWith("plx_datetime.so"));
  EXPECT_THAT(versions.rules, testing::MatchesRegex("20[0-9][0-9][a-z]"));
}

}  // namespace
