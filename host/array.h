// The body of an array, which only the host knows.
//
// The blocks of small arrays stand in the body: a call has a handful of them, and taking memory for each of their
// blocks would cost more than setting a datetime. Under the sanitizers each block has memory of its own, so that
// they see what is read or written beside it.
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

// Room for small blocks in the body of an array: the extents of two dimensions, and two blocks of data.
class SmallBlocks {
 public:
  static constexpr std::size_t kDimensions = kKeepsBlocks ? 2 : 0;
  static constexpr std::size_t kBytes = kBlockAlignment;  // of each block of data

  std::size_t* dimensions() { return dimensions_; }
  // Aligned as all data are. The body itself is not: the C library has unaligned memory at hand.
  void* first() {
    const auto address = reinterpret_cast<std::uintptr_t>(room_);
    return room_ + (kBlockAlignment - address % kBlockAlignment) % kBlockAlignment;
  }
  void* second() { return static_cast<std::byte*>(first()) + kBlockAlignment; }

 private:
  std::size_t dimensions_[2];
  std::byte room_[kKeepsBlocks ? 3 * kBlockAlignment - 1 : 1];
};

}  // namespace host

struct paArray {
  paClassID classId = paDOUBLE_CLASS;
  bool sparse = false;
  bool complex = false;
  std::size_t dimensionCount = 0;  // at least 2
  std::size_t elementCount = 0;
  host::Block<std::size_t> dimensions;
  host::Block<double> real;          // null for char and sparse arrays
  host::Block<double> imaginary;     // null for real ones too
  host::Block<std::uint16_t> units;  // null for numeric arrays
  host::SmallBlocks small;
};
