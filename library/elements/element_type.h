// The element types of NumPy arrays that are read here, as their type strings name them.
//
//   c16           complex128: the high part of a datetime, and its low part
//   f8, f4        float64, float32
//   M8[25s]       datetime64: a count of a multiple of a unit
//   i1..i8 u1..u8 integers
//
// A type string begins with the byte order: < little-endian, > big-endian; = | and nothing mean the
// one of the machine.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "messages/message.h"

namespace plx {

// The units of datetime64, in NumPy's order.
enum class TimeUnit { Y, M, W, D, h, m, s, ms, us, ns, ps, fs, as };

struct ElementType {
  enum class Kind { complexFloat, floatingPoint, datetime64, signedInteger, unsignedInteger };

  Kind kind = Kind::complexFloat;
  std::size_t bytes = 16;
  std::endian order = std::endian::native;
  TimeUnit unit = TimeUnit::ms;  // of datetime64, as is the multiple
  std::int32_t multiple = 1;     // from 1

  // Whether bytes have to change places before the machine can compute with them.
  bool isSwapped() const { return bytes > 1 && order != std::endian::native; }
  friend bool operator==(const ElementType&, const ElementType&) = default;
};

// Nothing, and a complaint, for any other type.
std::optional<ElementType> readElementType(std::string_view text, Complaint& complaint);

// The type string that NumPy writes: "<M8[25s]".
std::string typeString(const ElementType& type);

// For messages: "complex128", "datetime64[25s]".
std::string typeName(const ElementType& type);

}  // namespace plx
