// What libplx.so shows of itself: its dynamic symbol table.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/built.h"
#include "support/lines_of.h"

namespace {

TEST(ExportedByLibrary, AreThoseOfTheList) {
  const auto exported = linesOf("nm -D --defined-only --format=just-symbols '" +
                                built("libplx.so.1") + "' | sed 's/@.*//' | LC_ALL=C sort");
  const auto listed = linesOf("grep -v '^#' '" PLX_TEST_DATA "/exported_by_library.txt'");
  EXPECT_EQ(listed.size(), 10U);
  EXPECT_EQ(exported, listed);
}

}  // namespace
