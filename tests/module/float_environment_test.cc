// A call gives the same in whatever floating-point environment the host is, and leaves that as it
// was: rounding, subnormals, and exceptions that end the process.

#include <gtest/gtest.h>

#include <cfloat>
#include <limits>
#include <string>
#include <vector>

#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/float_environment.h"
#include "support/random.h"

namespace {

constexpr int kErrors = FE_INVALID | FE_OVERFLOW | FE_DIVBYZERO;

std::vector<FloatEnvironment> hostEnvironments() {
  std::vector<FloatEnvironment> all = roundings();
  all.push_back({"errors end the process", FE_TONEAREST, kErrors});
  all.push_back({"all exceptions end the process", FE_TONEAREST, FE_ALL_EXCEPT});
  all.push_back({"all at once", FE_UPWARD, FE_ALL_EXCEPT, kCanFlush});
  return all;
}

const std::string kZones[] = {"", "UTCLeapSeconds", "Europe/Berlin", "Asia/Kolkata", "+05:30"};

// Whole and with fractions of all sizes, at the edges of what vectors and calendar take, and beyond.
std::vector<doubledouble> times() {
  std::vector<doubledouble> all;
  for (const double t : kAwkwardDoubles) {
    all.push_back({t, 0.0});
    all.push_back({-t, DBL_TRUE_MIN});
  }
  for (const double t : {1399710600000.0, -1399710600000.0, 78796800000.0, 1341100824999.0}) {
    for (const double low : {0.0, 0x1p-20, -0x1p-14, 0x1p-1060, -DBL_TRUE_MIN, kNan}) {
      all.push_back({t, low});
    }
  }
  all.push_back({std::numeric_limits<double>::signaling_NaN(), 0.0});
  return all;
}

const double kValues[] = {1.0,
                          2.0,
                          -7.0,
                          59.5,
                          0.1,
                          0x1p31,
                          -0x1p40,
                          1e17,
                          DBL_MAX,
                          -DBL_MAX,
                          DBL_MIN,
                          DBL_TRUE_MIN,
                          -1e-320,
                          kInf,
                          -kInf,
                          kNan,
                          std::numeric_limits<double>::signaling_NaN()};

void expectSame(const Outcome& got, const Outcome& expected, const std::string& what) {
  ASSERT_EQ(got.status, expected.status) << what;
  ASSERT_EQ(got.identifier, expected.identifier) << what;
  if (expected.status != 0) return;
  const auto results = elements(got.result), expectedResults = elements(expected.result);
  ASSERT_EQ(results.size(), expectedResults.size()) << what;
  for (std::size_t i = 0; i < results.size(); ++i) {
    ASSERT_SAME_BITS(results[i], expectedResults[i]) << what << ", element " << i;
  }
}

// The same call in the default environment and in each of a host. Returns how many elements were
// set.
std::int64_t expectSameEverywhere(const DatetimeModule& module, const Array& t, const Array& values,
                                  double selector, const std::string& zone) {
  const Outcome expected = module.set(t, values, selector, zone);
  std::int64_t set = 0;
  for (const FloatEnvironment& environment : hostEnvironments()) {
    Outcome got;
    const Array s = scalar(selector), z = text(zone);
    const FloatEnvironment after = runIn(environment, [&] {
      got = module.call(1, {t.get(), values.get(), s.get(), z.get()});
    });
    const std::string what =
        std::string(environment.name) + ", \"" + zone + "\", selector " + std::to_string(selector);
    EXPECT_EQ(after, environment) << what;
    expectSame(got, expected, what);
    if (got.status == 0) set += static_cast<std::int64_t>(paGetNumberOfElements(got.result.get()));
  }
  return set;
}

// One value for all: whatever is in no domain of the vectors is set by the plain code, and the
// calendar raises its errors.
TEST(FloatEnvironment, OfTheHostChangesNoCall) {
  const DatetimeModule module;
  Cases cases(200000);
  const Array all = datetimes(times());
  for (const std::string& zone : kZones) {
    for (const Selector selector : kSelectorsOfAll) {
      for (const double v : kValues) {
        const Array value = scalar(v);
        cases += expectSameEverywhere(module, all, value, selector, zone);
      }
    }
  }
}

// A datetime by itself: in a zone, others would hide behind the first that is out of range.
TEST(FloatEnvironment, OfTheHostChangesNoElement) {
  const DatetimeModule module;
  Cases cases(30000);
  for (const doubledouble& t : times()) {
    const Array one = datetimes({t});
    for (const std::string& zone : {kZones[0], kZones[2]}) {
      for (const Selector selector : kSelectorsOfAll) {
        for (const double v : {2.0, 1e17, kNan}) {
          cases += expectSameEverywhere(module, one, scalar(v), selector, zone);
        }
      }
    }
  }
}

// So many datetimes in a zone that they are set by vectors, with fractions and some that are not
// finite in between.
TEST(FloatEnvironment, OfTheHostChangesNoVectorInAZone) {
  const DatetimeModule module;
  Cases cases(100000);
  Random random(29);
  for (const std::string& zone : kZones) {
    for (const Selector selector : kSelectorsOfAll) {
      for (const int kind : {0, 1, 2}) {  // a series, anywhere, with others in between
        std::vector<doubledouble> t;
        std::vector<double> values;
        for (int i = 0; i < 300; ++i) {
          const double start = kind == 0 ? 1399710600000.0 + i * 60000.0
                                         : static_cast<double>(random.whole(-1LL << 48, 1LL << 48));
          t.push_back(kind == 2 && random.oneIn(5) ? two_sum(start, random.real(-1.0, 1.0))
                                                   : doubledouble{start, 0.0});
          values.push_back(static_cast<double>(random.whole(1, 12)));
          if (kind == 2 && random.oneIn(9)) (random.oneIn(2) ? t.back().hi : values.back()) = kNan;
          if (kind == 2 && random.oneIn(9)) (random.oneIn(2) ? t.back().hi : values.back()) = -kInf;
        }
        cases += expectSameEverywhere(module, datetimes(t), doubles(values), selector, zone);
      }
    }
  }
}

// Arguments that are refused, selectors that are no numbers among them.
TEST(FloatEnvironment, IsTheHostsAfterAnError) {
  const DatetimeModule module;
  Cases cases(hostEnvironments().size() * 2 * 4);
  const Array t = scalar(1399710600000.0), value = scalar(1.0);
  underBothHosts([&] {
    for (const double selector : {kNan, kInf, 1e300, 2.0}) {
      EXPECT_NE(module.set(t, value, selector, "").status, 0);
      expectSameEverywhere(module, t, value, selector, "");
      cases += static_cast<std::int64_t>(hostEnvironments().size());
    }
    expectSameEverywhere(module, t, value, kHour, "Nowhere/AtAll");
    expectSameEverywhere(module, t, value, kHour, "UTC+05:30");
  });
}

}  // namespace
