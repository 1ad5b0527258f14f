#include "icu/checks.h"

#include <gtest/gtest.h>

#include <cmath>

#include "icu/memory.h"
#include "support/raised.h"
#include "support/random.h"

namespace {

TEST(CheckICURange, Bounds) {
  for (const double ms : {0.0, -0.0, 0x1p52, -0x1p52, 0x1p52 - 1, 1e-300}) {
    EXPECT_FALSE(raisedBy([&] { checkICURange(ms); })) << ms;
  }
  for (const double ms : {0x1p52 + 1, -0x1p52 - 1, DBL_MAX, kInf, -kInf, kNan, -kNan}) {
    const auto raised = raisedBy([&] { checkICURange(ms); });
    ASSERT_TRUE(raised) << ms;
    EXPECT_EQ(raised->identifier, "Pelmor:datetime:RangeError");
    EXPECT_TRUE(raised->arguments.empty());
  }
}

TEST(CheckICUStatus, SuccessAndWarningsPass) {
  for (const int status : {0, -1, -124, -126, -127, -128}) {
    EXPECT_FALSE(raisedBy([&] { checkICUStatus(static_cast<UErrorCode>(status), "context"); }));
  }
}

TEST(CheckICUStatus, FailuresNameTheCallAndTheStatus) {
  const struct {
    UErrorCode status;
    const char* name;
  } rows[] = {{U_ILLEGAL_ARGUMENT_ERROR, "U_ILLEGAL_ARGUMENT_ERROR"},
              {U_MEMORY_ALLOCATION_ERROR, "U_MEMORY_ALLOCATION_ERROR"},
              {U_MISSING_RESOURCE_ERROR, "U_MISSING_RESOURCE_ERROR"}};
  for (const auto& r : rows) {
    const auto raised = raisedBy([&] { checkICUStatus(r.status, "set calendar time value"); });
    ASSERT_TRUE(raised);
    EXPECT_EQ(raised->identifier, "Pelmor:datetime:ICUError");
    ASSERT_EQ(raised->arguments.size(), 2u);
    EXPECT_EQ(raised->arguments[0], "set calendar time value");
    EXPECT_EQ(raised->arguments[1], r.name);
  }
}

TEST(CheckICUMemory, NullIsLackOfMemory) {
  int object = 0;
  EXPECT_EQ(checkICUMemory(&object), &object);
  EXPECT_THROW(checkICUMemory<int>(nullptr), std::bad_alloc);
}

}  // namespace
