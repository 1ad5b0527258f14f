// Loading, calling and giving back, again and again: nothing of the process grows.

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/proc_files.h"

namespace {

struct Process {
  std::size_t heapBytes;
  long residentPages;
  std::ptrdiff_t descriptors;
};

Process processNow() {
  long size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  return {mallinfo2().uordblks, resident, std::distance(begin(descriptors), end(descriptors))};
}

void workOnce() {
  const DatetimeModule module;
  const Array t = doubles(std::vector<double>(500, 1399710615250.25)), v = scalar(2);
  for (const char* zone :
       {"", "UTCLeapSeconds", "Europe/Paris", "UTC+05:30", "No/Where", "local"}) {
    for (const double selector : {double{kMonth}, double{kSecond}, 99.0})
      module.set(t, v, selector, zone);
  }
  EXPECT_EQ(paLoadModule("/no/such/module.so", nullptr), nullptr);
}

TEST(Growth, NoneByLoadingCallingAndGivingBack) {
  if (!hasProcFiles()) GTEST_SKIP() << kNoProcFiles;
  Cases cases(1000);
  for (int i = 0; i < 50; ++i) workOnce();  // what is made once, and the allocator's own
  const Process before = processNow();
  for (int i = 0; i < 1000; ++i, ++cases) workOnce();
  const Process after = processNow();
  std::printf("heap %zu, then %zu bytes; resident %ld, then %ld pages; %td, then %td descriptors\n",
              before.heapBytes, after.heapBytes, before.residentPages, after.residentPages,
              before.descriptors, after.descriptors);
  EXPECT_EQ(after.descriptors, before.descriptors);
#if !PLX_SANITIZED
  // One block kept for each round would be 16000 bytes at least.
  EXPECT_LT(after.heapBytes, before.heapBytes + 4096);
  EXPECT_LT(after.residentPages, before.residentPages + 64);
#endif
}

}  // namespace
