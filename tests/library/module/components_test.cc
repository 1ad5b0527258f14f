#include "module/components.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "messages/message.h"
#include "module/module.h"
#include "support/built.h"
#include "support/cases.h"
#include "tools/support/run_plx.h"

namespace plx {
namespace {

bool isSelected(int selector) {
  return std::ranges::any_of(kComponentFacts, [&](const ComponentFacts& facts) {
    return facts.selector == selector || facts.otherSelector == selector;
  });
}

TEST(Components, AreThoseOfTheModule) {
  Cases cases(23);
  Module module(built("plx_datetime.so"));
  for (int selector = 1; selector <= 23; ++selector, ++cases) {
    Datetimes datetimes;
    datetimes.push({0, 0});
    EXPECT_EQ(module.set(datetimes, {1}, selector, "").has_value(), !isSelected(selector))
        << selector;
  }
}

TEST(Components, TakeFractionsWhereTheModuleDoes) {
  Cases cases(22);
  Module module(built("plx_datetime.so"));
  for (const ComponentFacts& c : kComponentFacts) {
    for (const char* zone : {"", "Europe/Paris"}) {
      Datetimes datetimes;
      datetimes.push({0, 0});
      EXPECT_EQ(module.set(datetimes, {1.5}, c.selector, zone).has_value(), !c.takesFractions)
          << c.name;
      ++cases;
    }
  }
}

TEST(Components, BothSelectorsOfTheDayMeanTheSame) {
  for (const ComponentFacts& c : kComponentFacts) {
    if (c.otherSelector == 0) continue;
    EXPECT_EQ(c.name, "day");
    Module module(built("plx_datetime.so"));
    Datetimes one, other;
    one.push({1e12, 0.25});
    other = one;
    ASSERT_FALSE(module.set(one, {40}, c.selector, ""));
    ASSERT_FALSE(module.set(other, {40}, c.otherSelector, ""));
    EXPECT_EQ(one.hi, other.hi);
    EXPECT_EQ(one.lo, other.lo);
  }
}

TEST(Components, EveryExamplePrintsWhatItSays) {
  Cases cases(11);
  for (const ComponentFacts& c : kComponentFacts) {
    const auto [arguments, result] = exampleOf(c.component);
    EXPECT_EQ(runPlx(words(arguments)), (PlxResult{0, std::string(result) + "\n", "", 0}));
    ++cases;
  }
}

TEST(Components, AreFoundByNameAndBySelector) {
  EXPECT_EQ(findComponent("month"), Component::month);
  EXPECT_EQ(findComponent("7"), Component::month);
  EXPECT_EQ(findComponent("12"), Component::dayOfMonth);
  for (const char* text :
       {"", "months", "Month", "1", "0", "23", "-7", "7.0", "07x", "99999999999"})
    EXPECT_THROW(findComponent(text), Failure) << text;
}

TEST(Components, StandInTheTableAndInTheHelp) {
  const PlxResult table = runPlx({"components"});
  EXPECT_EQ(table.status, 0);
  const PlxResult help = runPlx({"set", "--help"});
  EXPECT_EQ(help.status, 0);
  for (const ComponentFacts& c : kComponentFacts) {
    const auto [arguments, result] = exampleOf(c.component);
    for (const std::string_view piece : {arguments, result}) {
      EXPECT_NE(table.out.find(piece), std::string::npos) << piece;
      EXPECT_NE(help.out.find(piece), std::string::npos) << piece;
    }
    EXPECT_NE(table.out.find(std::to_string(c.selector)), std::string::npos) << c.name;
  }
}

}  // namespace
}  // namespace plx
