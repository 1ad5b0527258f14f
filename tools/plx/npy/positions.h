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

}  // namespace plx
