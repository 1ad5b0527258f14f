// The same bits with and without a fused multiply-add unit.

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>

#include "support/built.h"

namespace {

std::string outputOf(const char* program) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(built(program).c_str(), "r"), pclose);
  char buffer[200] = "";
  return fgets(buffer, sizeof buffer, pipe.get()) ? buffer : "";
}

TEST(Fma, TheSameBitsWithAndWithout) {
#ifdef __x86_64__
  if (!__builtin_cpu_supports("fma")) GTEST_SKIP() << "this processor has no FMA";
#endif
  const std::string plain = outputOf("results_digest");
  std::printf("[  CASES   ] Fma.TheSameBitsWithAndWithout: %s", plain.c_str());
  ASSERT_NE(plain.find(" results, hash "), std::string::npos);
  EXPECT_GT(std::stoul(plain), 1000000u);
  EXPECT_EQ(outputOf("results_digest_fma"), plain);
}

// The bits themselves, as they were when the arithmetic was compared, operation by operation, with its
// definition. Any change of the order of operations changes this.
TEST(Fma, TheRecordedBits) {
  EXPECT_EQ(outputOf("results_digest"), "1440000 results, hash a8812879d592bf07\n");
}

// Were the compiler allowed to fuse, it would change results: the comparison above means something.
TEST(Fma, FusingWouldBeSeen) {
#ifdef __x86_64__
  if (!__builtin_cpu_supports("fma")) GTEST_SKIP() << "this processor has no FMA";
  const std::string contracted = outputOf("results_digest_contracted");
  ASSERT_NE(contracted.find(" results, hash "), std::string::npos);
  EXPECT_NE(contracted, outputOf("results_digest"));
#else
  GTEST_SKIP() << "which flag allows it is known for x86-64 only";
#endif
}

}  // namespace
