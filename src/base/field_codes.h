// Components as callers name them: by the codes of ICU's calendar fields, and one of our own.
#pragma once

#include <unicode/ucal.h>

#include "base/component.h"

// Our code for the quarter of the year. ICU to 72 has no field of this number and would write
// outside its table; from 73 on it is a field of its own. It never reaches ICU.
inline constexpr auto kQuarterField = static_cast<UCalendarDateFields>(23);

constexpr UCalendarDateFields fieldOf(Component component) {
  return static_cast<UCalendarDateFields>(factsOf(component).field);
}

// The component of a field; `none` for a field that cannot be set.
constexpr Component componentOf(UCalendarDateFields field) {
  for (const ComponentFacts& facts : kComponentFacts) {
    if (facts.field == static_cast<int>(field)) return facts.component;
  }
  return Component::none;
}

// The numbers are part of the module's interface to its host, whatever ICU is built against.
static_assert(fieldOf(Component::year) == UCAL_EXTENDED_YEAR &&
              fieldOf(Component::quarter) == kQuarterField &&
              fieldOf(Component::month) == UCAL_MONTH &&
              fieldOf(Component::weekOfYear) == UCAL_WEEK_OF_YEAR &&
              fieldOf(Component::dayOfMonth) == UCAL_DATE &&
              fieldOf(Component::dayOfYear) == UCAL_DAY_OF_YEAR &&
              fieldOf(Component::dayOfWeek) == UCAL_DAY_OF_WEEK &&
              fieldOf(Component::hour) == UCAL_HOUR_OF_DAY &&
              fieldOf(Component::minute) == UCAL_MINUTE &&
              fieldOf(Component::second) == UCAL_SECOND &&
              fieldOf(Component::timeOfDay) == UCAL_MILLISECONDS_IN_DAY);
