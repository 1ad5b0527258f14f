// The header of an .npy file, in the versions 1, 2 and 3 of NumPy's format:
//
//   \x93NUMPY  major minor  length (16 bits in version 1, else 32, little-endian)
//   {'descr': '<c16', 'fortran_order': False, 'shape': (3, 4), }  spaces  \n
//
// Of Python's literals, just those that may stand there are read: keys in any order, either quote,
// any white space, commas at the end, the L of long integers that Python 2 wrote.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "elements/element_type.h"

namespace plx {

struct NpyHeader {
  int version = 1;
  ElementType type;
  bool fortranOrder = false;         // the first index varies fastest; else the last does
  std::vector<std::uint64_t> shape;  // empty: a single element
  std::uint64_t count = 1;           // of elements; below 2^63, as is their number of bytes
};

inline constexpr std::string_view kNpyMagic = "\x93NUMPY";

// Reads the header at the start of a whole file; the rest of `file` is data, and exactly as much as
// the shape says. `name` begins the messages. Throws a Failure of Status::badData.
struct NpyLayout {
  NpyHeader header;
  std::size_t dataStart;
};
NpyLayout readNpyHeader(std::string_view file, std::string_view name);

// The header as NumPy writes it, its end aligned to 64 bytes. Version 2 instead of 1 where the
// text has more than 65535 bytes.
std::string npyHeaderText(const NpyHeader& header);

}  // namespace plx
