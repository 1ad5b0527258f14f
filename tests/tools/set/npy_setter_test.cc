// Arrays set through the module.
#include "set/npy_setter.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "datetime/zone.h"
#include "elements/time_scale.h"
#include "module/components.h"
#include "npy/positions.h"
#include "support/bits.h"
#include "support/built.h"
#include "support/cases.h"
#include "support/integer_calendar.h"
#include "support/random.h"
#include "tools/support/npy_bytes.h"
#include "tools/support/temporary_folder.h"

// How often the system was asked about a file. The C library's function is found here first.
static std::atomic<long> fstatCalls = 0;
extern "C" int fstat(int descriptor, struct stat* info) noexcept {
  ++fstatCalls;
  return ::fstatat(descriptor, "", info, AT_EMPTY_PATH);
}

namespace plx {
namespace {

using namespace std::string_literals;
using testing::HasSubstr;
using testing::StartsWith;
using Counts = std::vector<std::int64_t>;
using Doubles = std::vector<double>;

struct Arg {
  const char* component;
  double value;
  std::string file = {};  // in the folder
};

class NpySetterTest : public testing::Test {
 protected:
  // By one thread and by three, which give the same.
  std::string set(const std::string& bytes, const std::vector<Arg>& args, const char* zone = "") {
    const std::string byOne = setBy(1, bytes, args, zone);
    EXPECT_EQ(setBy(3, bytes, args, zone), byOne);
    return byOne;
  }
  std::string setBy(std::size_t jobs, const std::string& bytes, const std::vector<Arg>& args,
                    const char* zone = "") {
    const std::string path = folder_.write("times.npy", bytes);
    std::vector<NpySetting> settings;
    for (const Arg& a : args)
      settings.push_back({findComponent(a.component), a.value,
                          a.file.empty() ? std::string() : folder_.path(a.file)});
    NpyFile file(path);
    written_.clear();
    setNpy(module_, file, settings, Zone::named(zone), {}, jobs,
           [&](std::string_view some) { written_ += some; });
    EXPECT_EQ(readNpyHeader(written_, "out").header.shape, file.header().shape);
    EXPECT_EQ(readNpyHeader(written_, "out").header.type, file.header().type);
    return written_;
  }
  // The message without the folder, the same whoever sets; as is what was written before.
  std::string refusal(const std::string& bytes, const std::vector<Arg>& args,
                      const char* zone = "") {
    const std::string message = refusalBy(1, bytes, args, zone), written = written_;
    EXPECT_EQ(refusalBy(3, bytes, args, zone), message);
    EXPECT_EQ(written_, written);
    return message;
  }
  std::string refusalBy(std::size_t jobs, const std::string& bytes, const std::vector<Arg>& args,
                        const char* zone) {
    try {
      setBy(jobs, bytes, args, zone);
    } catch (const Failure& failure) {
      const std::string start = folder_.path("");
      const std::string& m = failure.message;
      return m.starts_with(start) ? m.substr(start.size()) : m;
    }
    return "set";
  }

  Module module_{built("plx_datetime.so")};
  TemporaryFolder folder_;
  std::string written_;  // by the last call
};

TEST_F(NpySetterTest, KnownResults) {
  const double t = 1'399'710'615'250;  // 2014-05-10T08:30:15.25
  EXPECT_EQ(numbersOf<double>(set(npyOf<double>("<c16", {t, 0, t, 1e-9}), {{"day", 1}})),
            (Doubles{t - 9 * 864e5, 0, t - 9 * 864e5, 1e-9}));
  EXPECT_EQ(numbersOf<double>(set(npyOf<double>(">f8", {t}), {{"second", 30.1}}), true),
            (Doubles{t + 14'850}));
  EXPECT_EQ(numbersOf<std::int64_t>(set(npyOf<std::int64_t>("<M8[ns]", {1'399'710'615'250'000'007}),
                                        {{"year", 1970}, {"month", 1}})),
            (Counts{808'215'250'000'007}));
  EXPECT_EQ(numbersOf<std::int64_t>(set(npyOf<std::int64_t>("<M8[as]", {7}), {{"second", 1.5}})),
            (Counts{1'500'000'000'000'000'000}));
  EXPECT_EQ(numbersOf<std::int64_t>(set(npyOf<std::int64_t>("<M8[M]", {5, -5}), {{"month", 3}})),
            (Counts{2, -10}));
  EXPECT_EQ(numbersOf<std::int64_t>(set(npyOf<std::int64_t>("<M8[Y]", {5, kNaT}), {{"year", 30}})),
            (Counts{-1940, kNaT}));
}

// Values that stand in another order are read one by one, but the file is looked at once a chunk.
TEST_F(NpySetterTest, AsksTheSystemOnceAChunk) {
  const std::string shape = "(100, 1000)";
  folder_.write("values.npy", npyOf<double>("<f8", Doubles(100'000, 2), shape, true));
  const std::string times = npyOf<double>("<f8", Doubles(100'000, 0), shape);
  for (const std::size_t jobs : {1, 3}) {
    fstatCalls = 0;
    setBy(jobs, times, {{"day", 0, "values.npy"}});
    EXPECT_GE(fstatCalls, 2 * 12) << "it is counted: twelve chunks and a part of one, of two files";
    EXPECT_LE(fstatCalls, 2 * 13 + 10);
  }
}

TEST_F(NpySetterTest, SettingsFollowEachOther) {
  const std::string t = npyOf<std::int64_t>("<M8[D]", {16'200});  // 2014-05-10
  // Day 31 of February is in March, and what comes after it counts from there.
  EXPECT_EQ(numbersOf<std::int64_t>(set(t, {{"month", 2}, {"day", 31}, {"month", 2}})),
            (Counts{16'104}));
  EXPECT_EQ(numbersOf<std::int64_t>(set(t, {{"day", 31}, {"month", 2}})), (Counts{16'132}));
  // On the way, an hour may be what days cannot hold.
  EXPECT_EQ(numbersOf<std::int64_t>(set(t, {{"hour", 5}, {"day", 1}, {"hour", 0}})),
            (Counts{16'191}));
  EXPECT_THAT(refusal(t, {{"hour", 5}}),
              StartsWith("times.npy: element 0: datetime64[D] cannot hold the result: "
                         "\"2014-05-10T05:00:00\"; accepted: "));
  // The parts of a millisecond go with the second, wherever that is set.
  const std::string fine = npyOf<std::int64_t>("<M8[ns]", {1'000'000'001});
  EXPECT_EQ(numbersOf<std::int64_t>(set(fine, {{"hour", 1}, {"second", 2}, {"minute", 0}})),
            (Counts{3'602'000'000'000}));
}

TEST_F(NpySetterTest, NaNAndNaT) {
  const auto pairs = numbersOf<double>(
      set(npyOf<double>("<c16", {kNan, 0, kInf, 0, -kInf, 5, kNan, kNan, 0, 0}), {{"year", 2000}}));
  EXPECT_SAME_BITS((doubledouble{pairs[0], pairs[1]}), (doubledouble{kNan, 0}));
  EXPECT_SAME_BITS((doubledouble{pairs[2], pairs[3]}), (doubledouble{kInf, 0}));
  EXPECT_SAME_BITS((doubledouble{pairs[4], pairs[5]}), (doubledouble{-kInf, 0}));
  EXPECT_SAME_BITS((doubledouble{pairs[6], pairs[7]}), (doubledouble{kNan, 0}));
  EXPECT_EQ(pairs[8], 946'684'800'000);
  EXPECT_THAT(refusal(npyOf<double>("<c16", {0, kNan}), {{"year", 2000}}),
              HasSubstr("element 0: the low part of a finite datetime is not finite: \"0+nanj\""));

  EXPECT_EQ(numbersOf<double>(set(npyOf<double>("<f8", {0, 5}), {{"hour", kInf}})),
            (Doubles{kInf, kInf}));
  EXPECT_THAT(refusal(npyOf<std::int64_t>("<M8[s]", {0}), {{"hour", -kInf}}),
              HasSubstr("element 0: the result is not finite: \"-inf\""));
  folder_.write("v.npy", npyOf<double>("<f8", {kNan, 1, kInf}));
  const auto floats =
      numbersOf<double>(set(npyOf<double>("<f8", {0, kNan, 5}), {{"hour", 0, "v.npy"}}));
  EXPECT_TRUE(std::isnan(floats[0]) && std::isnan(floats[1]));
  EXPECT_EQ(floats[2], kInf);
  for (const char* type : {"<M8[s]", "<M8[us]", "<M8[ps]", "<M8[Y]", ">M8[ns]"}) {
    folder_.write("v.npy", npyOf<double>("<f8", {kNan, 1, 7}));
    const bool isBig = type[0] == '>';
    const auto counts = numbersOf<std::int64_t>(
        set(npyOf<std::int64_t>(type, {0, 0, kNaT}), {{"day", 0, "v.npy"}}), isBig);
    EXPECT_EQ(counts, (Counts{kNaT, 0, kNaT})) << type;
    folder_.write("v.npy", npyOf<double>("<f8", {1, kInf, 7}));
    EXPECT_THAT(refusal(npyOf<std::int64_t>(type, {0, 0, 0}), {{"day", 0, "v.npy"}}),
                HasSubstr("element 1: the result is not finite: \"inf\""))
        << type;
  }
}

TEST_F(NpySetterTest, WhatCannotBeHeld) {
  const auto one = [](const char* type, std::int64_t count) {
    return npyOf<std::int64_t>(type, {0, count});
  };
  const struct {
    std::string bytes;
    Arg arg;
    const char* message;  // empty: it is set
  } rows[] = {
      {npyOf<double>("<f8", {0, 1e12}),
       {"second", 0.0001},
       "element 1: float64 cannot hold the result"},
      {npyOf<double>("<f8", {0, 0.1}), {"year", 2031}, "element 1: float64 cannot hold the result"},
      {npyOf<double>("<f8", {0, 1e12}), {"second", 30.1}, ""},
      {npyOf<double>("<f8", {0, 1e300}),
       {"day", 1},
       "element 1: the datetime is out of range: \"1e+300\""},
      {npyOf<double>("<c16", {0, 0, 0, 1e300}),
       {"day", 1},
       "element 1: the datetime is out of range: \"0+1e+300j\""},
      {npyOf<double>("<c16", {0, 0, 1, 0}),
       {"year", 1e300},
       "element 0: the result is out of range"},
      {npyOf<double>("<f8", {0, 1}), {"year", 1e300}, "element 0: the result is out of range"},
      {one("<M8[ms]", 1), {"second", 30.1}, ""},
      {one("<M8[ms]", 1),
       {"second", 0.0001},
       "element 0: datetime64[ms] cannot hold the result: \"1970-01-01T00:00:00.0001"},
      {one("<M8[us]", 1), {"second", 0.000001}, ""},
      {one("<M8[us]", 1), {"time-of-day", 86399.999999}, ""},
      {one("<M8[us]", 1),
       {"second", 0.0000001},
       "element 0: datetime64[us] cannot hold the result"},
      {one("<M8[ns]", 1), {"time-of-day", 12345.123456789}, ""},
      {one("<M8[ns]", 1), {"second", 1e-10}, "element 0: datetime64[ns] cannot hold"},
      {one("<M8[ns]", 1),
       {"year", 2500},
       "element 0: datetime64[ns] cannot hold the result: \"2500-01-01T00:00:00\""},
      {one("<M8[as]", 1), {"second", 9.3}, "element 0: datetime64[as] cannot hold"},
      {one("<M8[as]", 1), {"second", 9.2}, ""},
      {one("<M8[h]", 1), {"minute", 60}, ""},
      {one("<M8[h]", 1), {"minute", 30}, "element 0: datetime64[h] cannot hold"},
      {one("<M8[25s]", 1), {"minute", 25}, ""},
      {one("<M8[25s]", 4), {"second", 30}, "element 0: datetime64[25s] cannot hold"},
      {one("<M8[7us]", 1),
       {"day", 2},
       "element 0: datetime64[7us] cannot hold the result: \"1970-01-02T00:00:00\""},
      {one("<M8[7us]", 1), {"day", 8}, ""},
      {one("<M8[M]", 1), {"day", 2}, "element 0: datetime64[M] cannot hold"},
      {one("<M8[M]", 1), {"day", 0}, "element 0: datetime64[M] cannot hold"},
      {one("<M8[Y]", 1), {"month", 13}, ""},
      {one("<M8[2Y]", 1), {"year", 1971}, "element 0: datetime64[2Y] cannot hold"},
      {one("<M8[Y]", 12'400'000'000'000),
       {"year", 1},
       "element 1: the datetime is out of range: \"12400000000000\""},
      {one("<M8[s]", 9'223'372'036'854'775'807), {"year", 1970}, ""},
      {one("<M8[m]", 6'485'183'463'413'514'241),
       {"year", 1970},
       "element 1: the datetime is out of range"},
      {one("<M8[m]", kNaT + 1),
       {"year", 1970},
       "element 1: the datetime is out of range: \"-9223372036854775807\""},
  };
  Cases cases(static_cast<std::int64_t>(std::size(rows)));
  for (const auto& r : rows) {
    const std::string message = refusal(r.bytes, {r.arg});
    ++cases;
    if (*r.message == '\0') {
      EXPECT_EQ(message, "set") << r.arg.component << ' ' << r.arg.value;
    } else {
      EXPECT_THAT(message, StartsWith(std::string("times.npy: ") + r.message));
      EXPECT_THAT(message, HasSubstr("; accepted: "));
    }
  }
}

// Every unit: a setting of what is there changes nothing.
TEST_F(NpySetterTest, IdentityOfEveryUnit) {
  Cases cases(10'000);
  Random random(1);
  const char* units[] = {"Y",  "M",  "W",  "D",  "h",  "m",   "s",   "ms",
                         "us", "ns", "ps", "fs", "as", "25s", "7us", "3M"};
  for (const char* unit : units) {
    for (const bool isBig : {false, true}) {
      const std::string type = std::string(isBig ? ">" : "<") + "M8[" + unit + "]";
      Complaint complaint;
      const ElementType read = *readElementType(type, complaint);
      const TimeScale scale(read.unit, read.multiple);
      Counts counts;
      Doubles years, days, hours;
      while (counts.size() < 400) {
        const int shift = static_cast<int>(random.whole(0, 55));
        const std::int64_t c =
            random.whole(kNaT + 1, std::numeric_limits<std::int64_t>::max()) >> shift;
        const auto instant = scale.instantOf(c);
        if (!instant) continue;
        const auto [day, millis] = floorDiv(instant->millis, 86'400'000);
        const auto date = integer_calendar::dateOf(day);
        counts.push_back(c);
        years.push_back(static_cast<double>(date.year));
        days.push_back(date.day);
        hours.push_back(static_cast<double>(millis / 3'600'000));
        ++cases;
      }
      folder_.write("y.npy", npyOf("<f8", years));
      folder_.write("d.npy", npyOf(">f8", days));
      folder_.write("h.npy", npyOf("<f8", hours));
      const auto result = set(npyOf(type, counts),
                              {{"year", 0, "y.npy"}, {"day", 0, "d.npy"}, {"hour", 0, "h.npy"}});
      ASSERT_EQ(numbersOf<std::int64_t>(result, isBig), counts) << type;
    }
  }
}

// Numbers go to the module as they are, and so do its results come out.
TEST_F(NpySetterTest, PairsAreTheModules) {
  Cases cases(20'000);
  Random random(2);
  const char* zones[] = {"", "UTC", "UTCLeapSeconds", "America/New_York", "+05:30"};
  for (const ComponentFacts& component : kComponentFacts) {
    for (const char* zone : zones) {
      Datetimes datetimes;
      Doubles numbers, values;
      for (int i = 0; i < 400; ++i) {
        // Normalised or not.
        const doubledouble pair{random.oneIn(9) ? kNan : random.real(-1e13, 1e13),
                                random.oneIn(2) ? 0.0 : random.real(-1e3, 1e3)};
        datetimes.push(pair);
        numbers.insert(numbers.end(), {pair.hi, pair.lo});
        values.push_back(!component.takesFractions ? static_cast<double>(random.whole(-50, 2500))
                                                   : random.real(-50, 2500));
        ++cases;
      }
      folder_.write("v.npy", npyOf(">f8", values));
      const auto result = numbersOf<double>(
          set(npyOf(">c16", numbers), {{component.name.data(), 0, "v.npy"}}, zone), true);
      ASSERT_FALSE(module_.set(datetimes, values, component.selector, zone));
      for (std::size_t i = 0; i < datetimes.size(); ++i)
        ASSERT_SAME_BITS(datetimes.at(i), (doubledouble{result[2 * i], result[2 * i + 1]}))
            << component.name << ' ' << zone << ' ' << i;
    }
  }
}

// What is below a millisecond never meets the module, and is what its pairs make of it.
TEST_F(NpySetterTest, PartsOfAMillisecondAreWhatPairsSay) {
  Cases cases(10'000);
  Random random(3);
  for (const ComponentFacts& component : kComponentFacts) {
    for (const char* zone : {"", "UTCLeapSeconds", "Europe/Paris"}) {
      Datetimes datetimes;
      Counts counts;
      Doubles values;
      for (int i = 0; i < 400; ++i, ++cases) {
        const std::int64_t c = random.whole(-4'000'000'000'000'000, 4'000'000'000'000'000) * 1000 +
                               (random.oneIn(2) ? 0 : random.whole(0, 999));
        counts.push_back(c);
        const auto [millis, parts] = floorDiv(c, 1'000'000);
        const auto half = std::to_string(1'000'000 + static_cast<std::int64_t>(parts)).substr(1);
        const auto [second, milli] = floorDiv(millis, 1000);
        datetimes.push(
            pairOf(second, std::to_string(1000 + static_cast<int>(milli)).substr(1) + half));
        values.push_back(!component.takesFractions
                             ? static_cast<double>(random.whole(-9, 9))
                             : static_cast<double>(random.whole(-9'000, 9'000)) / 8);
      }
      if (component.name == "year")
        for (double& v : values) v += 2000;
      folder_.write("v.npy", npyOf("<f8", values));
      const auto result = numbersOf<std::int64_t>(
          set(npyOf("<M8[ns]", counts), {{component.name.data(), 0, "v.npy"}}, zone));
      ASSERT_FALSE(module_.set(datetimes, values, component.selector, zone));
      for (std::size_t i = 0; i < counts.size(); ++i) {
        const DecimalSeconds decimal = rounded(datetimes.at(i), 9);
        const auto digits = (decimal.fraction + "000000000").substr(0, 9);
        ASSERT_EQ(result[i],
                  static_cast<std::int64_t>(decimal.seconds) * 1'000'000'000 + std::stoll(digits))
            << component.name << ' ' << zone << ' ' << counts[i] << ' ' << values[i];
      }
    }
  }
}

// Where the element stands, in the order of Fortran, that is the i-th one in that of C.
std::size_t placeInFortran(const std::vector<std::uint64_t>& shape, std::size_t i) {
  std::size_t place = 0;
  for (std::size_t d = shape.size(), others = i; d-- > 0; others /= shape[d]) {
    std::size_t stride = others % shape[d];
    for (std::size_t before = 0; before < d; ++before) stride *= shape[before];
    place += stride;
  }
  return place;
}

TEST_F(NpySetterTest, OrdersAndShapesOfValues) {
  Cases cases(20'000);
  Random random(4);
  const struct {
    const char* text;
    std::vector<std::uint64_t> shape;
  } shapes[] = {{"(3, 4)", {3, 4}},
                {"(2, 3, 4)", {2, 3, 4}},
                {"(130, 71, 2)", {130, 71, 2}},  // more than a chunk
                {"(1, 5, 1)", {1, 5, 1}},
                {"(7,)", {7}}};
  for (const auto& shape : shapes) {
    NpyHeader header;
    header.shape = shape.shape;
    header.count = 1;
    for (const auto length : shape.shape) header.count *= length;
    // Element i in the order of C has the value i + 1.
    const auto inOrder = [&](bool fortranOrder) {
      Doubles values(header.count);
      for (std::size_t i = 0; i < values.size(); ++i)
        values[fortranOrder ? placeInFortran(shape.shape, i) : i] = static_cast<double>(i + 1);
      return values;
    };
    for (const bool fortran : {false, true}) {
      for (const bool valuesFortran : {false, true}) {
        folder_.write("v.npy", npyOf("<f8", inOrder(valuesFortran), shape.text, valuesFortran));
        const std::string out =
            set(npyOf("<M8[D]", Counts(header.count), shape.text, fortran), {{"day", 0, "v.npy"}});
        EXPECT_EQ(readNpyHeader(out, "out").header.fortranOrder, fortran);
        const auto result = numbersOf<std::int64_t>(out);
        const auto expected = inOrder(fortran);
        for (std::size_t i = 0; i < result.size(); ++i, ++cases)
          ASSERT_EQ(static_cast<double>(result[i]), expected[i] - 1) << shape.text << i;
      }
    }
  }
}

TEST_F(NpySetterTest, ValuesOfAFile) {
  const std::string three = npyOf<std::int64_t>("<M8[s]", {0, 0, 0});
  const auto with = [&](const std::string& bytes, const char* component = "day") {
    folder_.write("v.npy", bytes);
    return std::vector<Arg>{{component, 0, "v.npy"}};
  };
  EXPECT_EQ(numbersOf<std::int64_t>(set(three, with(npyOf<std::int8_t>("|i1", {1, 2, 3})))),
            (Counts{0, 86'400, 172'800}));
  for (const char* shape : {"()", "(1,)", "(1, 1)"})
    EXPECT_EQ(numbersOf<std::int64_t>(set(three, with(npyOf<float>(">f4", {2}, shape)))),
              (Counts{86'400, 86'400, 86'400}));
  EXPECT_EQ(numbersOf<double>(set(npyOf<double>("<f8", {0, 60'000}),
                                  with(npyOf<double>("<f8", {2.5}), "second"))),
            (Doubles{2500, 62'500}));
  EXPECT_EQ(set(npyOf<double>("<f8", {}), with(npyOf<double>("<f8", {5}))).size(), 128u);
  EXPECT_EQ(set(npyOf<double>("<f8", {}, "(0, 5)"), with(npyOf<double>("<f8", {}, "(0, 5)", true)))
                .size(),
            128u);

  const struct {
    std::string values;
    const char* component;
    const char* message;
  } rows[] = {
      {npyOf<double>("<f8", {1, 2}), "day",
       "v.npy: the shape is not that of the datetimes: \"(2,)\""},
      {npyOf<double>("<f8", {1, 2, 3}, "(3, 1)"), "day",
       "v.npy: the shape is not that of the datetimes: \"(3, 1)\""},
      {npyOf<double>("<f8", {}), "day", "v.npy: the shape is not that of the datetimes: \"(0,)\""},
      {npyOf<double>("<f8", {1, 2.5, 3}), "day", "v.npy: element 1: not a whole number: \"2.5\""},
      {npyOf<double>("<f8", {1.5}), "day", "v.npy: element 0: not a whole number: \"1.5\""},
      {npyOf<std::int64_t>("<i8", {1, 2, (1LL << 53) + 1}), "day",
       "v.npy: element 2: the value is too large for a double to hold exactly: "
       "\"9007199254740993\""},
      {npyOf<std::int64_t>("<i8", {(1LL << 53) + 1}), "day",
       "v.npy: element 0: the value is too large for a double to hold exactly: "
       "\"9007199254740993\""},
      {npyOf<double>("<c16", {1, 2, 3, 4, 5, 6}), "day",
       "v.npy: the elements are no numbers: \"complex128\""},
      {npyOf<std::int64_t>("<M8[s]", {1, 2, 3}), "day",
       "v.npy: the elements are no numbers: \"datetime64[s]\""},
      {"1\n2\n3\n", "day", "v.npy: byte 0: not an .npy file"},
  };
  for (const auto& r : rows)
    EXPECT_THAT(refusal(three, with(r.values, r.component)), StartsWith(r.message));
  EXPECT_THAT(refusal(three, {{"day", 0.5}}), StartsWith("VALUE: not a whole number: \"0.5\""));
  EXPECT_THAT(
      refusal(three, {{"day", 3e9}}, "Europe/Paris"),
      StartsWith("VALUE: the value is out of range: \"3000000000\"; accepted: in a time zone"));
  EXPECT_THAT(refusal(three, with(npyOf<double>("<f8", {1, 2147484, 3}), "time-of-day"), "+01:00"),
              StartsWith("v.npy: element 1: the time of day is out of range: \"2147484\""));
  EXPECT_THAT(refusal(npyOf<std::int32_t>("<i4", {1}), {{"day", 1}}),
              StartsWith("times.npy: the elements are no datetimes: \"int32\""));
  EXPECT_THAT(refusal(npyOf<float>("<f4", {1}), {{"day", 1}}),
              StartsWith("times.npy: the elements are no datetimes: \"float32\""));
}

TEST_F(NpySetterTest, Zones) {
  // 2014-03-09T12:50 in New York is 16:50Z; hour 2 is skipped there, and becomes 3:50.
  EXPECT_EQ(numbersOf<std::int64_t>(set(npyOf<std::int64_t>("<M8[s]", {1'394'383'800}),
                                        {{"hour", 2}}, "America/New_York")),
            (Counts{1'394'351'400}));
  // The last second of June 2012 was inserted: 1341100799 and 24 before it on the leap-second scale.
  EXPECT_EQ(numbersOf<std::int64_t>(set(npyOf<std::int64_t>("<M8[s]", {1'341'100'823}),
                                        {{"day", 1}}, "UTCLeapSeconds")),
            (Counts{1'341'100'823 - 29 * 86'400}));
}

// The module tells that one of a chunk is refused; which one that is has to be found.
TEST_F(NpySetterTest, TheFirstThatTheModuleRefuses) {
  Cases cases(100);
  Random random(5);
  for (int i = 0; i < 100; ++i, ++cases) {
    const auto count = static_cast<std::size_t>(random.whole(1, 20'000));
    const auto first =
        static_cast<std::size_t>(random.whole(0, static_cast<std::int64_t>(count) - 1));
    Doubles times(count, 1e12);
    times[first] = 0x1.8p52;
    times[count - 1] = -0x1.8p52;
    EXPECT_THAT(refusal(npyOf("<f8", times), {{"hour", 1}, {"day", 1}}, "Europe/Paris"),
                StartsWith("times.npy: element " + std::to_string(first) +
                           ": the datetime is out of range: \"6755399441055744\""));
  }
  const Doubles table = {0, 0, 0, 0, 1e300, 0};
  EXPECT_THAT(refusal(npyOf("<f8", table, "(2, 3)", true), {{"day", 1}}),
              StartsWith("times.npy: element 2 (0, 2): the datetime is out of range: \"1e+300\""));
}

TEST_F(NpySetterTest, FilesThatAreNone) {
  EXPECT_THROW(NpyFile(folder_.path("absent")), Failure);
  ::mkfifo(folder_.path("pipe").c_str(), 0600);
  EXPECT_FALSE(isNpyFile(folder_.path("pipe")));
  EXPECT_FALSE(isNpyFile(folder_.path("")));
  EXPECT_FALSE(isNpyFile(folder_.path("absent")));
  EXPECT_FALSE(isNpyFile(folder_.write("empty", "")));
  EXPECT_FALSE(isNpyFile(folder_.write("text", "2014-05-10\n")));
  EXPECT_TRUE(isNpyFile(folder_.write("start", "\x93NUMPY")));
  EXPECT_THROW(NpyFile(folder_.path("empty")), Failure);
  const int writer = ::open(folder_.path("pipe").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(writer, 0);
  Cases cases(3);
  for (const std::string& path : {folder_.path(""), folder_.path("pipe"), "/dev/null"s}) {
    try {
      const NpyFile file(path);
      ADD_FAILURE() << path << " was opened";
    } catch (const Failure& failure) {
      EXPECT_THAT(failure.message, HasSubstr("not a regular file"));
    }
    ++cases;
  }
  ::close(writer);
}

// Of several wrong elements the first one counts, wherever chunks end, and the chunks before it are written.
TEST_F(NpySetterTest, TheFirstWrongElementOfManyChunks) {
  Cases cases(8);
  constexpr std::size_t kChunk = 8192;
  for (const std::size_t first : {std::size_t{0}, std::size_t{1}, kChunk - 1, kChunk,
                                  5 * kChunk - 1, 5 * kChunk, 5 * kChunk + 77, 7 * kChunk + 10}) {
    Counts times(7 * kChunk + 11, 16'200);
    for (std::size_t i = first; i < times.size(); i += 1000) times[i] = INT64_MAX;
    EXPECT_THAT(
        refusal(npyOf<std::int64_t>("<M8[D]", times), {{"month", 2}}),
        StartsWith(fmt::format("times.npy: element {}: the datetime is out of range", first)));
    EXPECT_EQ(written_.size() % kChunk, 128 % kChunk);
    EXPECT_EQ(written_.size() / kChunk / 8, first / kChunk) << "whole chunks";
    ++cases;
  }
}

// Each thread reads the zone for itself.
TEST_F(NpySetterTest, AZoneThatAThreadCannotRead) {
  NpyFile file(folder_.write("times.npy", npyOf("<f8", Doubles(100'000))));
  ASSERT_EQ(::setenv("TZ", "Europe/Paris", 1), 0);
  const Zone zone = Zone::named("local");
  ASSERT_EQ(::setenv("TZ", "Europe/Pariss", 1), 0);
  try {
    setNpy(module_, file, {{findComponent("day"), 1}}, zone, {}, 3, [](std::string_view) {});
    ADD_FAILURE() << "there is no such zone";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status, Status::unknownName);
    EXPECT_THAT(failure.message, StartsWith("--zone: TZ names no time zone of the system"));
  }
  ::unsetenv("TZ");
  ::tzset();
}

TEST_F(NpySetterTest, AFileThatBecomesShorter) {
  for (const std::size_t jobs : {1, 3}) {
    const std::string path = folder_.write("times.npy", npyOf("<f8", Doubles(100'000)));
    NpyFile file(path);
    try {
      setNpy(module_, file, {{findComponent("day"), 1}}, Zone::named(""), {}, jobs,
             [&](std::string_view) { ASSERT_EQ(::truncate(path.c_str(), 4096), 0); });
      FAIL() << "the end was set";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status, Status::inputOutput);
      EXPECT_THAT(failure.message,
                  HasSubstr("the file has become shorter while it was being read"));
    }
  }
}

}  // namespace
}  // namespace plx
