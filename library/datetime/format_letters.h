// What a format consists of: the letters that it knows, compiled into parts.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace plx {

enum class Letter : std::uint8_t {
  literal,  // text that stands for itself
  year,
  yearOfCentury,
  month,
  monthAbbreviation,
  monthName,
  day,
  dayOfYear,
  weekYear,
  week,
  weekday,            // Monday 1 to Sunday 7
  weekdayFromSunday,  // Sunday 0 to Saturday 6
  weekdayAbbreviation,
  weekdayName,
  hour,
  hourOfTwelve,
  half,  // AM or PM
  minute,
  second,
  fraction,
  offset,
  offsetWithColon,
  zone,
  count,
};

// A set of letters.
using Letters = std::uint32_t;
template <class... L>
constexpr Letters lettersOf(L... letters) {
  return (0U | ... | (1U << static_cast<unsigned>(letters)));
}

// What stands before a number of fewer digits than its width.
enum class Padding : std::uint8_t { zeros, blanks, none };

struct FormatPart {
  Letter letter = Letter::literal;
  Padding padding = Padding::zeros;
  bool touches = false;               // a digit follows, so that a number has all its digits
  bool smallLetters = false;          // of %P
  bool ofCount = false;               // %s and %f of %s.%f
  std::uint8_t shift = 0;             // where its style stands in FormatSpelling::styles
  std::uint16_t begin = 0, size = 0;  // of a literal
};

// How a number, a name or an offset came in. `open` is one that does not tell, as 12 and Z, or was not
// read at all: then it is written as the letter has it.
struct NumberStyle {
  enum : unsigned { open, zeros, blanks, none };
};
struct NameStyle {
  enum : unsigned { open, upper, lower };
};
struct OffsetStyle {
  enum : unsigned { open, z, smallZ, hours, basic, extended, basicSeconds, extendedSeconds };
};
struct ZoneStyle {
  enum : unsigned { open, utc, gmt, ut, z };
};

// In the order of ZoneStyle, from utc on.
inline constexpr std::array<std::string_view, 4> kNamesOfUTC = {"UTC", "GMT", "UT", "Z"};

}  // namespace plx
