// The vector walk against the plain walk, bit by bit, with every instruction set that the processor
// has. The argument --long takes a hundred times as many random elements.

#include "unzoned/vector_walk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "support/aligned_doubles.h"
#include "support/bits.h"
#include "support/cases.h"
#include "support/guarded_array.h"
#include "support/length.h"
#include "support/random.h"
#include "unzoned/lane_constants.h"
#include "unzoned/leap_seconds.h"

namespace {

int scale = 1;

// Those that can be set, and `none`.
constexpr auto kEvery = [] {
  std::array<Component, kFactsOfAll.size()> components{};
  for (std::size_t i = 0; i < components.size(); ++i) components[i] = kFactsOfAll[i].component;
  return components;
}();

std::string_view nameOf(Component component) { return factsOf(component).name; }

bool takesFractions(Component component) { return factsOf(component).takesFractions; }

struct Inputs {
  std::vector<double> high, low, values;  // no low parts: empty; values: one or as many as high

  std::size_t size() const { return high.size(); }
  void add(const doubledouble& t, double v) {
    high.push_back(t.hi);
    low.push_back(t.lo);
    values.push_back(v);
  }
};

struct Results {
  std::vector<double> high, low;
  std::size_t done;
};

Results run(UnzonedWalk* walk, Component component, bool leapSeconds, const Inputs& in) {
  const std::size_t n = in.size();
  Results out{std::vector<double>(n, 77.0), std::vector<double>(n, 77.0), 0};
  out.done = walk(component, leapSeconds,
                  {in.high.data(), in.low.empty() ? nullptr : in.low.data(), in.values.data(),
                   in.values.size() == 1 ? std::size_t{0} : 1, out.high.data(), out.low.data(), n});
  return out;
}

// Every set gives what the plain walk gives. Returns how many elements were compared.
std::int64_t expectSame(Component component, bool leapSeconds, const Inputs& in) {
  const Results plain = run(plainWalk, component, leapSeconds, in);
  std::int64_t compared = 0;
  for (const UnzonedInstructionSet& set : unzonedInstructionSets()) {
    const Results got = run(set.walk, component, leapSeconds, in);
    EXPECT_EQ(got.done, plain.done) << set.name << ' ' << nameOf(component);
    compared += static_cast<std::int64_t>(std::min(plain.done, got.done));
    const std::size_t bytes = plain.done * sizeof(double);
    if (got.done == plain.done && std::memcmp(got.high.data(), plain.high.data(), bytes) == 0 &&
        std::memcmp(got.low.data(), plain.low.data(), bytes) == 0) {
      continue;
    }
    int failures = 0;  // or NaN of other payloads
    for (std::size_t i = 0; i < std::min(plain.done, got.done); ++i) {
      const doubledouble expected{plain.high[i], plain.low[i]}, result{got.high[i], got.low[i]};
      if (sameBits(result, expected)) continue;
      const doubledouble t{in.high[i], in.low.empty() ? 0.0 : in.low[i]};
      ADD_FAILURE() << set.name << ' ' << nameOf(component) << (leapSeconds ? " leap" : "")
                    << " element " << i << ": " << t << " set to "
                    << in.values[in.values.size() == 1 ? 0 : i] << "\n gives    " << result
                    << "\n and not  " << expected;
      if (++failures == 3) break;
    }
  }
  return compared;
}

// ---- Elements ----

constexpr double kUnits[] = {1000.0, 60000.0, 3600000.0, 86400000.0};

double wholeMillis(Random& random, std::int64_t bound) {
  return static_cast<double>(random.whole(-bound, bound));
}

// The pair nearest to a + b, as a caller would have it.
doubledouble normalised(double a, double b) { return two_sum(a, b); }

// A multiple of a unit, a leap second or zero, which begin something new.
double boundary(Random& random) {
  switch (random.whole(0, 3)) {
    case 0:
      return leapInstantsUTC[static_cast<std::size_t>(random.whole(0, kLeapSeconds - 1))];
    case 1:
      return leapInstantsElapsed[static_cast<std::size_t>(random.whole(0, kLeapSeconds - 1))];
    case 2:
      return kUnits[random.whole(0, 3)] * wholeMillis(random, 60000);
    default:
      return kUnits[random.whole(0, 3)] * wholeMillis(random, 52000000);
  }
}

doubledouble randomTime(Random& random) {
  switch (random.whole(0, 15)) {
    case 0:
    case 1:  // what most arrays hold
      return {static_cast<double>(random.whole(0, 2208988800000)), 0.0};
    case 2:
      return {wholeMillis(random, std::int64_t{1} << 49), random.oneIn(2) ? 0.0 : -0.0};
    case 3: {  // the ends of the domains and a little further
      const double edge = random.oneIn(2) ? 0x1p49 : 0x1p52;
      const double x = edge + wholeMillis(random, 4) * (random.oneIn(2) ? 1.0 : 0x1p-3);
      return normalised(random.oneIn(2) ? x : -x, random.oneIn(2) ? 0.0 : random.real(-1, 1));
    }
    case 4:
    case 5:  // a common fraction in the low part
      return normalised(static_cast<double>(random.whole(-4000000000000, 4000000000000)),
                        random.real(-1, 1));
    case 6:
      return normalised(random.real(-0x1p52, 0x1p52), random.real(-1, 1));
    case 7:  // just beside a boundary
      return normalised(boundary(random), wholeMillis(random, 3));
    case 8:  // the boundary and the smallest of fractions
      return normalised(boundary(random), random.ofExponent(-110, 2));
    case 9:
      return normalised(boundary(random), random.ofExponent(-1074, -600));
    case 10: {  // half of the last place
      const double x = random.ofExponent(-5, 51);
      const double half = (std::nextafter(std::fabs(x), kInf) - std::fabs(x)) / 2;
      return normalised(x, random.oneIn(2) ? half : -half);
    }
    case 11: {
      const double x = random.ofExponent(-1074, 60);
      return normalised(x, x * random.real(-0x1p-53, 0x1p-53));
    }
    case 12:  // around 1970
      return normalised(random.real(-86400000.0 * 2, 86400000.0 * 2), random.ofExponent(-90, -26));
    case 13:  // not normalised
      return {random.ofExponent(-5, 54), random.ofExponent(-60, 54)};
    case 14:
      return {kAwkwardDoubles[static_cast<std::size_t>(
                  random.whole(0, std::int64_t{kAwkwardDoubles.size()} - 1))],
              random.oneIn(2) ? 0.0
                              : kAwkwardDoubles[static_cast<std::size_t>(
                                    random.whole(0, std::int64_t{kAwkwardDoubles.size()} - 1))]};
    default:
      return {random.anyBits(), random.anyBits()};
  }
}

double randomValue(Random& random, Component component) {
  const bool fractions = takesFractions(component);
  double v = 0.0;
  switch (random.whole(0, 11)) {
    case 0:
    case 1:
    case 2:
      v = static_cast<double>(random.whole(1, 12));
      break;
    case 3:
      v = static_cast<double>(random.whole(-100, 100));
      break;
    case 4:
      v = static_cast<double>(random.whole(-3000, 100000));
      break;
    case 5:
      v = random.ofExponent(0, 60);
      break;
    case 6:  // near powers of two, where the accepted values end
      v = std::ldexp(random.oneIn(2) ? 1.0 : -1.0, static_cast<int>(random.whole(14, 42))) +
          wholeMillis(random, 2);
      break;
    case 7:
      v = random.oneIn(2) ? 0.0 : -0.0;
      break;
    case 8:
      v = fractions ? random.real(-1.0, 61.0) : static_cast<double>(random.whole(-7, 14));
      break;
    case 9:
      v = fractions ? random.ofExponent(-1074, 45) : static_cast<double>(random.whole(0, 400));
      break;
    case 10:
      v = kAwkwardDoubles[static_cast<std::size_t>(
          random.whole(0, std::int64_t{kAwkwardDoubles.size()} - 1))];
      break;
    default:
      v = static_cast<double>(random.whole(0, 60000)) / 1000.0;
      break;
  }
  return fractions ? v : std::floor(v);
}

// A value that no result needs to be exact for, of the component's usual range.
double usualValue(Random& random, Component component) {
  switch (component) {
    case Component::year:
      return static_cast<double>(random.whole(1900, 2100));
    case Component::second:
      return static_cast<double>(random.whole(0, 59999)) / 1000.0;
    case Component::timeOfDay:
      return static_cast<double>(random.whole(0, 86399999)) / 1000.0;
    default:
      return static_cast<double>(random.whole(1, 12));
  }
}

std::int64_t setCount() { return static_cast<std::int64_t>(unzonedInstructionSets().size()); }

// ---- The tests ----

// The text of a list such as AVX3,AVX2.
#define PLX_TEXT_OF_(...) #__VA_ARGS__
#define PLX_TEXT_OF(...) PLX_TEXT_OF_(__VA_ARGS__)

TEST(InstructionSets, HasTheSetsOfThisProcessorThatTheBuildHas) {
  const auto sets = unzonedInstructionSets();
  for (const UnzonedInstructionSet& set : sets) {
    std::printf("[  SETS    ] %s\n", set.name);
    EXPECT_NE(set.walk, nullptr) << set.name;
  }
#ifdef __x86_64__
  const auto has = [&](const std::string& name) {
    return std::any_of(sets.begin(), sets.end(), [&](const auto& s) { return s.name == name; });
  };
  const std::string built = "," PLX_TEXT_OF(PLX_INSTRUCTION_SETS) ",";
  const auto expected = [&](const char* name, int isSupported) {
    return built.find(',' + std::string(name) + ',') != std::string::npos && isSupported != 0;
  };
  EXPECT_EQ(has("AVX3"), expected("AVX3", __builtin_cpu_supports("avx512dq")));
  EXPECT_EQ(has("AVX2"), expected("AVX2", __builtin_cpu_supports("avx2")));
  EXPECT_EQ(has("SSE4"), expected("SSE4", __builtin_cpu_supports("sse4.2")));
  EXPECT_EQ(has("baseline"), expected("Baseline", 1));
#endif
}

TEST(InstructionSets, TheFirstIsTaken) {
  const auto refusesAll = [](Component, bool, const Elements&) { return std::size_t{0}; };
  const auto setsAll = [](Component, bool, const Elements& e) { return e.count; };
  EXPECT_EQ(bestUnzonedWalk({{"best", setsAll}, {"other", refusesAll}}), +setsAll);
  EXPECT_EQ(bestUnzonedWalk({{"other", refusesAll}}), +refusesAll);
}

TEST(InstructionSets, AProcessorWithNoneOfThemGetsThePlainWalk) {
  EXPECT_EQ(bestUnzonedWalk({}), &plainWalk);
}

// What the tests below hold against the plain walk.
class VectorWalk : public testing::Test {
 protected:
  void SetUp() override {
    if (unzonedInstructionSets().empty())
      GTEST_SKIP() << "this processor has none of the sets of this build: " PLX_TEXT_OF(
          PLX_INSTRUCTION_SETS);
  }
};

// The sanitizers watch the memory, not the calendar.
constexpr std::int64_t kStepOfAll = PLX_SANITIZED ? 11 : 1;
const std::int64_t kDayStep = testsAreWhole() ? kStepOfAll : 11 * kStepOfAll;  // no multiple of 7

// Every day from 14000 years before 1970 to 14000 years after, at changing times of day, with
// values in and out of the usual range.
TEST_F(VectorWalk, EveryDay) {
  constexpr std::int64_t kDays = 14000 * 365 + 3395;
  Cases cases(2 * kDays / kDayStep * 7);
  Random random(1);
  Inputs in;
  for (std::int64_t day = -kDays; day <= kDays;) {
    in = {};
    for (int i = 0; i < 65536 && day <= kDays; ++i, day += kDayStep) {
      in.add({static_cast<double>(day * 86400000 + random.whole(0, 86399999)), 0.0},
             static_cast<double>(random.whole(-20, 40)));
    }
    for (int c = 0; c < 7; ++c) cases += expectSame(kEvery[c], false, in);
  }
}

// The values that a component takes where every fourth year is a leap year: up to so far from here.
struct NearValues {
  Component component;
  std::int64_t middle, reach;
};
constexpr NearValues kNearValues[] = {
    {Component::year, 2000, 99},    {Component::quarter, 0, 8},     {Component::month, 0, 24},
    {Component::weekOfYear, 0, 60}, {Component::dayOfMonth, 0, 99}, {Component::dayOfYear, 0, 400},
    {Component::dayOfWeek, 0, 1000}};

// Every day of 1904 to 2095 at changing times of day, its first and its last millisecond included,
// with values of that domain alone, so that whole vectors belong to it, and their outermost ones.
TEST_F(VectorWalk, EveryDayWhereEveryFourthYearIsALeapYear) {
  constexpr std::int64_t kFirst = 10957 - 96 / 4 * 1461, kLast = 10957 + 96 / 4 * 1461;
  const int kRounds = testsAreWhole() ? 30 : 6;
  Cases cases((kLast - kFirst) / kDayStep * kRounds * std::int64_t{std::size(kNearValues)});
  Random random(9);
  for (const auto& [component, middle, reach] : kNearValues) {
    for (int round = 0; round < kRounds; ++round) {
      Inputs in;
      for (std::int64_t day = kFirst; day < kLast; day += kDayStep) {
        const std::int64_t ms = random.oneIn(4)   ? 0
                                : random.oneIn(4) ? 86399999
                                                  : random.whole(0, 86399999);
        const std::int64_t v = random.oneIn(8)   ? middle - reach
                               : random.oneIn(8) ? middle + reach
                                                 : random.whole(middle - reach, middle + reach);
        in.add({static_cast<double>(day * 86400000 + ms), 0.0}, static_cast<double>(v));
      }
      if (round % 3 == 1) in.low = {};
      if (round % 3 == 2) in.values.resize(1);
      cases += expectSame(component, false, in);
      cases += expectSame(component, true, in);
    }
  }
}

// Vectors that lie just inside, just outside, or on either side of the ends of that domain, with
// values of which the same holds.
TEST_F(VectorWalk, EndsOfTheDomainOfLeapYears) {
  Cases cases(std::int64_t{std::size(kNearValues)} * 2 * 3 * 3 * 64);
  Random random(10);
  const double ends[] = {946684800000.0 - 96 * 365.25 * 86400000.0,
                         946684800000.0 + 96 * 365.25 * 86400000.0};
  for (const auto& [component, middle, reach] : kNearValues) {
    for (const double end : ends) {
      for (const std::int64_t around : {0, 1, 90000000}) {
        for (const std::int64_t beyond : {0, 1, 3}) {
          Inputs in;
          for (int i = 0; i < 64; ++i) {
            const std::int64_t far = reach + random.whole(-beyond, beyond);
            in.add({end + static_cast<double>(random.whole(-around, around)), 0.0},
                   static_cast<double>(middle + (random.oneIn(2) ? far : -far)));
          }
          cases += expectSame(component, false, in);
          cases += expectSame(component, true, in);
        }
      }
    }
  }
}

// Every day of the wider domain at midnight, a hair before it, or with a fraction: the days of
// 142,000 years on either side, or one in 97 of them.
TEST_F(VectorWalk, DaysOfTheWiderDomain) {
  constexpr std::int64_t kDays = 52124999;
  const std::int64_t step = scale > 1 ? 1 : 97 * kDayStep;
  Cases cases(2 * kDays / step * 7);
  Random random(2);
  Inputs in;
  for (std::int64_t day = -kDays; day <= kDays;) {
    in = {};
    for (int i = 0; i < 65536 && day <= kDays; ++i, day += step) {
      const double fraction =
          random.oneIn(2) ? random.real(0, 86399999) : random.ofExponent(-100, 0);
      in.add(normalised(static_cast<double>(day * 86400000), fraction),
             static_cast<double>(random.whole(-20, 40)));
    }
    for (int c = 0; c < 7; ++c) cases += expectSame(kEvery[c], false, in);
  }
}

TEST_F(VectorWalk, RandomElements) {
  Cases cases(setCount() * 12 * 2 * 50000);
  Random random(3);
  for (const Component component : kEvery) {
    for (const bool leapSeconds : {false, true}) {
      for (int block = 0; block < 50 * scale; ++block) {
        Inputs in;
        for (int i = 0; i < 1000; ++i) {
          in.add(randomTime(random), randomValue(random, component));
        }
        cases += expectSame(component, leapSeconds, in);
        if (::testing::Test::HasFailure()) return;
      }
    }
  }
}

// The same with all elements of a vector in one domain, as real arrays have them.
TEST_F(VectorWalk, UniformBlocks) {
  Cases cases(setCount() * 12 * 2 * 50000);
  Random random(4);
  for (const Component component : kEvery) {
    for (const bool leapSeconds : {false, true}) {
      for (int block = 0; block < 50 * scale; ++block) {
        Inputs in;
        const bool hasFraction = block % 2 == 1;
        const double range = std::ldexp(1.0, static_cast<int>(random.whole(10, 49)));
        for (int i = 0; i < 1000; ++i) {
          const double t = std::floor(random.real(-range, range));
          const bool isAtBoundary = random.oneIn(8);
          const double fraction =
              random.oneIn(8) ? random.ofExponent(-100, -30) : random.real(-0.5, 0.5);
          in.add(normalised(isAtBoundary ? boundary(random) : t, hasFraction ? fraction : 0.0),
                 usualValue(random, component));
        }
        cases += expectSame(component, leapSeconds, in);
      }
    }
  }
}

// All leap seconds, and the milliseconds and smallest fractions beside them, on both lines.
TEST_F(VectorWalk, LeapSecondEdges) {
  Cases cases(kLeapSeconds * 2 * 11 * 8 * 2);
  for (const bool hasFraction : {false, true}) {
    Inputs in;
    for (const auto& instants : {leapInstantsUTC, leapInstantsElapsed}) {
      for (const double instant : instants) {
        for (const double beside :
             {-1001.0, -1000.0, -999.0, -1.0, 0.0, 1.0, 999.0, 1000.0, 1001.0}) {
          in.add({instant + beside, 0.0}, 30.0);
          if (!hasFraction) continue;
          for (const double least : {-0x1p-60, 0x1p-60, -0.5, 0.5, -0x1p-13, 0x1p-13}) {
            in.add(normalised(instant + beside, least), 30.0);
          }
        }
      }
    }
    for (const Component component : kEvery) cases += expectSame(component, true, in);
    // Of a time that is set to a leap second: the way back.
    for (std::size_t i = 0; i < in.size(); ++i) {
      in.values[i] = std::fmod(in.high[i], 86400000.0) / 1000.0 + (i % 3 == 0 ? 0x1p-40 : 0.0);
    }
    cases += expectSame(Component::timeOfDay, true, in);
  }
}

TEST_F(VectorWalk, ScatteredNonFinite) {
  Cases cases(11 * 4 * 10000);
  Random random(5);
  constexpr double kSpecial[] = {kNan, kInf, -kInf};
  for (const Component component : kEvery) {
    for (const bool hasFraction : {false, true}) {
      for (const int oneIn : {100, 10, 2}) {
        Inputs in;
        for (int i = 0; i < 10000; ++i) {
          doubledouble t =
              normalised(static_cast<double>(random.whole(-1000000000000, 2000000000000)),
                         hasFraction ? random.real(-0.5, 0.5) : 0.0);
          double v = usualValue(random, component);
          if (random.oneIn(oneIn)) t.hi = kSpecial[random.whole(0, 2)];
          if (random.oneIn(oneIn)) v = kSpecial[random.whole(0, 2)];
          if (random.oneIn(10 * oneIn)) t.lo = kSpecial[random.whole(0, 2)];
          in.add(t, v);
        }
        cases += expectSame(component, false, in);
        cases += expectSame(component, true, in);
      }
    }
  }
}

TEST_F(VectorWalk, OneValueAndNoLowParts) {
  Cases cases(12 * 4 * 4 * 1000);
  Random random(6);
  for (const Component component : kEvery) {
    for (int round = 0; round < 10; ++round) {
      Inputs all;
      for (int i = 0; i < 1000; ++i) all.add(randomTime(random), randomValue(random, component));
      for (const bool oneValue : {false, true}) {
        for (const bool noLow : {false, true}) {
          Inputs in = all;
          if (oneValue) in.values = {usualValue(random, component)};
          if (noLow) in.low = {};
          cases += expectSame(component, round % 2 == 1, in);
        }
      }
    }
  }
}

// So many that their results are written past the caches where they begin at a line of those, with
// crowds of all kinds of elements among them, up to one that is refused.
TEST_F(VectorWalk, MoreThanCachesHold) {
  constexpr std::size_t kCount = lanes::kPastCaches + 13;
  Cases cases(ofUsual(std::int64_t{kCount - 3} * 11 * 3 * setCount()));
  Random random(15);
  for (int c = 0; c < 11; ++c) {
    if (!isVisited(c)) continue;
    const Component component = kEvery[c];
    const bool leapSeconds = component == Component::minute;
    Inputs in;
    for (std::size_t i = 0; i < kCount; ++i) {
      const bool isOdd = i % 50000 < 100;
      const doubledouble usual{static_cast<double>(random.whole(0, 2208988800000)), 0.0};
      in.add(isOdd ? randomTime(random) : usual, usualValue(random, component));
    }
    if (!takesFractions(component)) in.values[kCount - 3] = 0.5;
    const Results plain = run(plainWalk, component, leapSeconds, in);
    ASSERT_GE(plain.done, kCount - 3);
    for (const UnzonedInstructionSet& set : unzonedInstructionSets()) {
      for (const auto& [behind, lowBehind] : {std::pair{0, 0}, {1, 1}, {0, 2}}) {
        AlignedDoubles high(kCount, static_cast<std::size_t>(behind), 77.0);
        AlignedDoubles low(kCount, static_cast<std::size_t>(lowBehind), 77.0);
        const std::size_t done = set.walk(
            component, leapSeconds,
            {in.high.data(), in.low.data(), in.values.data(), 1, high.data(), low.data(), kCount});
        ASSERT_EQ(done, plain.done) << set.name << ' ' << nameOf(component);
        for (std::size_t i = 0; i < done; ++i, ++cases) {
          const doubledouble expected{plain.high[i], plain.low[i]}, result{high[i], low[i]};
          ASSERT_TRUE(sameBits(result, expected)) << set.name << ' ' << nameOf(component) << ' '
                                                  << i << ": " << result << ", not " << expected;
        }
      }
    }
  }
}

// Every length up to three of the longest vectors and some, at every alignment, with nothing
// readable after the end, and nothing written before the start.
TEST_F(VectorWalk, LengthsAndMemory) {
  Cases cases(setCount() * 400);
  constexpr std::size_t kMost = 3 * 8 + 5;
  Random random(7);
  for (const UnzonedInstructionSet& set : unzonedInstructionSets()) {
    for (std::size_t n = 0; n <= kMost; ++n) {
      for (std::size_t before = 0; before < 8; ++before) {
        GuardedArray<double> high(n + before), low(n + before), values(n + before);
        GuardedArray<double> resultHigh(n + before), resultLow(n + before);
        Inputs in;
        for (std::size_t i = 0; i < n + before; ++i) {
          high.data()[i] = static_cast<double>(random.whole(0, 2000000000000));
          low.data()[i] = random.oneIn(9) ? 0x1p-20 : 0.0;
          values.data()[i] = random.oneIn(9) ? kNan : static_cast<double>(1 + i);
          resultHigh.data()[i] = resultLow.data()[i] = 77.0;
          if (i >= before) in.add({high.data()[i], low.data()[i]}, values.data()[i]);
        }
        for (const bool oneValue : {false, true}) {
          if (oneValue && n == 0) continue;
          if (oneValue) in.values.assign(n, in.values[0]);
          const Results plain = run(plainWalk, Component::month, false, in);
          const std::size_t done =
              set.walk(Component::month, false,
                       {high.data() + before, low.data() + before, values.data() + before,
                        oneValue ? std::size_t{0} : 1, resultHigh.data() + before,
                        resultLow.data() + before, n});
          ASSERT_EQ(done, n) << set.name;
          for (std::size_t i = 0; i < before; ++i) {
            ASSERT_EQ(resultHigh.data()[i], 77.0) << set.name;
            ASSERT_EQ(resultLow.data()[i], 77.0) << set.name;
          }
          for (std::size_t i = 0; i < n; ++i) {
            ASSERT_SAME_BITS(resultHigh.data()[before + i], plain.high[i]) << set.name << ' ' << n;
            ASSERT_SAME_BITS(resultLow.data()[before + i], plain.low[i]) << set.name << ' ' << n;
          }
          ++cases;
        }
      }
    }
  }
}

// The first value that is not whole ends the walk, wherever it stands, whatever stands beside it;
// the elements before it are written. Beside a datetime that is not finite no value is refused.
TEST_F(VectorWalk, FirstOffendingElement) {
  Cases cases(11 * 37 * 3);
  Random random(8);
  for (const UnzonedInstructionSet& set : unzonedInstructionSets()) {
    for (const Component component : kEvery) {
      for (std::size_t n : {7u, 16u, 21u, 37u}) {
        for (std::size_t offending = 0; offending < n; ++offending) {
          for (const double bad : {1.5, 0x1p-1074, -0x1.8p51}) {
            Inputs in;
            for (std::size_t i = 0; i < n; ++i) {
              in.add({static_cast<double>(random.whole(0, 2000000000000)),
                      random.oneIn(16) ? 0x1p-20 : 0.0},
                     static_cast<double>(random.whole(1, 12)));
            }
            in.values[offending] = bad == -0x1.8p51 ? bad - 0.5 : bad;
            const std::size_t alsoBad = static_cast<std::size_t>(random.whole(
                static_cast<std::int64_t>(offending), static_cast<std::int64_t>(n) - 1));
            in.values[alsoBad] = 2.25;
            if (offending > 0) {
              in.high[offending / 2] = offending / 2 == offending ? in.high[offending] : kNan;
              in.values[offending / 2] = 0.5;
            }
            const Results plain = run(plainWalk, component, false, in);
            const Results got = run(set.walk, component, false, in);
            ASSERT_EQ(plain.done, takesFractions(component) ? n : offending);
            ASSERT_EQ(got.done, plain.done) << set.name << ' ' << nameOf(component);
            for (std::size_t i = 0; i < got.done; ++i) {
              ASSERT_SAME_BITS(got.high[i], plain.high[i]) << set.name;
              ASSERT_SAME_BITS(got.low[i], plain.low[i]) << set.name;
            }
            ++cases;
          }
        }
      }
    }
  }
}

// Whole vectors, and on the leap-second scale whole blocks, of one element each: so that
// the ends of a domain are met by the code of that domain, and not by that for mixed vectors.
TEST_F(VectorWalk, VectorsOfOneElement) {
  const double times[] = {0x1p49,     -0x1p49, 0x1p49 + 1, -0x1p49 - 1,    0.0,
                          -0.0,       -1.0,    86399999.0, -86400000.0,    0x1p52,
                          0x1p52 - 1, 1e12,    1e12 + 0.5, 1341100824000.0};
  std::vector<double> values = {0.0,  -0.0, 1.0,  -1.0, 12.0, 13.0,
                                23.0, 24.0, 25.0, 59.0, 60.0, 61.0};
  for (const int power : {16, 18, 20, 21, 24, 28, 34, 40}) {
    for (const double beside : {-1.0, 0.0, 1.0}) {
      values.push_back(std::ldexp(1.0, power) + beside);
      values.push_back(-std::ldexp(1.0, power) + beside);
    }
  }
  Cases cases(500'000);
  std::size_t turn = 0;
  for (const Component component : kEvery) {
    for (const bool leapSeconds : {false, true}) {
      for (const double t : times) {
        for (const double v : values) {
          if (leapSeconds && ++turn % 5 != 0) continue;  // blocks are large
          Inputs in;
          for (int i = 0; i < (leapSeconds ? 256 : 16); ++i) in.add({t, 0.0}, v);
          cases += expectSame(component, leapSeconds, in);
          in.values = {v};
          in.low = {};
          cases += expectSame(component, leapSeconds, in);
        }
      }
    }
  }
}

// In the second block of the leap-second scale, in its last one, and with one value for
// all, which only datetimes that are not finite can take.
TEST_F(VectorWalk, FirstOffendingElementOfBlocks) {
  Cases cases(10 * 6);
  Random random(9);
  for (const Component component : kEvery) {
    for (const std::size_t offending : {0u, 255u, 256u, 300u, 511u, 512u, 550u, 599u}) {
      for (const bool mixed : {false, true}) {
        Inputs in;
        for (std::size_t i = 0; i < 600; ++i) {
          in.add({static_cast<double>(random.whole(0, 2000000000000)), 0.0},
                 static_cast<double>(random.whole(1, 12)));
        }
        if (mixed) in.high[offending / 2] += 0.5;
        in.values[offending] = 1.5;
        cases += expectSame(component, true, in) > 0 || offending == 0;
        EXPECT_EQ(run(plainWalk, component, true, in).done,
                  takesFractions(component) ? 600 : offending);
        in.values = {1.5};
        for (std::size_t i = 0; i < offending; ++i) in.high[i] = kNan;
        for (const bool leapSeconds : {false, true}) {
          cases += expectSame(component, leapSeconds, in) > 0 || offending == 0;
          EXPECT_EQ(run(plainWalk, component, leapSeconds, in).done,
                    takesFractions(component) ? 600 : offending);
        }
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (argc > 1 && std::strcmp(argv[1], "--long") == 0) scale = 100;
  return RUN_ALL_TESTS();
}
