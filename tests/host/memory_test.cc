// Arrays that cannot be had: null outside a call, the host's error inside one.
#include <gtest/gtest.h>

#include "host/support.h"
#include "support/built.h"
#include "support/cases.h"

namespace {

const struct {
  std::vector<std::size_t> dims;
  const char* why;
} kTooLarge[] = {
    {{std::size_t{1} << 62, 4}, "2^64 elements wrap to none"},
    {{std::size_t{1} << 62, 5}, "2^64 + 2^62 elements wrap to a plausible count"},
    {{SIZE_MAX, SIZE_MAX}, "the product wraps to 1"},
    {{std::size_t{1} << 61, 1}, "the count fits, its bytes wrap to none"},
    {{(std::size_t{1} << 61) + 1, 1}, "its bytes wrap to 8"},
    {{std::size_t{1} << 60, 1}, "the bytes are more than a pointer difference can tell"},
    {{SIZE_MAX, 1}, "as many elements as can be counted"},
    {{std::size_t{1} << 46, 2}, "nothing overflows, but no machine has the memory"},
};

TEST(Memory, OutsideACallTooLargeIsNull) {
  Cases cases(8);
  for (const auto& row : kTooLarge) {
    for (const auto create : {paCreateNumericArray, paCreateUninitNumericArray})
      for (const paComplexity complexity : {paREAL, paCOMPLEX})
        EXPECT_EQ(create(row.dims.size(), row.dims.data(), paDOUBLE_CLASS, complexity), nullptr)
            << row.why;
    ++cases;
  }
  const std::size_t units[] = {std::size_t{1} << 62, 2};
  const std::uint16_t unit = 'x';
  EXPECT_EQ(paCreateCharArray(2, units, &unit), nullptr) << "2^64 bytes of text";
  EXPECT_EQ(paCreateSparseArray(std::size_t{1} << 32, std::size_t{1} << 32, paDOUBLE_CLASS, paREAL),
            nullptr)
      << "2^64 elements cannot be counted";
}

TEST(Memory, MoreDimensionsThanMemoryHolds) {
  const std::size_t dims[] = {1, 1};
  EXPECT_EQ(paCreateNumericArray(SIZE_MAX, dims, paDOUBLE_CLASS, paREAL), nullptr);
  EXPECT_EQ(paCreateNumericArray(std::size_t{1} << 61, dims, paDOUBLE_CLASS, paREAL), nullptr);
}

TEST(Memory, InsideACallTooLargeIsTheHostsError) {
  const ModulePtr module = loadModule(built("host_actions_module.so"));
  ASSERT_TRUE(module);
  const struct {
    Action action;
    const char* identifier;
    const char* part;
  } rows[] = {
      {Action::createTooLarge, "Pelmor:host:OutOfMemory", "4611686018427387904-by-4 elements"},
      {Action::createTooLargeForNow, "Pelmor:host:OutOfMemory", "35184372088832-by-2 elements"},
      {Action::createOneDimension, "Pelmor:host:InvalidArgument", "at least two dimensions"},
  };
  Cases cases(6);
  for (const auto& row : rows) {
    for (const bool errorsReturn : {false, true}) {
      paSetErrorsReturn(errorsReturn);
      const Outcome outcome = call(module.get(), scalar(row.action));
      paSetErrorsReturn(false);
      EXPECT_EQ(outcome.result, 1);
      EXPECT_EQ(outcome.identifier(), row.identifier);
      EXPECT_NE(outcome.message().find(row.part), std::string::npos) << outcome.message();
      EXPECT_FALSE(outcome.output);
      ++cases;
    }
  }
}

}  // namespace
