// How long the long tests are. By default a tenth of their whole length, so that a change is tested within
// minutes; PLX_WHOLE_TESTS in the environment (scripts/test --nightly sets it) asks for all of it. Under the sanitizers,
// where everything takes several times as long and what is asked is whether memory is used as it may be, PLX_SHORT_TESTS
// (the preset sets it) asks for an eighth of that.
#pragma once

#include <cstdint>
#include <cstdlib>

inline constexpr std::int64_t kShortPart = 8;

inline bool testsAreWhole() {
  static const bool isSet = std::getenv("PLX_WHOLE_TESTS") != nullptr;
  return isSet;
}

inline bool testsAreShort() {
  static const bool isSet = !testsAreWhole() && std::getenv("PLX_SHORT_TESTS") != nullptr;
  return isSet;
}

// As many of so many cases as are visited now.
inline std::int64_t ofWhole(std::int64_t whole) {
  return testsAreWhole() ? whole : whole / (testsAreShort() ? 10 * kShortPart : 10);
}

// Of what every run visits whole, but for short ones, which visit an eighth.
inline std::int64_t ofUsual(std::int64_t usual) {
  return testsAreShort() ? usual / kShortPart : usual;
}

// Whether such a run visits the case of this number: short ones take every eighth.
inline bool isVisited(std::int64_t number) { return !testsAreShort() || number % kShortPart == 0; }
