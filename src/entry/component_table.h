// From component selectors, the numbers 1 to 23 that callers pass, to field codes.
#pragma once

#include <array>
#include <cstdint>

#include "base/field_codes.h"

inline constexpr int kSelectors = 23;

// The field code of selector s stands at index s - 1. Most of the fields cannot be set.
extern const std::array<std::uint8_t, kSelectors> componentFields;

// Bit c is set where the setters accept field code c.
inline constexpr std::uint32_t settableFieldMask = [] {
  std::uint32_t mask = 0;
  for (const ComponentFacts& facts : kComponentFacts) mask |= std::uint32_t{1} << facts.field;
  return mask;
}();

constexpr bool isSettable(unsigned code) {
  return code <= 23 && ((settableFieldMask >> code) & 1) != 0;
}
