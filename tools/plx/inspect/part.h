// The components by name, for code that treats each in its own way.
#pragma once

#include "module/components.h"

namespace plx {

// The values are the module's selectors.
enum class Part : int {
  year = 3,
  quarter = 6,
  month = 7,
  weekOfYear = 9,
  day = 11,
  dayOfYear = 13,
  dayOfWeek = 14,
  hour = 18,
  minute = 19,
  second = 20,
  timeOfDay = 21,
};

inline constexpr std::array<Part, 11> kParts = {
    Part::year,      Part::quarter, Part::month,  Part::weekOfYear, Part::day,      Part::dayOfYear,
    Part::dayOfWeek, Part::hour,    Part::minute, Part::second,     Part::timeOfDay};

static_assert(
    [] {
      for (std::size_t i = 0; i < kParts.size(); ++i) {
        if (static_cast<int>(kParts[i]) != kComponents[i].selector) return false;
      }
      return true;
    }(),
    "each component has its name");

inline Part partOf(const Component& component) { return static_cast<Part>(component.selector); }

}  // namespace plx
