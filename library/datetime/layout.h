// Texts of which every part has its place: 2014-05-10T08:30:15, or 10/Oct/2000:13:55:36 -0700 in the format
// %d/%b/%Y:%H:%M:%S %z. Nearly all texts of a column or a log are such, and reading and writing them by their places
// takes a fifth of the time that the readers and writers of all spellings take.
//
// Those stay the meaning. What a layout reads, they read as the same; what it writes, they write; and whatever is
// spelled in another way, or is out of range, is left to them: 5/Oct/2000, OCT, 24:00, second 60, a year of five digits.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datetime/datetime_text.h"
#include "datetime/format_letters.h"

namespace plx {

class Layout {
 public:
  // Of nothing: knows no text.
  Layout() = default;
  // Of a format: of all its parts, or of those that stand before the first one without a place of its own.
  Layout(const std::vector<FormatPart>& parts, std::string_view literals, std::optional<int> year);
  // Of a calendar date of ISO 8601 with a time to the second, and with Z, with +hh:mm or without; and of a date alone.
  static const Layout& ofIsoDatetimes();
  static const Layout& ofIsoDates();

  // What the format's reader makes of what stands at the front of a text.
  enum class Reads : std::uint8_t { no, yes, unknown };
  struct Front {
    Reads reads;
    std::size_t size = 0;  // in bytes, of what is read
  };
  // Where it is not read, `time` may be changed, too.
  Front readFront(std::string_view text, PlainTime& time) const;
  // The whole of a text. False where it is not known whether that can be read.
  bool read(std::string_view text, PlainTime& time) const {
    const Front front = readFront(text, time);
    return front.reads == Reads::yes && front.size == text.size();
  }

  // Writes a time, of whatever year, as `text` is spelled, which was read, and returns its size; 0 where that takes
  // more than digits, names and an offset in their places.
  static constexpr std::size_t kMostWritten = 40;
  std::size_t write(char* to, std::string_view text, const PlainTime& time) const;

  // Whether texts can be read and written by it, not only refused.
  bool isWhole() const { return isWhole_; }
  bool hasClock() const { return places_.hour != kNowhere; }
  // Whether this one's format reads no text that `other`, a whole one, reads as a whole.
  bool refusesAllOf(const Layout& other) const;
  // Whether all its texts have a certain character at a place.
  bool hasLiteral(std::size_t place, char c) const {
    return place < size_ && kinds_[place] == Kind::literal && literals_[place] == c;
  }

 private:
  static constexpr std::size_t kMost = 32;  // and an offset
  static constexpr std::uint8_t kNowhere = 0xFF;

  // A number may have fewer digits than places, but a year; what then stands there is read in another way.
  enum class Kind : std::uint8_t { literal, digit, digitOfYear, letter, separator };
  enum class Offset : std::uint8_t { none, ofFormat, ofIso };
  // What eight bytes of a text have to be, the first one lowest. XOR with what is expected makes a literal 0 and a
  // digit its value; the sum reaches the uppermost bit of each byte that is more than 9, and the mask leaves what is
  // wrong. A sum that carries into the next byte does so from a wrong one.
  struct Word {
    std::size_t at;
    std::uint64_t expected, sum, mask;
  };
  // Where the parts stand.
  struct Places {
    std::uint8_t year = kNowhere, yearOfCentury = kNowhere, month = kNowhere, monthName = kNowhere,
                 day = kNowhere, weekday = kNowhere, hour = kNowhere, minute = kNowhere,
                 second = kNowhere, separator = kNowhere;
  };
  bool add(const FormatPart& part, std::string_view literals);
  void addAll(std::string_view text);
  bool put(Kind kind, std::size_t count);
  bool putNumber(const FormatPart& part, std::uint8_t& place, std::size_t digits);
  bool putName(std::uint8_t& place);
  bool isDigitAt(std::size_t place) const {
    return kinds_[place] == Kind::digit || kinds_[place] == Kind::digitOfYear;
  }
  void makeWords();
  template <class P>
  bool readFields(const P& places, const char* text, PlainTime& time) const;
  Front readOffset(std::string_view text, PlainTime& time) const;
  template <class P>
  bool writeFields(const P& places, char* to, int day, int clock) const;
  char* writeOffset(char* to, std::string_view text, const PlainTime& time) const;

  std::array<char, kMost> literals_{};
  std::array<Kind, kMost> kinds_{};
  std::array<Word, kMost / 8> words_{};
  std::size_t size_ = 0, wordCount_ = 0;
  bool isWhole_ = false;
  Offset offset_ = Offset::none;
  bool blankDay_ = false;  // a day of one digit has a blank before it
  int ofAll_ = 0;          // the year, where the texts have none
  Places places_;
  bool isIsoDatetime_ = false;  // whose places are known to the compiler
};

}  // namespace plx
