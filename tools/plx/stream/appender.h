// Appends to a string by a pointer to its end, for many short texts: std::string's own way takes several times as long
// for a dozen bytes as copying them does.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace plx {

// While it lives, nobody else uses the string, in which bytes of no meaning are behind the end before finish().
class Appender {
 public:
  explicit Appender(std::string& out) : out_(out) { point(out.size()); }
  Appender(const Appender&) = delete;
  Appender& operator=(const Appender&) = delete;
  ~Appender() { finish(); }

  // Makes room for so many bytes.
  void reserve(std::size_t count) {
    if (room() < count) grow(count);
  }
  void append(std::string_view text) {
    if (room() < text.size()) grow(text.size());
    copy(to_, text.data(), text.size());
    to_ += text.size();
  }
  void append(char c) { append({&c, 1}); }
  void finish() { out_.resize(size()); }

 private:
  std::size_t size() const { return static_cast<std::size_t>(to_ - out_.data()); }
  std::size_t room() const { return static_cast<std::size_t>(end_ - to_); }
  void point(std::size_t size) {
    to_ = out_.data() + size;
    end_ = out_.data() + out_.size();
  }
  [[gnu::noinline]] void grow(std::size_t count) {
    const std::size_t begun = size();
    out_.resize(std::max(2 * begun, begun + count));
    point(begun);
  }

  // Fields are of up to 32 bytes, as a rule: two copies of a fixed size, which may overlap.
  static void copy(char* to, const char* from, std::size_t size) {
    const auto twice = [=]<std::size_t N>(std::array<char, N> first, std::array<char, N> last) {
      std::memcpy(first.data(), from, N);
      std::memcpy(last.data(), from + size - N, N);
      std::memcpy(to, first.data(), N);
      std::memcpy(to + size - N, last.data(), N);
    };
    if (size > 32) {
      std::memcpy(to, from, size);
    } else if (size >= 16) {
      twice(std::array<char, 16>(), {});
    } else if (size >= 8) {
      twice(std::array<char, 8>(), {});
    } else if (size >= 4) {
      twice(std::array<char, 4>(), {});
    } else if (size > 0) {
      to[0] = from[0];
      to[size / 2] = from[size / 2];
      to[size - 1] = from[size - 1];
    }
  }

  std::string& out_;
  char *to_ = nullptr, *end_ = nullptr;  // the end of what is appended, and of the string
};

}  // namespace plx
