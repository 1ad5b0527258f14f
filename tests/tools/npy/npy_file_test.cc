#include "npy/npy_file.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "messages/message.h"
#include "stream/signals.h"
#include "support/cases.h"
#include "support/proc_files.h"
#include "tools/support/npy_bytes.h"
#include "tools/support/temporary_folder.h"

namespace plx {
namespace {

constexpr std::uint64_t kLast = 99'999;

// How often a file is mapped into this process.
int mappingsOf(const std::string& path) {
  int count = 0;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) count += line.ends_with(path);
  return count;
}

// The memory that this process has in use, in bytes.
std::size_t resident() {
  std::size_t all = 0, pages = 0;
  std::ifstream("/proc/self/statm") >> all >> pages;
  return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

// What has been read of a large array is given back, 4 MiB at a time, and can be read again.
TEST(NpyFile, GivesBackWhatHasBeenRead) {
  if (!hasProcFiles()) GTEST_SKIP() << kNoProcFiles;
  constexpr std::size_t kCount = std::size_t{3} << 20, kMiB = std::size_t{1} << 20;
  const TemporaryFolder folder;
  std::vector<double> numbers(kCount);
  std::iota(numbers.begin(), numbers.end(), 0.0);
  const std::string path = folder.write("a.npy", npyOf("<f8", numbers));
  NpyFile file(path, path);
  const auto sum = [&] {
    const char* const elements = file.elements(0);
    double all = 0;
    for (std::size_t i = 0; i < kCount; ++i) {
      double one = 0;
      std::memcpy(&one, elements + 8 * i, sizeof one);
      all += one;
    }
    return all;
  };
  const double expected = static_cast<double>(kCount) * static_cast<double>(kCount - 1) / 2;
  EXPECT_EQ(sum(), expected);
  const std::size_t whole = resident();
  file.release(kCount / 2);
  EXPECT_LT(resident() + 7 * kMiB, whole) << "8 of 12 MiB, as whole windows";
  EXPECT_GT(resident() + 13 * kMiB, whole) << "and no more";
  file.release(kCount / 4);
  EXPECT_EQ(sum(), expected);
}

// Reading a mapping past the end of its file would end the program without a word, and leave what is half written.
TEST(NpyFile, ReadingWhereTheFileHasBecomeShorterIsToldInWords) {
  Cases cases(2 * 3);
  const TemporaryFolder folder;
  for (const bool byThread : {false, true}) {
    for (const std::uint64_t element : {std::uint64_t{1000}, std::uint64_t{50'000}, kLast}) {
      const std::string path = folder.write("a.npy", npyOf("<f8", std::vector<double>(kLast + 1)));
      const std::string halfWritten = folder.write("half", "written");
      const auto read = [&](const char* elements) {
        volatile char byte = elements[8 * element];
        static_cast<void>(byte);
      };
      EXPECT_EXIT(
          {
            handleSignals();
            removeOnSignal(halfWritten);
            const NpyFile file(path, "the array");
            const char* const elements = file.elements(0);
            std::filesystem::resize_file(path, 2000);
            if (byThread) {
              std::vector<std::thread> both;
              for (int i = 0; i < 2; ++i) both.emplace_back(read, elements);
              for (std::thread& one : both) one.join();
            }
            read(elements);
          },
          testing::ExitedWithCode(static_cast<int>(Status::inputOutput)),
          "^plx: the array: the file has become shorter while it was being read\n$");
      EXPECT_FALSE(std::filesystem::exists(halfWritten));
      ++cases;
    }
  }
}

// Elsewhere it is what it was.
TEST(NpyFile, OtherFaultsOfMemoryEndTheProgramAsBefore) {
  const TemporaryFolder folder;
  const std::string path = folder.write("a.npy", npyOf("<f8", std::vector<double>(1000)));
  const std::string halfWritten = folder.write("half", "written");
  EXPECT_EXIT(
      {
        handleSignals();
        removeOnSignal(halfWritten);
        const NpyFile file(path, path);
        ::raise(SIGBUS);
      },
      testing::KilledBySignal(SIGBUS), "^$");
  EXPECT_FALSE(std::filesystem::exists(halfWritten));
}

// Whether the file can be read or not.
TEST(NpyFile, GivesBackWhatItHasOpen) {
  if (!hasProcFiles()) GTEST_SKIP() << kNoProcFiles;
  Cases cases(3);
  const TemporaryFolder folder;
  const struct {
    std::string bytes;
    bool isArray;
  } rows[] = {
      {npyOf<double>("<f8", {1, 2, 3}), true},
      {npyOf<double>("<f8", {1, 2, 3}) + "x", false},
      {"", false},
  };
  const std::size_t open = openDescriptors();
  for (const auto& r : rows) {
    const std::string path = folder.write("a.npy", r.bytes);
    bool isRead = false;
    try {
      const NpyFile file(path, path);
      isRead = true;
      EXPECT_EQ(openDescriptors(), open + 1);
      EXPECT_EQ(mappingsOf(path), 1);
    } catch (const Failure&) {
    }
    EXPECT_EQ(isRead, r.isArray) << r.bytes;
    EXPECT_EQ(openDescriptors(), open) << r.bytes;
    EXPECT_EQ(mappingsOf(path), 0) << r.bytes;
    ++cases;
  }
}

}  // namespace
}  // namespace plx
