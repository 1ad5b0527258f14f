// Formats of datetimes, told by the letters of strptime and strftime and compiled once.
//
//   %Y        the year, in four digits        %y  its last two: 69 to 99 of 1900, 00 to 68 of 2000
//   %m        the month                       %b %h %B  its English name, in three letters or in full
//   %d %e     the day of the month            %j  the day of the year, in three digits
//   %G %V %u  year and week of ISO 8601, and the day of a week, Monday 1        %w  the same, Sunday 0
//   %a %A     the weekday's English name, in three letters or in full
//   %H %k     the hour                        %I %l  the hour of twelve, beside %p or %P: AM or PM
//   %M %S     minute and second               %f  the digits of the second's fraction, however many
//   %z %:z    the offset from UTC: Z, +hh, +hhmm or +hh:mm, with seconds too
//   %Z        UTC, GMT, or a time zone's identifier
//   %s        seconds since 1970, alone, or before .%f or an offset
//   %F %T %R %D %r  stand for %Y-%m-%d, %H:%M:%S, %H:%M, %m/%d/%y and %I:%M:%S %p
//   %n %t %%  a line feed, a tab and a percent sign; any other character stands for itself
//
// Numbers are read with zeros or a blank before them, or without; where another digit follows, with
// all their digits. They are written as they came in, a one-digit number without zeros for instance,
// and where the text does not tell (12) with zeros; with blanks for %e, %k, %l and behind an
// underscore (%_d), with nothing behind a dash (%-d). Names are read in any letter case, and keep
// it. What a format has beyond the date has to agree with it: a weekday, a second year.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datetime/datetime_text.h"
#include "datetime/exact.h"
#include "datetime/format_letters.h"
#include "datetime/layout.h"
#include "messages/message.h"

namespace plx {

// How a text spells what its format leaves open: four bits for each part.
struct FormatSpelling {
  std::uint64_t styles = 0;
  bool bareDate = false;       // a day or month of one digit has nothing before it
  bool unknownOffset = false;  // -00:00
};

// What a text says in a format. It points into the text.
struct FormatReading {
  // Of Form::calendar. Of %s it has fraction and offset alone.
  DatetimeText datetime;
  std::string_view count;  // of %s: the number, with its fraction
  FormatSpelling spelling;
};

// What is to be written: a second, what the clock shows then, and the zone's name.
struct FormatTime {
  const DecimalSeconds& decimal;
  const WallTime& wall;
  std::string_view zone;           // empty where it has none
  std::size_t fractionDigits = 6;  // at least so many, and never none, for %f
};

class Format {
 public:
  // For datetimes that are read and written again: it has to tell a date. `year` is the one of all
  // datetimes, in a format that has none. Nothing, and a complaint, for a text that is no such format.
  static std::optional<Format> forReading(std::string_view text, std::optional<int> year,
                                          Complaint& complaint);
  // For writing alone.
  static std::optional<Format> forWriting(std::string_view text, Complaint& complaint);

  // Reads a text. False where it is none in this format, dates that do not exist among them. Whether
  // the second 60 was inserted, and what zone and offset say, is not decided here.
  bool read(std::string_view text, FormatReading& reading) const {
    return !text.empty() && readFront(text, reading) == text.size();
  }
  // Reads what stands at the front of a text. How many bytes those are; 0 where there is none.
  std::size_t readFront(std::string_view text, FormatReading& reading) const;
  // What is wrong with a text that `read` refuses.
  Complaint complaintOf(std::string_view text) const;
  // Whether a datetime may have a byte at one of its first places; of most, that tells at once that they are none.
  static constexpr std::size_t kFronts = 5;
  bool mayHave(std::size_t place, char byte) const {
    return fronts_[place][static_cast<unsigned char>(byte)];
  }

  // Where the parts stand in most texts.
  const Layout& layout() const { return layout_; }

  // Appends a time as a text was spelled that was read in this format; null, as the letters have it.
  // False, and a complaint, for what the format cannot say; of a spelling also where something would
  // be lost, such as the hour in a format of dates. `out` is then as it was.
  bool write(std::string& out, const FormatTime& time, const FormatSpelling* spelling,
             Complaint& complaint) const;

  const std::string& text() const { return text_; }        // as it was given
  const std::string& example() const { return example_; }  // a datetime in this format
  // Whether it has %z, %:z or %Z.
  bool hasOffset() const {
    return hasAny(lettersOf(Letter::offset, Letter::offsetWithColon, Letter::zone));
  }
  bool isCount() const { return date_ == Date::count; }

 private:
  // By what the date is told.
  enum class Date : std::uint8_t { none, monthAndDay, dayOfYear, week, count };
  class Compiler;
  class Reader;
  class Writer;

  void findFronts(std::size_t part, std::size_t place);
  void allow(std::size_t place, std::string_view bytes);
  void makeExample();
  bool hasAny(Letters letters) const { return (letters_ & letters) != 0; }
  bool has(Letter letter) const { return hasAny(lettersOf(letter)); }

  std::string text_, example_, literals_;
  std::vector<FormatPart> parts_;
  Letters letters_ = 0;
  Date date_ = Date::none;
  bool isRedundant_ = false;   // some parts follow from others
  std::optional<int> year_;    // of all
  std::size_t mostBytes_ = 0;  // of what is written, without fraction and zone
  std::array<std::array<bool, 256>, kFronts> fronts_{};
  Layout layout_;
};

}  // namespace plx
