// What the system tells of a process in files.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <iterator>

// Whether it does: a bare root without /proc has none of it. Tests that read it begin with
//
//   if (!hasProcFiles()) GTEST_SKIP() << kNoProcFiles;
inline bool hasProcFiles() { return ::access("/proc/self/fd", R_OK) == 0; }

inline constexpr const char* kNoProcFiles = "nothing is told of processes here (/proc)";

// How many descriptors this process has open.
inline std::size_t openDescriptors() {
  return static_cast<std::size_t>(std::distance(
      std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
}
