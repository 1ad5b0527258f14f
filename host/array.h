// The body of an array, which only the host knows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "block_pool.h"
#include "host/pa_array.h"

namespace host {

struct GiveBack {
  std::size_t bytes = 0;
  bool isBorrowed = false;  // somebody else's
  void operator()(void* block) const {
    if (!isBorrowed) giveBackBlock({block, bytes});
  }
};
template <class T>
using Block = std::unique_ptr<T[], GiveBack>;

}  // namespace host

struct paArray {
  paClassID classId;
  bool sparse;
  bool complex;
  std::size_t dimensionCount;  // at least 2
  std::size_t elementCount;
  host::Block<std::size_t> dimensions;
  host::Block<double> real;          // null for char and sparse arrays
  host::Block<double> imaginary;     // null for real ones too
  host::Block<std::uint16_t> units;  // null for numeric arrays
};
