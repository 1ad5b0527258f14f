#include "zones/rules_file.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/cases.h"
#include "support/random.h"
#include "zones/resource_bundle.h"

namespace {

using zones::checkRules;
using zones::isNewer;

std::string someRules(const std::string& release = "2025b",
                      const std::string& from = "/usr/share/zoneinfo") {
  zones::ResourceBundle bundle({"TZVersion"});
  std::string file =
      bundle.file({{"TZVersion", bundle.text(release)}}, zones::commentOf({72, release, from}));
  zones::sealRules(file);
  return file;
}

TEST(RulesFile, TellsWhatItIs) {
  const auto checked = checkRules(someRules());
  EXPECT_EQ(checked.problem, "");
  EXPECT_EQ(checked.label.icuMajor, 72);
  EXPECT_EQ(checked.label.release, "2025b");
  EXPECT_EQ(checked.label.from, "/usr/share/zoneinfo");
  EXPECT_EQ(checkRules(someRules("2025b", "/a; sum \n\xC3\xA9/b")).label.from, "/a; sum /b");
  EXPECT_EQ(checkRules(someRules("2025b", std::string(5000, 'x'))).label.from.size(), 1000u);
}

TEST(RulesFile, EveryDamageShows) {
  const std::string good = someRules();
  Cases cases(2 * 200 + 1000);
  for (std::size_t length = 0; length < good.size(); ++length) {
    EXPECT_NE(checkRules(good.substr(0, length)).problem, "") << length;
    ++cases;
  }
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (const int bits : {1, 0x80, 0xFF}) {
      std::string bad = good;
      bad[at] = static_cast<char>(bad[at] ^ bits);
      EXPECT_NE(checkRules(bad).problem, "") << at << ' ' << bits;
      ++cases;
    }
  }
  Random random(15);
  for (int i = 0; i < 1000; ++i) {
    std::string bad = good;
    const auto from =
        static_cast<std::size_t>(random.whole(0, static_cast<std::int64_t>(good.size()) - 1));
    const auto length = static_cast<std::size_t>(random.whole(1, 100));
    for (std::size_t k = from; k < std::min(from + length, bad.size()); ++k)
      bad[k] = static_cast<char>(random.whole(0, 255));
    EXPECT_EQ(checkRules(bad).problem.empty(), bad == good) << from << ' ' << length;
    ++cases;
  }
  EXPECT_NE(checkRules(good + '\0').problem, "");
  EXPECT_NE(checkRules(good + good).problem, "");
}

TEST(RulesFile, TheDamageIsNamed) {
  std::string bytes = someRules();
  EXPECT_EQ(checkRules("").problem, "is cut short");
  EXPECT_EQ(checkRules(std::string(100, 'x')).problem, "is no file of ICU's, or damaged");
  EXPECT_EQ(checkRules(bytes.substr(0, bytes.size() - 1)).problem, "is cut short or damaged");
  bytes[8] ^= 1;
  EXPECT_EQ(checkRules(bytes).problem, "is of a machine with another order of bytes, or damaged");
  zones::ResourceBundle bundle({"TZVersion"});
  EXPECT_EQ(checkRules(bundle.file({{"TZVersion", bundle.text("2025b")}}, "")).problem,
            "is not one that plx rules update writes, or damaged");
  EXPECT_EQ(checkRules(someRules("spring")).problem, "does not tell its release");
}

// As others publish them: without our comment, and so without a sum.
TEST(RulesFile, OfOthersIsWholeWhereItHasItsLength) {
  zones::ResourceBundle bundle({"TZVersion"});
  const std::string others = bundle.file({{"TZVersion", bundle.text("2025b")}}, "made by somebody"),
                    ours = someRules();
  EXPECT_EQ(zones::problemForIcu(others), "");
  EXPECT_EQ(zones::problemForIcu(others + "behind it"), "");
  EXPECT_EQ(zones::problemForIcu(ours), "");
  EXPECT_EQ(zones::problemForIcu(ours + '\0'), "is cut short or damaged");
  std::string otherOrder = others;
  otherOrder[8] ^= 1;
  EXPECT_EQ(zones::problemForIcu(otherOrder),
            "is of a machine with another order of bytes, or damaged");
  EXPECT_EQ(zones::problemForIcu("text\n"), "is cut short");
  Cases cases(200);
  for (const std::string& good : {others, ours}) {
    for (std::size_t length = 0; length < good.size(); ++length) {
      EXPECT_NE(zones::problemForIcu(good.substr(0, length)), "") << length;
      ++cases;
    }
  }
}

TEST(RulesFile, ReleasesHaveAnOrder) {
  const char* const inOrder[] = {"1996n", "2022e", "2022f", "2024z", "2024za", "2024zb", "2025a"};
  Cases cases(7 * 7);
  for (std::size_t i = 0; i < 7; ++i) {
    for (std::size_t k = 0; k < 7; ++k) {
      EXPECT_EQ(isNewer(inOrder[i], inOrder[k]), i > k) << inOrder[i] << ' ' << inOrder[k];
      ++cases;
    }
  }
  for (const char* none : {"", "2025", "2025B", "202b", "2025abc", "b2025"}) {
    EXPECT_FALSE(zones::isRelease(none)) << none;
    EXPECT_FALSE(isNewer(none, "1996n") || isNewer("2025a", none)) << none;
  }
}

TEST(RulesFile, AUsersFolderIsThatOfTheirData) {
  ::setenv("HOME", "/her", 1);
  ::setenv("XDG_DATA_HOME", "/data", 1);
  EXPECT_EQ(zones::userRulesFolder(), "/data/plx/rules");
  ::setenv("XDG_DATA_HOME", "not/absolute", 1);
  EXPECT_EQ(zones::userRulesFolder(), "/her/.local/share/plx/rules");
  ::unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(zones::userRulesFolder(), "/her/.local/share/plx/rules");
  ::unsetenv("HOME");
  EXPECT_EQ(zones::userRulesFolder(), "");
}

}  // namespace
