// How long the long tests are. By default a tenth of their whole length, so that a change is tested within
// minutes; PLX_WHOLE_TESTS in the environment (scripts/test --nightly sets it) asks for all of it.
#pragma once

#include <cstdint>
#include <cstdlib>

inline bool testsAreWhole() {
  static const bool isSet = std::getenv("PLX_WHOLE_TESTS") != nullptr;
  return isSet;
}

// As many of so many cases as are visited now.
inline std::int64_t ofWhole(std::int64_t whole) { return testsAreWhole() ? whole : whole / 10; }
