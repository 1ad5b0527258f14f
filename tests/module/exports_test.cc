// What the module shows of itself: its dynamic symbol table.

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "support/built.h"
#include "support/lines_of.h"

namespace {

// The names that `nm` prints first on each line, without the version of a symbol, sorted.
std::vector<std::string> symbolsOf(const std::string& file, const char* which) {
  std::vector<std::string> names;
  for (const std::string& line : linesOf("nm -D --format=posix " + (which + (" '" + file + "'")))) {
    names.push_back(line.substr(0, line.find_first_of(" @")));
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST(Exports, TheEntryPointAndNothingElse) {
  const auto lines =
      linesOf("nm -D --defined-only --format=posix '" + built("plx_datetime.so") + "'");
  ASSERT_EQ(lines.size(), 1u) << "one defined symbol";
  EXPECT_EQ(lines[0].rfind("plxFunction T ", 0), 0u) << lines[0];
}

TEST(Exports, TheHostIsNotLinked) {
  int needed = 0;
  for (const auto& line : linesOf("objdump -p '" + built("plx_datetime.so") + "'")) {
    if (line.find("NEEDED") == std::string::npos) continue;
    ++needed;
    EXPECT_EQ(line.find("plx"), std::string::npos) << "module and host meet at load time: " << line;
  }
  EXPECT_GT(needed, 2);
}

TEST(Exports, TheVersionOfTheHostsInterfaceIsAskedFor) {
  int references = 0;
  for (const auto& line :
       linesOf("nm -D --undefined-only --format=posix '" + built("plx_datetime.so") + "'")) {
    references += line.rfind("paHostInterface_1 ", 0) == 0;
  }
  EXPECT_EQ(references, 1);
}

// Nobody would finish what another thread has begun in a child that was forked meanwhile: the child would wait for
// ever. What is found out in the first call is found out by whoever needs it (found_once.h).
// Boost's are initialised while the module is loaded.
TEST(Exports, NoThreadWaitsForTheFirstCallOfAnother) {
  const auto symbols = linesOf("nm -C '" + built("plx_datetime.so") + "'");
  EXPECT_GT(symbols.size(), 100u);
  for (const std::string& line : symbols) {
    if (line.find("guard variable for boost::") != std::string::npos) continue;
    EXPECT_EQ(line.find("guard variable"), std::string::npos)
        << "a static local variable is initialised by a function: " << line;
  }
}

// What a host has to provide: of all that the module leaves undefined, what the reference host defines. The list
// is kept so that a demand that is new, or gone, is decided on; without optimisation, and under sanitizers, the
// inline functions of the headers ask for more.
TEST(Exports, WhatIsDemandedOfAHostIsWhatTheListSays) {
#if !defined(__OPTIMIZE__) || PLX_SANITIZED || !defined(__GNUC__) || defined(__clang__)
  GTEST_SKIP() << "the list is that of an optimised build by g++, without sanitizers";
#endif
  const auto wanted = symbolsOf(built("plx_datetime.so"), "--undefined-only");
  const auto provided = symbolsOf(built("libplx_host.so"), "--defined-only");
  std::vector<std::string> demanded;
  std::set_intersection(wanted.begin(), wanted.end(), provided.begin(), provided.end(),
                        std::back_inserter(demanded));
  auto listed = linesOf("grep -v '^#' '" PLX_TEST_DATA "/demanded_of_host.txt'");
  std::sort(listed.begin(), listed.end());
  EXPECT_GT(demanded.size(), 30u);
  EXPECT_EQ(demanded, listed);
}

}  // namespace
