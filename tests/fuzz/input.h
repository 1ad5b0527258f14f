// Values taken off the bytes that a fuzzer is given. Where the bytes end, zeros follow.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/random.h"

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  std::size_t left() const { return size_; }

  std::uint8_t byte() { return bits<std::uint8_t>(); }

  bool oneIn(unsigned n) { return byte() % n == n - 1; }  // not where the bytes end

  // In [0, end), where end is at most 65536.
  std::size_t below(std::size_t end) { return (end <= 256 ? byte() : bits<std::uint16_t>()) % end; }

  template <class T>
  T bits() {
    T value{};
    const std::size_t count = size_ < sizeof value ? size_ : sizeof value;
    if (count > 0) std::memcpy(&value, data_, count);
    data_ += count;
    size_ -= count;
    return value;
  }

  // All bits there are, and more often such numbers as datetimes and values are.
  double number() {
    switch (byte() % 8) {
      case 0:
        return static_cast<double>(bits<std::int8_t>());
      case 1:
        return static_cast<double>(bits<std::int32_t>());
      case 2:
        return millis();
      case 3:
        return millis() + bits<std::int8_t>() / 64.0;
      case 4:
        return kAwkwardDoubles[below(kAwkwardDoubles.size())];
      case 5:
        return bits<std::int16_t>() * 86400000.0 + bits<std::int8_t>();
      case 6:
        return bits<std::int8_t>() + bits<std::uint16_t>() / 65536.0;
      default:
        return bits<double>();
    }
  }

  // Some 9000 years around 1970.
  double millis() {
    const double high = static_cast<double>(bits<std::int16_t>());
    return high * 0x1p32 + static_cast<double>(bits<std::uint32_t>());
  }

  // What is left, as characters.
  std::string rest() {
    std::string text(reinterpret_cast<const char*>(data_), size_);
    data_ += size_;
    size_ = 0;
    return text;
  }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

// Ends the program with a message where a condition does not hold: that is how a fuzzer answers.
inline void require(bool holds, const char* what, const std::string& detail = "") {
  if (holds) return;
  std::fprintf(stderr, "NOT SO: %s %s\n", what, detail.c_str());
  std::abort();
}
