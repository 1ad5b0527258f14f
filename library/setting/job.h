// What one call of the library is to do, its arguments read and checked.
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
  bool areLast = false;          // for each datetime the last value that the component has there
};

struct SetJob {
  explicit SetJob(const Module& datetimeModule) : module(datetimeModule) {}

  const Module& module;
  DatetimeArray datetimes, results;
  std::vector<NewValues> settings;  // in their order
  plxOptions options{};             // none of later versions
  Strided findings, where;
  std::string zoneText;    // as the module reads it
  bool isLocal = false;    // the zone is the system's
  bool needsZone = false;  // the wall times of the zone have to be known
  bool countsLeapSeconds = false;
  bool hasZone = false;  // one with a calendar
  // The caller's zone, for one thread only; where it is null, each thread makes its own.
  const Zone* zone = nullptr;
  // The position of the element that the results begin with.
  std::size_t firstResult = 0;
  bool keepsParts = true;  // no setting replaces what is below a millisecond
};

// Sets all elements. Nothing, or where it stopped: the elements before are set. `notes` is set to what is
// worth telling, bits for plxOptions::notes.
std::optional<Stop> run(const SetJob& job, unsigned& notes);

}  // namespace plx
