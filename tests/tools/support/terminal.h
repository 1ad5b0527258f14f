// Terminals of a test's own.
#pragma once

#include <pty.h>
#include <unistd.h>

// Whether the system gives out pseudo-terminals: a bare root without /dev/pts has none. Tests that
// want one begin with
//
//   if (!hasPseudoTerminals()) GTEST_SKIP() << kNoPseudoTerminals;
inline bool hasPseudoTerminals() {
  int terminal = -1, own = -1;
  if (::openpty(&terminal, &own, nullptr, nullptr, nullptr) != 0) return false;
  for (const int end : {terminal, own}) ::close(end);
  return true;
}

inline constexpr const char* kNoPseudoTerminals = "there are no pseudo-terminals here (/dev/pts)";
