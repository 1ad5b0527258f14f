// What the host library shows of itself: its dynamic symbol table.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "support/built.h"
#include "support/cases.h"
#include "support/lines_of.h"

namespace {

// Under the names that people know.
std::set<std::string> exportedNames() {
  std::set<std::string> names;
  for (const auto& line :
       linesOf("nm -DC --defined-only --format=just-symbols '" + built("libplx_host.so") + "'"))
    names.insert(line);
  return names;
}

// Programs that link the host, and modules that are loaded into it, have copies of these of their own.
TEST(ExportedSymbols, NoneOfBoostOrOfTheStandardLibrary) {
  Cases cases(100);
  for (const std::string& name : exportedNames()) {
    for (const char* prefix : {"", "typeinfo for ", "typeinfo name for ", "vtable for ", "void "})
      for (const char* space : {"std::", "boost::", "__gnu_cxx::", "icu_"})
        EXPECT_THAT(name, testing::Not(testing::StartsWith(std::string(prefix) + space)));
    ++cases;
  }
}

// The list is kept so that a symbol that is new, or gone, is decided on.
TEST(ExportedSymbols, AreThoseOfTheList) {
#if !defined(__x86_64__)
  GTEST_SKIP() << "the list has the names of x86-64";
#endif
  auto exported = linesOf("nm -D --defined-only --format=just-symbols '" + built("libplx_host.so") +
                          "' | sed 's/@.*//' | LC_ALL=C sort");
#if defined(__clang__)
  // g++ makes it although nothing can call it: objects of an abstract class are parts of others.
  exported.push_back("_ZN4brel6except10IExceptionC1ERKS1_");
#endif
  const auto listed = linesOf("grep -v '^#' '" PLX_TEST_DATA "/exported_by_host.txt'");
  EXPECT_GT(listed.size(), 100u);
  EXPECT_THAT(exported, testing::UnorderedElementsAreArray(listed));
}

}  // namespace
