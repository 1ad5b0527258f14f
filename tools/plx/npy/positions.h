// Where the elements of an array stand.
//
//   position  of an element in its file, from 0
//   index     a number for each dimension, from 0
//   flat      position of the same index if the last dimension varied fastest, as NumPy counts
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "npy/header.h"

namespace plx {

// "(3, 4)", "(3,)", "()".
std::string shapeText(const std::vector<std::uint64_t>& shape);

// "times.npy: element 7" or "times.npy: element 7 (1, 3)": flat, and the index where there are
// several dimensions.
std::string elementText(std::string_view name, const NpyHeader& header, std::uint64_t position);

// Whether the elements of two arrays of one shape stand in the same order.
bool isSameOrder(const NpyHeader& a, const NpyHeader& b);

// Goes through an array, and tells where each element would stand in the other order.
class TransposedPositions {
 public:
  // At the first element. The shape has no lengths of 0.
  TransposedPositions(const std::vector<std::uint64_t>& shape, bool fortranOrder);

  std::uint64_t other() const { return other_; }
  // To the next element in the order of the array; from the last one to the first.
  void advance();

 private:
  struct Dimension {
    std::uint64_t length;
    std::uint64_t stride;  // in the other order
    std::uint64_t index;
  };
  std::vector<Dimension> dimensions_;  // the one that varies fastest first
  std::uint64_t other_ = 0;
};

}  // namespace plx
