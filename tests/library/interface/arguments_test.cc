// What the functions of plx/plx.h refuse before they begin, each call but for one argument a good one.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "library/setting/support.h"
#include "plx/plx.h"
#include "support/cases.h"

namespace {

// The module tells of a zone that it does not know; what does not go through it has words of its own.
#define UNKNOWN_TO_MODULE(zone)                                                                  \
  "datetime:UnknownTimeZone: \"" zone                                                            \
  "\" is not the name of a time zone. Accepted are an empty text (\"\"), UTC, UTCLeapSeconds, "  \
  "local, a zone identifier such as Europe/Paris, where letter case matters, or an offset such " \
  "as UTC+05:30 or +05:30."
#define UNKNOWN_ZONE(zone)                                                                   \
  "datetime:UnknownTimeZone: unknown time zone: \"" zone                                     \
  "\"; accepted: UTC, UTCLeapSeconds, local, an identifier such as Europe/Paris in its own " \
  "letter case, or an offset such as UTC+05:30 or -08:00"

constexpr std::size_t kManyDimensions = 65;
constexpr std::size_t kLong = std::size_t{1} << 40;
// Of 65 dimensions where a test says so.
const std::vector<std::size_t> kOnes(kManyDimensions, 1), kLengths(kManyDimensions, kLong);
const std::size_t kTwo = 2, kThree = 3;
const std::size_t kTwoTimesOne[] = {2, 1};

// Arguments of all functions, of two datetimes.
struct Call {
  std::vector<std::int64_t> seconds = {0, 1}, days = {7, 7};
  std::vector<double> numbers = {7, 7}, low = {0, 0}, hours = {1, 2};
  plxArray datetimes = {seconds.data(), "<M8[s]", 1, &kTwo, nullptr, nullptr, nullptr};
  plxArray results = datetimes;
  plxArray floats = {numbers.data(), "<f8", 1, &kTwo, nullptr, nullptr, nullptr};
  plxSetting setting = {
      paHOUR, {hours.data(), "<f8", 1, &kTwo, nullptr, nullptr, nullptr}, nullptr};
  plxOptions options = inZone(nullptr);
  const plxArray* datetimesGiven = &datetimes;
  const plxArray* resultsGiven = &results;
  const plxArray* floatsGiven = &floats;
  const plxSetting* settingsGiven = &setting;
  std::size_t count = 1;
  int component = paHOUR;
  plxTextForm form = plxPLAIN_TEXT;
};

// What a program in C can put there.
template <class Enum>
void putNumber(Enum& to, int number) {
  static_assert(sizeof to == sizeof number);
  std::memcpy(&to, &number, sizeof number);
}

using Spoil = std::function<void(Call&)>;
using Run = std::function<int(const Call&, plxError*)>;

int set(const Call& c, plxError* error) {
  return plxSet(c.datetimesGiven, c.settingsGiven, c.count, &c.options, c.resultsGiven, error);
}

int get(const Call& c, plxError* error) {
  return plxGet(c.datetimesGiven, c.component, &c.options, c.floatsGiven, error);
}

int convert(const Call& c, plxError* error) {
  return plxConvert(c.datetimesGiven, &c.options, c.resultsGiven, error);
}

int explain(const Call& c, plxError* error) {
  const std::unique_ptr<char, decltype(&plxFreeText)> text(
      plxExplain(c.datetimesGiven, c.settingsGiven, &c.options, c.form, error), plxFreeText);
  return text == nullptr ? 1 : 0;
}

struct Row {
  Spoil spoil;
  const char* told;  // behind "Pelmor:"
};

// Each row fails, with and without a place for the error, and leaves everything as it was.
void expectRefusals(const Run& run, const Spoil& prepare, const std::vector<Row>& rows,
                    Cases& cases) {
  Call good;
  prepare(good);
  plxError error;
  const int status = run(good, &error);
  ASSERT_EQ(told(status, error), "");
  for (const Row& row : rows) {
    Call call;
    prepare(call);
    row.spoil(call);
    const auto seconds = call.seconds;
    EXPECT_EQ(run(call, &error), 1) << row.told;
    EXPECT_EQ(told(1, error), std::string("Pelmor:") + row.told);
    EXPECT_EQ(error.index, PLX_NO_INDEX) << row.told;
    EXPECT_EQ(error.done, 0U) << row.told;
    EXPECT_EQ(run(call, nullptr), 1) << row.told;
    EXPECT_EQ(call.seconds, seconds) << row.told;
    EXPECT_EQ(call.numbers, (std::vector<double>{7, 7})) << row.told;
    EXPECT_EQ(call.days, (std::vector<std::int64_t>{7, 7})) << row.told;
    ++cases;
  }
}

void asItIs(Call&) {}

TEST(Arguments, WhatSettingRefuses) {
  const std::vector<Row> rows = {
      {[](Call& c) { c.datetimesGiven = nullptr; },
       "library:InvalidArgument: datetimes: null; accepted: an array"},
      {[](Call& c) { c.resultsGiven = nullptr; },
       "library:InvalidArgument: results: null; accepted: an array"},
      {[](Call& c) { c.settingsGiven = nullptr; },
       "library:InvalidArgument: settings: none; accepted: one setting or several"},
      {[](Call& c) { c.count = 0; },
       "library:InvalidArgument: settings: none; accepted: one setting or several"},
      // Shapes.
      {[](Call& c) {
         c.datetimes.ndim = kManyDimensions;
         c.datetimes.shape = kOnes.data();
       },
       "library:InvalidArgument: datetimes: too many dimensions; accepted: at most 64 dimensions"},
      {[](Call& c) { c.datetimes.shape = nullptr; },
       "library:InvalidArgument: datetimes: the shape is null; accepted: a length for each "
       "dimension"},
      {[](Call& c) { c.results.shape = nullptr; },
       "library:InvalidArgument: results: the shape is null; accepted: a length for each "
       "dimension"},
      {[](Call& c) { c.setting.values.shape = nullptr; },
       "library:InvalidArgument: values: the shape is null; accepted: a length for each "
       "dimension"},
      {[](Call& c) {
         c.setting.values.shape = nullptr;
         c.setting.values.ndim = 2;
       },
       "library:InvalidArgument: values: the shape is null; accepted: a length for each "
       "dimension"},
      {[](Call& c) {
         c.setting.values.shape = kLengths.data();
         c.setting.values.ndim = kManyDimensions;
       },
       "library:InvalidArgument: values: too many dimensions; accepted: at most 64 dimensions"},
      {[](Call& c) {
         c.datetimes.ndim = 2;
         c.datetimes.shape = kLengths.data();
       },
       "library:InvalidArgument: datetimes: the product of the lengths is too large; accepted: "
       "lengths of an array"},
      {[](Call& c) {
         static constexpr std::size_t kMost = std::size_t{1} << 60;
         c.datetimes.shape = &kMost;
       },
       "library:InvalidArgument: datetimes: the product of the lengths is too large; accepted: "
       "lengths of an array"},
      {[](Call& c) { c.results.shape = &kThree; },
       "library:ShapeMismatch: results of shape (3,) for datetimes of shape (2,); accepted: the "
       "same shape"},
      {[](Call& c) {
         c.setting.values.ndim = 2;
         c.setting.values.shape = kTwoTimesOne;
       },
       "library:ShapeMismatch: values of shape (2, 1) for datetimes of shape (2,); accepted: one "
       "value for all, or the same shape"},
      {[](Call& c) {
         c.results.ndim = 0;
         c.results.shape = nullptr;
       },
       "library:ShapeMismatch: results of shape () for datetimes of shape (2,); accepted: the "
       "same shape"},
      // Data and their types.
      {[](Call& c) { c.datetimes.data = nullptr; },
       "library:InvalidArgument: datetimes: the data are null; accepted: the address of the first "
       "element"},
      {[](Call& c) {
         c.setting.values.data = nullptr;
         c.setting.values.ndim = 0;
       },
       "library:InvalidArgument: values: the data are null; accepted: the address of the first "
       "element"},
      {[](Call& c) { c.datetimes.type = nullptr; },
       "library:InvalidArgument: datetimes: the type is null; accepted: an element type such as "
       "<M8[ns]"},
      {[](Call& c) { c.datetimes.type = "<U4"; },
       "library:UnknownType: datetimes: an element type that is not read here: \"<U4\"; accepted: "
       "complex128 (c16), float64 (f8), datetime64 with a unit (M8[ns]); for values float64, "
       "float32 (f4) and integers (i1 to i8, u1 to u8)"},
      {[](Call& c) { c.datetimes.type = "<M8"; },
       "library:UnknownType: datetimes: datetime64 without a unit: \"<M8\"; accepted: Y, M, W, D, "
       "h, m, s, ms, us, ns, ps, fs or as, with a multiple from 1 to 2147483647 before it as in "
       "M8[25s]"},
      {[](Call& c) { c.datetimes.type = "<i8"; },
       "library:UnknownType: datetimes: elements that are no datetimes: \"<i8\"; accepted: "
       "complex128 (c16), float64 (f8) with low parts or without, datetime64 with a unit "
       "(M8[ns])"},
      {[](Call& c) { c.datetimes.low = c.low.data(); },
       "library:UnknownType: datetimes: elements that are no datetimes: \"<M8[s]\"; accepted: "
       "complex128 (c16), float64 (f8) with low parts or without, datetime64 with a unit "
       "(M8[ns])"},
      {[](Call& c) { c.results.type = "<M8[ms]"; },
       "library:UnknownType: results of another type than the datetimes: \"<M8[ms]\"; accepted: "
       "the same type"},
      {[](Call& c) { c.results.type = ">M8[s]"; },
       "library:UnknownType: results of another type than the datetimes: \">M8[s]\"; accepted: "
       "the same type"},
      {[](Call& c) {
         c.datetimes.type = c.results.type = "<f8";
         c.results.low = c.low.data();
       },
       "library:UnknownType: results of another type than the datetimes: \"<f8\"; accepted: the "
       "same type"},
      {[](Call& c) { c.setting.values.type = "<c16"; },
       "library:UnknownType: values: elements that are no numbers: \"<c16\"; accepted: float64, "
       "float32 and integers"},
      {[](Call& c) { c.setting.values.type = "<M8[s]"; },
       "library:UnknownType: values: elements that are no numbers: \"<M8[s]\"; accepted: float64, "
       "float32 and integers"},
      // Components and words.
      {[](Call& c) { c.setting.component = 5; },
       "library:UnknownComponent: unknown component: \"5\"; accepted: a selector that "
       "plxComponents tells"},
      {[](Call& c) { c.setting.component = 0; },
       "library:UnknownComponent: unknown component: \"0\"; accepted: a selector that "
       "plxComponents tells"},
      {[](Call& c) { c.setting.component = -1; },
       "library:UnknownComponent: unknown component: \"-1\"; accepted: a selector that "
       "plxComponents tells"},
      {[](Call& c) { c.setting.word = "noon"; },
       "library:UnknownValue: not a number: \"noon\"; accepted: a decimal number such as 13, -0.5 "
       "or 1e3"},
      {[](Call& c) { c.setting = word(paMONTH, "febuary"); },
       "library:UnknownValue: not a number (did you mean February?): \"febuary\"; accepted: a "
       "number such "
       "as 13, jan to dec, last"},
      {[](Call& c) { c.setting = word(paQUARTER, "q5"); },
       "library:UnknownValue: not a number: \"q5\"; accepted: a number such as 13, q1 to q4, "
       "last"},
      {[](Call& c) { c.setting = word(paHOUR, "1e999"); },
       "library:UnknownValue: the number is beyond the range of a double: \"1e999\"; accepted: a "
       "decimal number such as 13, -0.5 or 1e3"},
      {[](Call& c) { c.setting = word(paSECOND, "1e-999"); },
       "library:UnknownValue: the number is nearer to 0 than any double: \"1e-999\"; accepted: a "
       "decimal number such as 13, -0.5 or 1e3"},
      {[](Call& c) { c.setting.word = "1.5"; },
       "datetime:MustBeInteger: not a whole number: \"1.5\"; accepted: whole numbers; only second "
       "and time-of-day take fractions"},
      // Options.
      {[](Call& c) { c.options.size = 0; },
       "library:InvalidArgument: options: the size is too small; accepted: sizeof(plxOptions)"},
      {[](Call& c) { putNumber(c.options.fold, 4); },
       "library:InvalidArgument: options: unknown fold; accepted: a plxFold"},
      {[](Call& c) { putNumber(c.options.gap, -1); },
       "library:InvalidArgument: options: unknown gap; accepted: a plxGap"},
      {[](Call& c) { c.options.refused = 32; },
       "library:InvalidArgument: options: unknown findings are refused; accepted: bits of "
       "findings"},
  };
  Cases cases(40);
  expectRefusals(set, asItIs, rows, cases);
}

// Which zones there are, and which the system has, is told by those who know.
TEST(Arguments, WhatSettingRefusesAsZone) {
  Cases cases(4);
  expectRefusals(
      set, asItIs,
      {{[](Call& c) { c.options.zone = "Mars/Base"; }, UNKNOWN_TO_MODULE("Mars/Base")},
       {[](Call& c) { c.options.zone = "europe/paris"; }, UNKNOWN_TO_MODULE("europe/paris")}},
      cases);
  ::setenv("TZ", "EST5EDT4,M3.2.0,M11.1.0", 1);
  expectRefusals(set, asItIs,
                 {{[](Call& c) { c.options.zone = "local"; },
                   "datetime:UnknownTimeZone: TZ is a rule, and no name of a time zone: "
                   "EST5EDT4,M3.2.0,M11.1.0: \"local\"; accepted: an identifier such as "
                   "Europe/Paris, or an offset such as +05:30"}},
                 cases);
  expectRefusals(get, asItIs,
                 {{[](Call& c) { c.options.zone = "Local"; },
                   "datetime:UnknownTimeZone: TZ is a rule, and no name of a time zone: "
                   "EST5EDT4,M3.2.0,M11.1.0: \"Local\"; accepted: an identifier such as "
                   "Europe/Paris, or an offset such as +05:30"}},
                 cases);
  ::unsetenv("TZ");
  ::tzset();
}

TEST(Arguments, WhatReadingRefuses) {
  Cases cases(12);
  expectRefusals(
      get, asItIs,
      {{[](Call& c) { c.datetimesGiven = nullptr; },
        "library:InvalidArgument: datetimes: null; accepted: an array"},
       {[](Call& c) { c.floatsGiven = nullptr; },
        "library:InvalidArgument: numbers: null; accepted: an array"},
       {[](Call& c) { c.component = 5; },
        "library:UnknownComponent: unknown component: \"5\"; accepted: a selector that "
        "plxComponents tells"},
       {[](Call& c) { c.floats.type = "<f4"; },
        "library:UnknownType: numbers of another type than float64: \"<f4\"; accepted: float64 "
        "(f8)"},
       {[](Call& c) { c.floats.type = "<i8"; },
        "library:UnknownType: numbers of another type than float64: \"<i8\"; accepted: float64 "
        "(f8)"},
       {[](Call& c) { c.floats.type = "f16"; },
        "library:UnknownType: numbers: an element type that is not read here: \"f16\"; accepted: "
        "complex128 (c16), float64 (f8), datetime64 with a unit (M8[ns]); for values float64, "
        "float32 (f4) and integers (i1 to i8, u1 to u8)"},
       {[](Call& c) { c.floats.type = nullptr; },
        "library:InvalidArgument: numbers: the type is null; accepted: an element type such as "
        "<M8[ns]"},
       {[](Call& c) { c.floats.shape = nullptr; },
        "library:InvalidArgument: numbers: the shape is null; accepted: a length for each "
        "dimension"},
       {[](Call& c) { c.floats.shape = &kThree; },
        "library:ShapeMismatch: numbers of shape (3,) for datetimes of shape (2,); accepted: the "
        "same shape"},
       {[](Call& c) { c.floats.data = nullptr; },
        "library:InvalidArgument: numbers: the data are null; accepted: the address of the first "
        "element"},
       {[](Call& c) { c.options.zone = "Mars/Base"; }, UNKNOWN_ZONE("Mars/Base")},
       {[](Call& c) { c.options.size = offsetof(plxOptions, zone); },
        "library:InvalidArgument: options: the size is too small; accepted: sizeof(plxOptions)"}},
      cases);
}

TEST(Arguments, WhatConvertingRefuses) {
  Cases cases(6);
  expectRefusals(
      convert, [](Call& c) { c.results = c.floats; },
      {{[](Call& c) { c.datetimesGiven = nullptr; },
        "library:InvalidArgument: datetimes: null; accepted: an array"},
       {[](Call& c) { c.resultsGiven = nullptr; },
        "library:InvalidArgument: results: null; accepted: an array"},
       {[](Call& c) { c.results.shape = nullptr; },
        "library:InvalidArgument: results: the shape is null; accepted: a length for each "
        "dimension"},
       {[](Call& c) { c.results.shape = &kThree; },
        "library:ShapeMismatch: results of shape (3,) for datetimes of shape (2,); accepted: the "
        "same shape"},
       {[](Call& c) { c.results.type = "<f4"; },
        "library:UnknownType: results: elements that are no datetimes: \"<f4\"; accepted: "
        "complex128 (c16), float64 (f8) with low parts or without, datetime64 with a unit "
        "(M8[ns])"},
       {[](Call& c) { c.options.size = 0; },
        "library:InvalidArgument: options: the size is too small; accepted: sizeof(plxOptions)"}},
      cases);
}

void single(Call& c) {
  c.datetimes.ndim = 0;
  c.datetimes.shape = nullptr;
  c.setting.values.ndim = 0;
}

TEST(Arguments, WhatExplainingRefuses) {
  Cases cases(7);
  expectRefusals(
      explain, single,
      {{[](Call& c) { c.form = static_cast<plxTextForm>(3); },
        "library:InvalidArgument: form: unknown; accepted: a plxTextForm"},
       {[](Call& c) { c.datetimesGiven = nullptr; },
        "library:InvalidArgument: datetimes: null; accepted: an array"},
       {[](Call& c) { c.settingsGiven = nullptr; },
        "library:InvalidArgument: settings: none; accepted: one setting or several"},
       {[](Call& c) {
          c.datetimes.ndim = 1;
          c.datetimes.shape = &kTwo;
        },
        "library:ShapeMismatch: datetime: not a single element; accepted: an array of one "
        "element"},
       {[](Call& c) {
          static constexpr std::size_t kNone = 0;
          c.datetimes.ndim = 1;
          c.datetimes.shape = &kNone;
        },
        "library:ShapeMismatch: datetime: not a single element; accepted: an array of one "
        "element"},
       {[](Call& c) { c.seconds[0] = kNaT; },
        "library:OutOfRange: the datetime is a missing one, NaT or NaN; accepted: dates within "
        "2^52 "
        "days of 1970, from -12330436974479-06-28 to +12330436978418-07-07"},
       {[](Call& c) { c.options.zone = "Mars/Base"; }, UNKNOWN_ZONE("Mars/Base")}},
      cases);
}

}  // namespace
