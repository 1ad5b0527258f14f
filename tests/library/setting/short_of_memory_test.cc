// Each allocation of a call fails once, in turn, whoever makes it: the call then ends as it would have ended, or
// tells that memory ran out; and the call after it is as ever.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "library/setting/support.h"
#include "support/cases.h"

namespace {

// The allocation that fails, counted down; below 0 none does.
std::atomic<long> failing{-1};

bool fails() {
  return failing.load(std::memory_order_relaxed) >= 0 &&
         failing.fetch_sub(1, std::memory_order_relaxed) == 0;
}

void* allocated(std::size_t size) {
  void* memory = fails() ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void* operator new(std::size_t size) { return allocated(size); }
void* operator new[](std::size_t size) { return allocated(size); }
// The sanitizers' own of these would not go through the two above.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return fails() ? nullptr : std::malloc(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return fails() ? nullptr : std::malloc(size);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace {

constexpr std::size_t kCount = std::size_t{3} << 13;  // three blocks
// 2014-05-31T08:30:15.25Z, and a month of 2 in New York: 2014-03-03T09:30:15.25Z.
constexpr std::int64_t kBefore = 1401525015250, kAfter = 1393839015250;

struct Call {
  explicit Call(unsigned threads) : datetimes(std::vector(kCount, kBefore), "<M8[ms]") {
    options.threads = threads;
    options.fold = plxFOLD_SAME;
  }
  int run() {
    const plxArray array = datetimes.array();
    const plxSetting month = forAll(paMONTH, february);
    return plxSet(&array, &month, 1, &options, &array, &error);
  }

  Column<std::int64_t> datetimes;
  plxOptions options = inZone("America/New_York");
  const double february = 2;
  plxError error{};
};

TEST(ShortOfMemory, WhicheverAllocationFails) {
  Cases cases(60);
  for (const unsigned threads : {1U, 3U}) {
    ASSERT_EQ(Call(threads).run(), 0);  // what is made once is there
    bool isOver = false;
    for (long nth = 0; !isOver; ++nth, ++cases) {
      ASSERT_LT(nth, 100'000);
      Call call(threads);
      failing = nth;
      const int status = call.run();
      isOver = failing >= 0;  // so many are not made
      failing = -1;
      if (status != 0) {
        EXPECT_EQ(std::string(call.error.identifier).substr(0, 12), "Pelmor:host:") << nth;
        EXPECT_EQ(call.error.index, PLX_NO_INDEX) << nth;
        continue;
      }
      ASSERT_EQ(call.datetimes.elements(), std::vector(kCount, kAfter)) << nth;
    }
    Call afterwards(threads);
    EXPECT_EQ(told(afterwards.run(), afterwards.error), "");
    EXPECT_EQ(afterwards.datetimes.elements(), std::vector(kCount, kAfter));
  }
}

}  // namespace
