// The walks in every rounding mode, with subnormals and without: no result is promised there but to
// nearest, yet nothing is read or written beside the arrays. The module's entry has calls run to
// nearest anyway.

#include <gtest/gtest.h>

#include <string>

#include "support/any_time.h"
#include "support/cases.h"
#include "support/float_environment.h"
#include "support/guarded_array.h"
#include "support/random.h"
#include "unzoned/vector_walk.h"

namespace {

double anyValue(Random& random) {
  return random.oneIn(9) ? std::floor(anyTime(random)) : static_cast<double>(random.whole(-3, 70));
}

// All of a kind that vectors claim as a whole, or all kinds.
struct Inputs {
  Inputs(Random& random, std::size_t n, bool isUsual, Guard guard)
      : high(n, guard), low(n, guard), values(n, guard) {
    for (std::size_t i = 0; i < n; ++i) {
      high[i] = isUsual ? static_cast<double>(random.whole(-0x1p40, 0x1p41)) : anyTime(random);
      low[i] = isUsual || random.oneIn(2) ? 0.0 : random.ofExponent(-1074, 2);
      values[i] = isUsual ? static_cast<double>(random.whole(1, 12)) : anyValue(random);
    }
  }
  GuardedArray<double> high, low, values;
};

TEST(RoundingModes, LeaveNoArray) {
  auto sets = unzonedInstructionSets();
  sets.push_back({"plain", plainWalk});
  const auto environments = roundings();
  Cases cases(static_cast<std::int64_t>(sets.size() * environments.size()) * 2 *
              static_cast<std::int64_t>(kFactsOfAll.size()) * 4 * 700);
  Random random(41);
  for (const std::size_t n : {std::size_t{3}, std::size_t{697}}) {  // blocks of 256, and a rest
    for (const bool isUsual : {true, false}) {
      for (const Guard guard : {Guard::end, Guard::start}) {
        Inputs in(random, n, isUsual, guard);
        GuardedArray<double> high(n, guard), low(n, guard);
        for (const ComponentFacts& facts : kFactsOfAll) {
          for (const bool leapSeconds : {false, true}) {
            for (const auto& set : sets) {
              for (const FloatEnvironment& environment : environments) {
                std::size_t done = 0;
                const FloatEnvironment after = runIn(environment, [&] {
                  done = set.walk(facts.component, leapSeconds,
                                  {in.high.data(), in.low.data(), in.values.data(), 1, high.data(),
                                   low.data(), n});
                });
                EXPECT_EQ(after, environment) << set.name;
                EXPECT_LE(done, n) << set.name << ", " << environment;
                cases += static_cast<std::int64_t>(n);
              }
            }
          }
        }
      }
    }
  }
}

}  // namespace
