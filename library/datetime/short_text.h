// A short text that is being written: appended to a string in one piece, which costs less than
// character after character.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <string>

namespace plx {

class ShortText {
 public:
  ShortText() = default;
  ShortText(const ShortText&) = delete;  // it points into itself
  ShortText& operator=(const ShortText&) = delete;

  void clear() { end_ = text_; }
  void put(char c) { *end_++ = c; }
  void twoDigits(int number) {  // 0..99
    static constexpr char kPairs[] =
        "000102030405060708091011121314151617181920212223242526272829303132333435363738394041424344"
        "45"
        "464748495051525354555657585960616263646566676869707172737475767778798081828384858687888990"
        "91"
        "9293949596979899";
    std::memcpy(end_, kPairs + 2 * number, 2);
    end_ += 2;
  }
  void number(std::int64_t number) { end_ = std::to_chars(end_, text_ + sizeof text_, number).ptr; }

  void appendTo(std::string& out) const {
    out.append(text_, static_cast<std::size_t>(end_ - text_));
  }

 private:
  char text_[96];  // a year of fourteen digits, a date, a clock and an offset take less than 50
  char* end_ = text_;
};

}  // namespace plx
