// Decimal digits.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace plx {

template <class Int>
constexpr Int powerOf10(std::size_t exponent) {
  Int power = 1;
  for (; exponent > 0; --exponent) power *= 10;
  return power;
}

// Appends digits with zeros before them, `width` in all.
inline void appendPadded(std::string& out, std::string_view digits, std::size_t width) {
  out.append(width - digits.size(), '0').append(digits);
}

}  // namespace plx
