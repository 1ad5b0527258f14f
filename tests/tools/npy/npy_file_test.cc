#include "npy/npy_file.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "messages/message.h"
#include "support/cases.h"
#include "support/proc_files.h"
#include "tools/support/npy_bytes.h"
#include "tools/support/temporary_folder.h"

namespace plx {
namespace {

// How often a file is mapped into this process.
int mappingsOf(const std::string& path) {
  int count = 0;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) count += line.ends_with(path);
  return count;
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
