// What one call of the library is to do, its arguments read and found right.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/component.h"
#include "datetime/zone.h"
#include "module/module.h"
#include "plx/plx.h"
#include "setting/blocks.h"
#include "setting/datetime_array.h"
#include "setting/strided.h"

namespace plx {

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
  bool hasZone = false;  // one with a calendar
  // The zone, for one thread, where the caller has it; else each thread makes its own.
  const Zone* zone = nullptr;
  // The position of the element that the results begin with.
  std::size_t firstResult = 0;
  bool keepsParts = true;  // no step replaces what is below a millisecond
};

// Sets all elements; nothing, or where it stopped. Elements before that one are set. In `notes` come bits
// of what is worth telling.
std::optional<Stop> run(const SetJob& job, unsigned& notes);

}  // namespace plx
