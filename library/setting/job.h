// What one call of the library is to do, its arguments read and found right.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/component.h"
#include "datetime/zone.h"
#include "elements/element_type.h"
#include "module/module.h"
#include "plx/plx.h"
#include "setting/strided.h"
#include "setting/wrong.h"

namespace plx {

// Datetimes of the caller's.
struct DatetimeArray {
  ElementType type;
  bool isPair = false;  // high and low parts in arrays of their own
  Strided elements;     // of pairs the high parts
  Strided low;          // of pairs
  std::size_t count = 0;
};

// New values for one component.
struct NewValues {
  Component component = Component::none;
  ElementType type;
  Strided elements;
  std::optional<double> forAll;  // one for all datetimes
  bool areLast = false;          // the last value that the component has at each
};

struct SetJob {
  explicit SetJob(const Module& datetimeModule) : module(datetimeModule) {}

  const Module& module;
  DatetimeArray datetimes, results;
  std::vector<NewValues> steps;
  plxOptions options{};  // none of later versions
  Strided findings, where;
  std::string zoneText;    // as the module reads it
  bool isLocal = false;    // the text is that of the system's clock
  bool needsZone = false;  // what the clock of the zone shows has to be known
  bool countsLeapSeconds = false;
  bool hasZone = false;    // one with a calendar
  bool keepsParts = true;  // no step replaces what is below a millisecond
};

// The first element that is wrong, in the order of elements.
struct Stop {
  Wrong wrong;
  std::size_t index = PLX_NO_INDEX;  // nothing about an element
  std::size_t done = 0;              // with PLX_NO_INDEX: so many are set
  std::size_t step = 0;
};

// Sets all elements; nothing, or where it stopped. Elements before that one are set. In `notes` come bits
// of what is worth telling.
std::optional<Stop> run(const SetJob& job, unsigned& notes);

}  // namespace plx
