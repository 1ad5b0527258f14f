// Values that people write as words: `last`, and the names of weekdays, months and quarters.
//
//   day-of-week   sun..sat, sunday..saturday      1..7
//   month         jan..dec, january..december     1..12
//   quarter       q1..q4                          1..4
//   last          the greatest value that the component has within the unit around it, at the
//                 datetime in question: 28 for the day of a date in February 2014. Not for year,
//                 second and time of day, which have none.
//
// In any letter case.
#pragma once

#include <optional>
#include <string_view>

#include "arith/doubledouble.h"
#include "base/component.h"
#include "datetime/zone.h"

namespace plx {

struct NamedValue {
  bool isLast;    // depends on the datetime
  double number;  // the value, where it does not
};

// Nothing for a text that is no name for a value of this component.
std::optional<NamedValue> named(Component component, std::string_view text);

// What `last` is of a component of the date on a day; 0 where it has none.
double lastOf(Component component, double day, const Zone& zone);

// The number to set at a datetime. The pair is finite and, in a calendar, within its range.
double resolve(const NamedValue& value, Component component, const doubledouble& pair,
               const Zone& zone);

}  // namespace plx
