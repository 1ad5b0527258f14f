// Setting components through plx/plx.h: what comes out, and what is refused.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "library/setting/support.h"
#include "plx/plx.h"
#include "support/cases.h"

namespace {

// 2014-05-10T08:30:15.250.
constexpr std::int64_t kMillis = 1399710615250;

template <class T>
plxArray arrayOf(std::vector<T>& elements, const char* type, const std::size_t& count) {
  return {elements.data(), type, 1, &count, nullptr, nullptr, nullptr};
}

template <class T>
std::vector<T> set(std::vector<T> elements, const char* type, std::vector<plxSetting> settings,
                   const char* zone = nullptr) {
  const std::size_t count = elements.size();
  std::vector<T> out(count);
  const plxArray in = arrayOf(elements, type, count), results = arrayOf(out, type, count);
  plxOptions options{};
  options.size = sizeof options;
  options.zone = zone;
  plxError error;
  EXPECT_EQ(plxSet(&in, settings.data(), settings.size(), &options, &results, &error), 0)
      << error.identifier << ": " << error.message;
  EXPECT_STREQ(error.identifier, "");
  return out;
}

TEST(Set, CountsOfAUnit) {
  double february = 2;
  // 10 February 2014 is 89 days earlier.
  EXPECT_EQ(set<std::int64_t>({kMillis, kNaT}, "<M8[ms]", {forAll(paMONTH, february)}),
            (std::vector<std::int64_t>{kMillis - 89 * 86400000LL, kNaT}));
  EXPECT_EQ(set<std::int64_t>({kMillis * 1000000 + 123456}, "<M8[ns]", {forAll(paMONTH, february)}),
            (std::vector<std::int64_t>{(kMillis - 89 * 86400000LL) * 1000000 + 123456}));
  EXPECT_EQ(set<std::int64_t>({16200}, "<M8[D]", {word(paMONTH, "feb")}),
            (std::vector<std::int64_t>{16200 - 89}));
}

TEST(Set, MillisecondsAsDoubles) {
  double hour = 13;
  const auto millis = static_cast<double>(kMillis);
  EXPECT_EQ(set<double>({millis}, "<f8", {forAll(paHOUR, hour)}),
            (std::vector<double>{millis + 5 * 3600000}));
  using Pair = std::complex<double>;
  const auto out = set<Pair>({{millis, 1e-5}}, "<c16", {forAll(paHOUR, hour)});
  EXPECT_EQ(out, (std::vector<Pair>{{millis + 5 * 3600000, 1e-5}}));
}

// Long columns are divided where a cache line begins; there is none in these.
TEST(Set, ShortPairsAnywhereInACacheLine) {
  constexpr std::size_t kCount = 3;
  const double hour = 13;
  const plxSetting setting = forAll(paHOUR, hour);
  const std::vector<double> from(kCount, static_cast<double>(kMillis)), low(kCount, 1e-5);
  alignas(64) std::array<double, 16> high{}, rest{};
  Cases cases(8);
  for (std::size_t at = 1; at <= 8; ++at) {
    high.fill(7);
    rest.fill(7);
    const plxArray in = {const_cast<double*>(from.data()), "<f8",  1, &kCount, nullptr,
                         const_cast<double*>(low.data()),  nullptr};
    const plxArray out = {&high[at], "<f8", 1, &kCount, nullptr, &rest[at], nullptr};
    plxError error;
    EXPECT_EQ(told(plxSet(&in, &setting, 1, nullptr, &out, &error), error), "");
    for (std::size_t i = 0; i < high.size(); ++i) {
      const bool isSet = at <= i && i < at + kCount;
      EXPECT_EQ(high[i], isSet ? static_cast<double>(kMillis + 5 * 3600000) : 7) << at << ' ' << i;
      EXPECT_EQ(rest[i], isSet ? 1e-5 : 7) << at << ' ' << i;
    }
    ++cases;
  }
}

TEST(Set, SeveralInTheirOrder) {
  double february = 2;
  // 10 May -> 10 February -> 28 February.
  EXPECT_EQ(set<std::int64_t>({16200}, "<M8[D]",
                              {forAll(paMONTH, february), word(paDAY_OF_MONTH, "last")}),
            (std::vector<std::int64_t>{16200 - 89 + 18}));
}

TEST(Set, InATimeZone) {
  double hour = 2;
  // 2014-03-09T16:50Z is 12:50 in New York; 02:50 is skipped that day.
  const std::int64_t minute = 23239730;
  EXPECT_EQ(set<std::int64_t>({minute}, "<M8[m]", {forAll(paHOUR, hour)}, "America/New_York"),
            (std::vector<std::int64_t>{minute - 9 * 60}));
}

TEST(Set, TellsTheFirstElementThatIsWrong) {
  std::vector<std::int64_t> days = {1, 2, 3, 4};
  std::vector<double> hours = {0, 0, 5, 0};
  const std::size_t count = days.size();
  const plxArray in = arrayOf(days, "<M8[D]", count);
  const plxSetting setting{paHOUR, arrayOf(hours, "<f8", count), nullptr};
  std::vector<std::int64_t> out(count, 7);
  const plxArray results = arrayOf(out, "<M8[D]", count);
  plxError error;
  EXPECT_EQ(plxSet(&in, &setting, 1, nullptr, &results, &error), 1);
  EXPECT_STREQ(error.identifier, "Pelmor:library:CannotHold");
  EXPECT_EQ(error.index, 2U);
  EXPECT_EQ(error.done, 2U);
  EXPECT_EQ(out, (std::vector<std::int64_t>{1, 2, 7, 7}));
  hours[1] = 0.5;
  EXPECT_EQ(plxSet(&in, &setting, 1, nullptr, &results, &error), 1);
  EXPECT_STREQ(error.identifier, "Pelmor:datetime:MustBeInteger");
  EXPECT_EQ(error.index, 1U);
  std::vector<double> datetimes = {0, 0, 1e300, 0};
  const plxArray millis = arrayOf(datetimes, "<f8", count), numbers = arrayOf(hours, "<f8", count);
  EXPECT_EQ(plxGet(&millis, paHOUR, nullptr, &numbers, &error), 1);
  EXPECT_EQ(error.index, 2U);
  EXPECT_EQ(error.done, 2U);
}

// Whichever element it is that cannot be set, of the blocks and the parts of blocks that are worked on as one: all
// before it are set, and nothing behind it is written.
TEST(Set, StopsAtAnyElementOfAnyBlock) {
  constexpr std::size_t kBlock = 8192, kCount = 2 * kBlock + 700;
  std::vector<std::size_t> positions = {0, 1, kCount - 1};
  for (const std::size_t edge : {256, 504, 512, 1024, 4096, 8192, 8192 + 512, 2 * 8192})
    for (std::size_t at = edge - 2; at <= edge + 1; ++at) positions.push_back(at);
  struct Row {
    const char* why;
    const char* type;
    int component;
    double value, wrongValue;
    std::int64_t wrongDatetime;
    const char* identifier;
  };
  const Row rows[] = {
      {"no whole day", "<M8[D]", paHOUR, 0, 5, 0, "Pelmor:library:CannotHold"},
      {"no whole number", "<M8[ms]", paHOUR, 0, 0.5, 0, "Pelmor:datetime:MustBeInteger"},
      {"no whole second", "<M8[s]", paSECOND, 1, 0.25, 0, "Pelmor:library:CannotHold"},
      {"too many for 64 bits", "<M8[ns]", paYEAR, 1970, 2500, 0, "Pelmor:library:CannotHold"},
      {"out of range", "<M8[W]", paYEAR, 1970, 1970, 1LL << 60, "Pelmor:library:OutOfRange"},
      {"out of range", "<f8", paYEAR, 1970, 1970, std::bit_cast<std::int64_t>(1e300),
       "Pelmor:library:OutOfRange"},
      {"no whole day", ">M8[D]", paHOUR, 0, 5, 0, "Pelmor:library:CannotHold"},
  };
  Cases cases(std::size(rows) * positions.size() * 4);
  for (const Row& row : rows) {
    for (const std::size_t at : positions) {
      for (const bool isInPlace : {false, true}) {
        for (const std::size_t offset : {0, 3}) {  // bytes beside what is aligned
          std::vector<std::int64_t> datetimes(kCount, 0);
          std::vector<double> values(kCount, row.value);
          datetimes[at] = row.wrongDatetime;
          values[at] = row.wrongValue;
          std::vector<char> in(8 * kCount + 8, 'x'), out = in;
          std::memcpy(in.data() + offset, datetimes.data(), 8 * kCount);
          std::vector<char>& results = isInPlace ? in : out;
          const std::vector<char> before = results;
          plxArray from = arrayOf(datetimes, row.type, kCount), to = from;
          from.data = in.data() + offset;
          to.data = results.data() + offset;
          const plxSetting setting{row.component, arrayOf(values, "<f8", kCount), nullptr};
          plxError error;
          EXPECT_EQ(plxSet(&from, &setting, 1, nullptr, &to, &error), 1);
          EXPECT_STREQ(error.identifier, row.identifier) << row.why << ' ' << at;
          EXPECT_EQ(error.index, at) << row.why;
          EXPECT_EQ(error.done, at) << row.why;
          std::vector<char> expected = before;
          // The first instant of 1970 is what all but those of the second setting were.
          const std::int64_t set = row.component == paSECOND ? 1 : 0;
          for (std::size_t i = 0; i < at; ++i) std::memcpy(&expected[offset + 8 * i], &set, 8);
          EXPECT_TRUE(results == expected) << row.why << ' ' << at;
          ++cases;
        }
      }
    }
  }
}

// 8 MiB of results, wherever they begin, as in pieces of a few.
TEST(Set, ManyResultsThatBypassTheCaches) {
  constexpr std::size_t kLong = (std::size_t{1} << 20) + 700, kPiece = 100'003;
  const double hour = 13;
  const plxSetting setting = forAll(paHOUR, hour);
  std::vector<std::int64_t> datetimes(kLong);
  for (std::size_t i = 0; i < kLong; ++i) datetimes[i] = static_cast<std::int64_t>(i) * 3'456'789;
  std::vector<std::int64_t> expected(kLong);
  plxError error;
  for (std::size_t start = 0; start < kLong; start += kPiece) {
    const std::size_t count = std::min(kPiece, kLong - start);
    const plxArray in = {&datetimes[start], "<M8[ms]", 1, &count, nullptr, nullptr, nullptr};
    const plxArray out = {&expected[start], "<M8[ms]", 1, &count, nullptr, nullptr, nullptr};
    ASSERT_EQ(told(plxSet(&in, &setting, 1, nullptr, &out, &error), error), "");
  }
  Cases cases(4);
  const plxArray in = arrayOf(datetimes, "<M8[ms]", kLong);
  for (const std::size_t offset : {0, 3, 8, 60}) {
    std::vector<char> bytes(8 * kLong + 64, 'x');
    plxArray out = in;
    out.data = bytes.data() + offset;
    ASSERT_EQ(told(plxSet(&in, &setting, 1, nullptr, &out, &error), error), "");
    EXPECT_EQ(std::memcmp(out.data, expected.data(), 8 * kLong), 0) << offset;
    EXPECT_EQ(std::count(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(offset), 'x'),
              static_cast<std::ptrdiff_t>(offset));
    EXPECT_EQ(std::string(&bytes[offset + 8 * kLong], 64 - offset), std::string(64 - offset, 'x'));
    ++cases;
  }
}

TEST(Set, RefusesValuesThatNoCalendarTakes) {
  Column<std::int64_t> seconds({0, 0, 0}, "<M8[s]");
  Column<double> values({1, 2147484, 3}, "<f8");
  const plxArray array = seconds.array();
  const plxSetting time{paTIME_OF_DAY, values.array(), nullptr};
  const plxOptions options = inZone("+01:00");
  plxError error;
  EXPECT_EQ(plxSet(&array, &time, 1, &options, &array, &error), 1);
  EXPECT_STREQ(error.identifier, "Pelmor:datetime:RangeError");
  EXPECT_EQ(error.index, 1U);
  EXPECT_EQ(seconds.elements(), (std::vector<std::int64_t>{-3599, 0, 0}));
}

// The number itself, of which the shortest text that a float could be read from is another one.
TEST(Set, TellsTheNumberThatIsRefused) {
  Column<std::int64_t> seconds({0}, "<M8[s]");
  Column<float> values({2147483648.0F}, "<f4");
  const plxArray array = seconds.array();
  const plxSetting month{paMONTH, values.array(), nullptr};
  const plxOptions options = inZone("+01:00");
  plxError error;
  EXPECT_THAT(told(plxSet(&array, &month, 1, &options, &array, &error), error),
              testing::HasSubstr("\"2147483648\""));
}

// Whatever their other lengths and their strides are, and though they have no memory.
TEST(Set, ArraysWithoutElements) {
  constexpr std::size_t kLong = std::size_t{1} << 40;
  constexpr std::ptrdiff_t kFar = std::numeric_limits<std::ptrdiff_t>::max();
  const std::ptrdiff_t strides[] = {kFar, -kFar, kFar};
  const double value = 1;
  const plxSetting day = forAll(paDAY_OF_MONTH, value);
  for (const char* type : {"<c16", "<f8", ">f8", ">M8[ns]"}) {
    for (const auto& shape : {std::array{kLong, kLong, std::size_t{0}},
                              {kLong, 0, kLong},
                              {0, kLong, kLong},
                              {0, 3, 5}}) {
      for (const std::ptrdiff_t* distances :
           {strides, static_cast<const std::ptrdiff_t*>(nullptr)}) {
        double low = 0;
        plxArray empty = {nullptr, type, 3, shape.data(), distances, nullptr, nullptr};
        if (std::string(type) == "<f8") empty.low = &low;
        plxError error;
        EXPECT_EQ(told(plxSet(&empty, &day, 1, nullptr, &empty, &error), error), "") << type;
      }
    }
  }
}

}  // namespace
