// Numbers in memory of any alignment and byte order.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace plx {

template <std::size_t size>
using UnsignedOf = std::conditional_t<
    size == 8, std::uint64_t,
    std::conditional_t<size == 4, std::uint32_t,
                       std::conditional_t<size == 2, std::uint16_t, std::uint8_t>>>;

inline std::uint64_t swapped(std::uint64_t x) { return __builtin_bswap64(x); }
inline std::uint32_t swapped(std::uint32_t x) { return __builtin_bswap32(x); }
inline std::uint16_t swapped(std::uint16_t x) { return __builtin_bswap16(x); }
inline std::uint8_t swapped(std::uint8_t x) { return x; }

// `isSwapped`: the bytes stand in the order that is not the machine's.
template <class T, bool isSwapped>
T load(const char* bytes) {
  UnsignedOf<sizeof(T)> bits;
  std::memcpy(&bits, bytes, sizeof bits);
  return std::bit_cast<T>(isSwapped ? swapped(bits) : bits);
}

template <bool isSwapped, class T>
void store(char* bytes, T x) {
  auto bits = std::bit_cast<UnsignedOf<sizeof(T)>>(x);
  if (isSwapped) bits = swapped(bits);
  std::memcpy(bytes, &bits, sizeof bits);
}

}  // namespace plx
