// Eight bytes of a text at once, as an integer of which the first byte is the lowest, on every machine.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace plx {

inline constexpr std::size_t kEight = 8;
inline constexpr std::uint64_t kEachByte =
    0x0101010101010101;  // times a byte: that byte eight times

inline std::uint64_t eightBytesAt(const char* text) {
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, text, kEight);
  if constexpr (std::endian::native == std::endian::big) bytes = __builtin_bswap64(bytes);
  return bytes;
}

// Bits in the bytes that are zero. The first byte with a bit is zero; behind it, a byte of one may have a bit, too.
constexpr std::uint64_t zeroBytes(std::uint64_t bytes) {
  return (bytes - kEachByte) & ~bytes & 0x80 * kEachByte;
}

// Of the first byte that has a bit.
constexpr std::size_t firstByte(std::uint64_t bits) {
  return static_cast<std::size_t>(std::countr_zero(bits)) / 8;
}

}  // namespace plx
