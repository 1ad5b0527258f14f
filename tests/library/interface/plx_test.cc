// The functions of plx/plx.h beside those that set: what they tell, and how texts are cut.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "library/setting/support.h"
#include "plx/plx.h"
#include "support/cases.h"

namespace {

TEST(Plx, VersionsNeedAPlace) {
  plxError error;
  EXPECT_EQ(told(plxVersions(nullptr, &error), error),
            "Pelmor:library:InvalidArgument: versions: null; accepted: the address of a "
            "plxVersionTexts");
  EXPECT_EQ(plxVersions(nullptr, nullptr), 1);
}

TEST(Plx, ComponentsWithoutTheirNumber) {
  std::size_t count = 0;
  EXPECT_EQ(plxComponents(nullptr), plxComponents(&count));
}

TEST(Plx, NamesThatNoComponentHas) {
  Cases cases(11);
  for (const char* none : {"", "Month", "month ", "day of year", "day.of.year", "5", "0", "-3",
                           "4x", "4 ", "99999999999"}) {
    EXPECT_EQ(plxFindComponent(none), 0) << none;
    ++cases;
  }
  EXPECT_EQ(plxFindComponent(nullptr), 0);
}

// Two shapes of 64 lengths are more than a message takes.
TEST(Plx, LongMessagesAreCut) {
  std::vector<std::size_t> lengths(64, std::size_t{1} << 40);
  lengths.front() = 0;
  double number = 1;
  const plxArray in = {nullptr, "<f8", 64, lengths.data(), nullptr, nullptr, nullptr};
  const plxSetting hour = {
      paHOUR, {&number, "<f8", 63, lengths.data(), nullptr, nullptr, nullptr}, nullptr};
  plxError error;
  EXPECT_EQ(plxSet(&in, &hour, 1, nullptr, &in, &error), 1);
  const std::string message = error.message;
  EXPECT_EQ(message.size(), sizeof error.message - 1);
  EXPECT_EQ(message.substr(0, 37), "values of shape (0, 1099511627776, 10");
}

}  // namespace
