// Ends a process that a test has forked off.
#pragma once

#include <sys/resource.h>
#include <unistd.h>

// Writes what the process reached, where that is counted (scripts/coverage).
extern "C" __attribute__((weak)) int
__llvm_profile_write_file();  // NOLINT(bugprone-reserved-identifier): clang's

// Without the destructors of what is the test's, which ends them itself. A process whose files are limited tells nothing
// of what it reached, as half of that could not be read.
[[noreturn]] inline void endProcess(int status) {
  struct rlimit files = {};
  ::getrlimit(RLIMIT_FSIZE, &files);
  if (__llvm_profile_write_file != nullptr && files.rlim_cur == RLIM_INFINITY)
    __llvm_profile_write_file();
  ::_exit(status);
}
