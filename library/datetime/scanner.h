// Walks over a text. What does not fit is left standing.
#pragma once

#include <cstddef>
#include <string_view>

namespace plx {

inline bool isDigit(char c) { return '0' <= c && c <= '9'; }

class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool atEnd() const { return rest_.empty(); }
  // The character that stands here; 0 at the end, and for a byte of zero.
  char next() const { return rest_.empty() ? '\0' : rest_.front(); }
  bool skip(char c) {
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }
  // One of several characters; 0 where none of them stands here.
  char oneOf(std::string_view characters) {
    if (rest_.empty() || characters.find(rest_.front()) == std::string_view::npos) return 0;
    const char c = rest_.front();
    rest_.remove_prefix(1);
    return c;
  }
  bool oneDigit(int& number) {
    if (rest_.empty() || !isDigit(rest_[0])) return false;
    number = rest_[0] - '0';
    rest_.remove_prefix(1);
    return true;
  }
  bool twoDigits(int& number) {
    if (rest_.size() < 2 || !isDigit(rest_[0]) || !isDigit(rest_[1])) return false;
    number = (rest_[0] - '0') * 10 + (rest_[1] - '0');
    rest_.remove_prefix(2);
    return true;
  }
  std::string_view digits() {
    std::size_t n = 0;
    while (n < rest_.size() && isDigit(rest_[n])) ++n;
    return take(n);
  }
  // What stands before a character, which is skipped; all that is left where there is none.
  std::string_view until(char c, bool& found) {
    const std::size_t n = rest_.find(c);
    found = n != std::string_view::npos;
    const std::string_view before = take(found ? n : rest_.size());
    skip(c);
    return before;
  }
  std::string_view rest() const { return rest_; }

 private:
  std::string_view take(std::size_t n) {
    const std::string_view taken = rest_.substr(0, n);
    rest_.remove_prefix(n);
    return taken;
  }

  std::string_view rest_;
};

}  // namespace plx
