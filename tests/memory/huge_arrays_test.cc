// Calls on more elements than 32 bits count, with a few hundred megabytes: this program has a memory of its
// own, where a huge block is one short window of memory mapped again and again, and a tail behind it. Equal
// datetimes at equal places of the windows give equal results there, so that nothing is disturbed; and what
// stands in the tail is reached only by indices above 2^31.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <vector>

#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/length.h"

#define PLX_OWN_MEMORY !PLX_SANITIZED

namespace {

constexpr std::size_t kWindow = std::size_t{64} << 20;  // bytes
constexpr std::size_t kWindowElements = kWindow / sizeof(double);
constexpr std::size_t kWindows = 256;
constexpr std::size_t kTail = std::size_t{1} << 20;
constexpr std::size_t kTailElements = kTail / sizeof(double);
constexpr std::size_t kElements = kWindows * kWindowElements + kTailElements;
static_assert(kElements > std::size_t{1} << 31);

constexpr std::size_t kHugePage = std::size_t{2} << 20;

[[maybe_unused]] void* mapBySystem(void* address, std::size_t size, int protection, int flags,
                                   int file, off_t offset) {
  return reinterpret_cast<void*>(syscall(SYS_mmap, address, size, protection, flags, file, offset));
}

// A block of the size, which begins at a huge page; MAP_FAILED where the mappings cannot be had.
[[maybe_unused]] void* mapHugeBlock(std::size_t size) {
  const int file = memfd_create("window", 0);
  if (file < 0 || ftruncate(file, kWindow) != 0) return MAP_FAILED;
  // First the range, with memory of its own for the tail; then the windows over it.
  void* const block = mapBySystem(nullptr, size, PROT_READ | PROT_WRITE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  bool isMapped = block != MAP_FAILED;
  char* const data =
      static_cast<char*>(block) + -reinterpret_cast<std::uintptr_t>(block) % kHugePage;
  for (std::size_t i = 0; isMapped && i < kWindows; ++i) {
    isMapped = mapBySystem(data + i * kWindow, kWindow, PROT_READ | PROT_WRITE,
                           MAP_SHARED | MAP_FIXED | MAP_POPULATE, file, 0) != MAP_FAILED;
  }
  close(file);
  return isMapped ? block : MAP_FAILED;
}

int hugeBlocks = 0;

}  // namespace

#if PLX_OWN_MEMORY
extern "C" {
static void* hugeBlock[4];

static bool isHuge(std::size_t size) { return size >= kWindows * kWindow; }

// The host maps large blocks itself, with up to one huge page more than it needs, and gives that back.
void* mmap(void* address, std::size_t size, int protection, int flags, int file, off_t offset) {
  if (!isHuge(size)) return mapBySystem(address, size, protection, flags, file, offset);
  for (void*& place : hugeBlock) {
    if (place) continue;
    ++hugeBlocks;
    return place = mapHugeBlock(size);
  }
  errno = ENOMEM;
  return MAP_FAILED;
}

int munmap(void* memory, std::size_t size) {
  if (isHuge(size)) {
    for (void*& place : hugeBlock) {
      const auto* const begin = static_cast<char*>(place);
      if (begin != nullptr && begin <= memory && memory < begin + kHugePage) place = nullptr;
    }
  }
  return static_cast<int>(syscall(SYS_munmap, memory, size));
}
}
#endif

namespace {

class HugeArrays : public testing::Test {
 protected:
  void SetUp() override {
    if (!PLX_OWN_MEMORY) GTEST_SKIP() << "the sanitizers have a memory of their own";
    if (!testsAreWhole()) GTEST_SKIP() << "ten seconds a call, in a whole run only";
    // A machine with much memory keeps such blocks from one test to the next; each begins with none.
    paReleaseMemory();
    hugeBlocks = 0;
  }
};

Array hugeArray(paComplexity complexity) {
  const std::size_t dims[] = {1, kElements};
  return Array(paCreateUninitNumericArray(2, dims, paDOUBLE_CLASS, complexity));
}

// A time for each place of the window and of the tail, all of the latter different.
double timeAt(std::size_t i) {
  return 1399710615250.0 + static_cast<double>(i % 9973) * 86400123.0;
}

void fill(double* times) {
  for (std::size_t i = 0; i < kWindowElements; ++i) times[i] = timeAt(i);
  for (std::size_t i = kElements - kTailElements; i < kElements; ++i) times[i] = timeAt(i);
}

void expectSameAsAlone(const DatetimeModule& module, double selector, const char* zone) {
  Cases cases(kTailElements);
  const Array t = hugeArray(paREAL);
  if (!t) GTEST_SKIP() << "this machine does not map so much";
  fill(paGetRealData(t.get()));
  const Outcome all = module.set(t, scalar(2.0), selector, zone);
  ASSERT_EQ(all.status, 0) << all.identifier << ": " << all.message;
  ASSERT_EQ(paGetNumberOfElements(all.result.get()), kElements);
  EXPECT_EQ(hugeBlocks, 3) << "the datetimes and both parts of the result";
  hugeBlocks = 0;

  std::vector<doubledouble> tail;
  const std::size_t first = kElements - kTailElements;
  for (std::size_t i = first; i < kElements; ++i) tail.push_back({timeAt(i), 0.0});
  const auto expected = module.results(tail, {2.0}, selector, zone);
  const double* const high = paGetRealData(all.result.get());
  const double* const low = paGetImagData(all.result.get());
  for (std::size_t i = 0; i < kTailElements; ++i, ++cases) {
    ASSERT_SAME_BITS((doubledouble{high[first + i], low[first + i]}), expected[i]) << first + i;
  }
}

TEST_F(HugeArrays, WithoutAZone) { expectSameAsAlone(DatetimeModule(), kMonth, ""); }
TEST_F(HugeArrays, WithLeapSeconds) {
  expectSameAsAlone(DatetimeModule(), kMinute, "UTCLeapSeconds");
}
TEST_F(HugeArrays, InAZone) { expectSameAsAlone(DatetimeModule(), kHour, "Europe/Paris"); }

// The first element that is refused ends the walk, also behind so many others.
TEST_F(HugeArrays, AnErrorInTheTail) {
  Cases cases(1);
  const DatetimeModule module;
  const Array t = hugeArray(paREAL), v = hugeArray(paREAL);
  if (!t || !v) GTEST_SKIP() << "this machine does not map so much";
  fill(paGetRealData(t.get()));
  for (std::size_t i = 0; i < kWindowElements; ++i) paGetRealData(v.get())[i] = 3.0;
  for (std::size_t i = kElements - kTailElements; i < kElements; ++i)
    paGetRealData(v.get())[i] = 3.0;
  paGetRealData(v.get())[kElements - 2] = 3.5;
  const Outcome outcome = module.set(t, v, kMonth, "");
  EXPECT_EQ(outcome.identifier, "Pelmor:datetime:MustBeInteger");
  ++cases;
}

}  // namespace
