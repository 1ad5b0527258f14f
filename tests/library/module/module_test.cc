// A module that does not do what a datetime module does is told from one that does.
#include "module/module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "messages/message.h"
#include "modules/odd_results.h"
#include "support/built.h"
#include "support/cases.h"

namespace plx {
namespace {

using testing::HasSubstr;

const struct {
  int result;
  const char* complaint;
} kOddResults[] = {
    {RESULT_MISSING, "gave back nothing"},
    {RESULT_SHORTER, "gave back an array of other dimensions"},
    {RESULT_LONGER, "gave back an array of other dimensions"},
    {RESULT_IN_A_ROW, "gave back an array of other dimensions"},
    {RESULT_OF_THREE_DIMENSIONS, "gave back an array of other dimensions"},
    {RESULT_REAL, "gave back an array without imaginary part"},
    {RESULT_TEXT, "gave back an array that is not of class double"},
    {RESULT_SPARSE, "gave back a sparse array"},
};

TEST(Module, OddResultsAreRefused) {
  Module module(built("odd_results_module.so"));
  Cases cases(std::size(kOddResults));
  for (const auto& row : kOddResults) {
    Datetimes datetimes{{1.0, 2.0, 3.0}, {0.25, 0.25, 0.25}};
    try {
      (void)module.set(datetimes, {1.0, 1.0, 1.0}, row.result, "");
      ADD_FAILURE() << row.complaint << ": not refused";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.status, Status::inputOutput);
      EXPECT_THAT(failure.message, HasSubstr(row.complaint));
      EXPECT_THAT(failure.message, HasSubstr(built("odd_results_module.so")));
      EXPECT_THAT(failure.message, HasSubstr("; accepted: "));
    }
    EXPECT_EQ(datetimes.hi, (std::vector<double>{1.0, 2.0, 3.0})) << row.complaint;
    EXPECT_EQ(datetimes.lo, (std::vector<double>{0.25, 0.25, 0.25})) << row.complaint;
    ++cases;
  }
}

TEST(Module, AResultAsItShouldBeIsTaken) {
  Module module(built("odd_results_module.so"));
  Datetimes datetimes{{1.0, 2.0, 3.0}, {0.25, 0.25, 0.25}};
  EXPECT_FALSE(module.set(datetimes, {1.0, 1.0, 1.0}, RESULT_AS_IT_SHOULD_BE, ""));
  EXPECT_EQ(datetimes.hi, (std::vector<double>{0.0, 0.0, 0.0}));
  EXPECT_EQ(datetimes.lo, (std::vector<double>{0.0, 0.0, 0.0}));
}

}  // namespace
}  // namespace plx
