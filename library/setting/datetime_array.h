// Datetimes in the caller's memory.
#pragma once

#include <cstddef>

#include "elements/element_type.h"
#include "setting/strided.h"

namespace plx {

struct DatetimeArray {
  ElementType type;
  bool isPair = false;  // high and low parts in arrays of their own
  Strided elements;     // of pairs, the high parts
  Strided low;          // of pairs, the low parts
  std::size_t count = 0;
};

}  // namespace plx
