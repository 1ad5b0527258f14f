// Lives of ICU. It ends them: a program of its own.
#include "icu/life.h"

#include <gtest/gtest.h>
#include <unicode/timezone.h>
#include <unicode/uclean.h>
#include <unicode/uloc.h>
#include <unicode/utrace.h>

#include <memory>
#include <set>

#include "support/cases.h"

namespace {

TEST(IcuLife, StaysUntilACleanup) {
  Cases cases(20);
  std::set<std::uint64_t> lives;
  for (int i = 0; i < 20; ++i, ++cases) {
    const std::uint64_t life = icuLife();
    EXPECT_NE(life, 0U);
    EXPECT_TRUE(lives.insert(life).second) << "a life that another one was, " << i;
    std::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone("Europe/Paris")).reset();
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault(i % 2 ? "de_DE" : "en_US", &status);
    EXPECT_EQ(icuLife(), life);
    u_cleanup();
  }
}

// As a cleanup would, and sooner than a clock may tell.
TEST(IcuLife, FollowOneAnotherQuickly) {
  Cases cases(200);
  std::set<std::uint64_t> lives;
  for (int i = 0; i < 200; ++i, ++cases) {
    EXPECT_TRUE(lives.insert(icuLife()).second) << i;
    utrace_setFunctions(nullptr, nullptr, nullptr, nullptr);
  }
}

TEST(IcuLife, IsNotToldWhileTheProgramTraces) {
  u_cleanup();
  const int own = 0;
  utrace_setFunctions(&own, nullptr, nullptr, nullptr);
  EXPECT_EQ(icuLife(), 0U);
  utrace_setFunctions(
      nullptr, [](const void*, int32_t) {}, nullptr, nullptr);
  EXPECT_EQ(icuLife(), 0U);
  const void* context = &own;
  UTraceEntry* entry = nullptr;
  UTraceExit* exit = nullptr;
  UTraceData* data = nullptr;
  utrace_getFunctions(&context, &entry, &exit, &data);
  EXPECT_TRUE(context == nullptr && entry != nullptr) << "the program's functions stay";
  u_cleanup();
  EXPECT_NE(icuLife(), 0U);
}

}  // namespace
