// Calls from many threads at once, with different zones and components.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/random.h"

namespace {

TEST(Threads, CallsDoNotDisturbEachOther) {
  const DatetimeModule module;
  const char* zones[] = {"",          "UTCLeapSeconds", "America/New_York", "Asia/Kolkata",
                         "UTC+05:30", "Europe/Paris",   "No/Where",         "-0800"};
  std::vector<doubledouble> t;
  Random random(1);
  for (int i = 0; i < 500; ++i) {
    t.push_back({static_cast<double>(random.whole(-4000000000000, 4000000000000)), 0.0});
  }
  const auto run = [&](const DatetimeModule& m, int i) {
    return m.set(datetimes(t), scalar(i % 29), kSelectorsOfAll[i % 11], zones[i % 8]);
  };
  std::vector<Outcome> expected;
  for (int i = 0; i < 88; ++i) expected.push_back(run(module, i));

  std::atomic<int> different = 0, calls = 0;
  std::vector<std::thread> threads;
  for (int k = 0; k < 8; ++k) {
    threads.emplace_back([&, k] {
      const DatetimeModule own;  // loading at the same time, too
      for (int i = 0; i < 88; ++i) {
        const int j = (i + 11 * k) % 88;
        const Outcome outcome = run(k % 2 ? module : own, j);
        const auto& e = expected[static_cast<std::size_t>(j)];
        bool same = outcome.status == e.status && outcome.identifier == e.identifier;
        if (same && outcome.status == 0) {
          const auto a = elements(outcome.result), b = elements(e.result);
          for (std::size_t n = 0; n < a.size(); ++n) same = same && sameBits(a[n], b[n]);
        }
        different += !same;
        ++calls;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(different, 0);
  EXPECT_EQ(calls, 8 * 88);
}

}  // namespace
