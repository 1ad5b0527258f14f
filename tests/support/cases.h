// Counting what a test visited. A loop over no cases passes every test, so each says how many there
// were and how many there must be at least.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

class Cases {
 public:
  // `atLeast`: fewer visited cases fail the test.
  explicit Cases(std::int64_t atLeast) : atLeast_(atLeast) {}
  ~Cases() {
    const auto* info = testing::UnitTest::GetInstance()->current_test_info();
    std::printf("[  CASES   ] %s.%s: %lld\n", info->test_suite_name(), info->name(),
                static_cast<long long>(visited_));
    testing::Test::RecordProperty("cases", std::to_string(visited_));
    // A test that failed earlier may have stopped early.
    if (!testing::Test::HasFailure()) {
      EXPECT_GE(visited_, atLeast_) << "cases visited";
    }
  }
  Cases(const Cases&) = delete;
  Cases& operator=(const Cases&) = delete;
  void operator++() { ++visited_; }
  void operator+=(std::int64_t n) { visited_ += n; }

 private:
  std::int64_t atLeast_;
  std::int64_t visited_ = 0;
};
