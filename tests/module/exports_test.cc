// What the module shows of itself: its dynamic symbol table.

#include <gtest/gtest.h>

#include "support/lines_of.h"

namespace {

TEST(Exports, TheEntryPointAndNothingElse) {
  const auto lines = linesOf("nm -D --defined-only --format=posix '" PLX_MODULE_PATH "'");
  ASSERT_EQ(lines.size(), 1u) << "one defined symbol";
  EXPECT_EQ(lines[0].rfind("plxFunction T ", 0), 0u) << lines[0];
}

TEST(Exports, TheHostIsNotLinked) {
  int needed = 0;
  for (const auto& line : linesOf("objdump -p '" PLX_MODULE_PATH "'")) {
    if (line.find("NEEDED") == std::string::npos) continue;
    ++needed;
    EXPECT_EQ(line.find("plx"), std::string::npos) << "module and host meet at load time: " << line;
  }
  EXPECT_GT(needed, 2);
}

TEST(Exports, TheVersionOfTheHostsInterfaceIsAskedFor) {
  int references = 0;
  for (const auto& line : linesOf("nm -D --undefined-only --format=posix '" PLX_MODULE_PATH "'")) {
    references += line.rfind("paHostInterface_1 ", 0) == 0;
  }
  EXPECT_EQ(references, 1);
}

}  // namespace
