// Reading a component of every datetime, and writing datetimes as another type.
#pragma once

#include <optional>
#include <string>

#include "base/component.h"
#include "datetime/zone.h"
#include "elements/element_type.h"
#include "plx/plx.h"
#include "setting/blocks.h"
#include "setting/datetime_array.h"

namespace plx {

struct GetJob {
  DatetimeArray datetimes;
  Component component = Component::none;
  Strided numbers;  // float64
  bool isSwapped = false;
  plxOptions options{};
  Strided where;
  std::string zone;
};
// `notes` is set to what is worth telling, bits for plxOptions::notes.
std::optional<Stop> run(const GetJob& job, unsigned& notes);

// The value of a component, rounded to the nearest double. The pair is finite and, in a calendar, within its
// range.
double componentValue(Component component, const doubledouble& pair, const Zone& zone);

struct ConvertJob {
  DatetimeArray datetimes, results;
  plxOptions options{};
  Strided where;
};
std::optional<Stop> run(const ConvertJob& job);

}  // namespace plx
