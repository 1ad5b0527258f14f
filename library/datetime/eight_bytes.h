// Eight bytes of a text at once, as an integer of which the first byte is the lowest, on every machine.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace plx {

inline constexpr std::size_t kEight = 8;

inline std::uint64_t eightBytesAt(const char* text) {
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, text, kEight);
  if constexpr (std::endian::native == std::endian::big) bytes = __builtin_bswap64(bytes);
  return bytes;
}

// Of the first byte that has a bit.
constexpr std::size_t firstByte(std::uint64_t bits) {
  return static_cast<std::size_t>(std::countr_zero(bits)) / 8;
}

}  // namespace plx
