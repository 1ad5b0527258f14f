// Dates and datetimes as people write them: reading their fields, and writing them again in the
// form they came in.
//
//   date [ (T|t|one space) hh [ :mm [ :ss [ (.|,)digits ] ] ] [ Z|z | (+|-)hh[[:]mm[:ss]] ] ]
//   date T|t hh [ mm [ ss [ (.|,)digits ] ] ] [ Z|z | (+|-)hh[mm[ss]] ]     in the basic format
//
// The date is one of date_text.h; behind a calendar date with a time may stand what suffix.h reads.
// 24:00 is the midnight that ends the day. An offset of -00:00 is that of UTC where nobody knows
// the local one, as RFC 3339 has it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "datetime/exact.h"
#include "datetime/notation.h"
#include "datetime/suffix.h"
#include "messages/message.h"

namespace plx {

enum class OffsetForm { none, z, numeric, unknown };

// What a text says, its fraction still being part of the text.
struct DatetimeText {
  std::int64_t day = 0;         // days since 1970-01-01
  int secondOfDay = 0;          // 0..86399
  bool insertedSecond = false;  // written as second 60; secondOfDay then tells second 59
  bool basic = false;           // without dashes and colons
  Form form = Form::calendar;
  std::string_view fraction;  // the digits of the second's fraction as they stand
  char separator = 0;         // what stands before the time of day; 0 where there is none
  char decimalMark = '.';
  OffsetForm offset = OffsetForm::none;
  int offsetSeconds = 0;  // east of UTC
  Suffix suffix;
};

// Reads a text of Form::recognised or one of the five forms of dates into a new DatetimeText. False,
// and a complaint, for a text that is none; else `complaint.what` is empty. Whether the second 60 is
// one that was inserted is not decided here, nor whether zone and offset fit each other.
bool readDatetime(std::string_view text, Form form, DatetimeText& datetime, Complaint& complaint);

// The same of Form::recognised.
std::optional<DatetimeText> readDatetime(std::string_view text, Complaint& complaint);

// Whether somebody seems to have meant a datetime: digits, and behind them a dash and a digit or
// what begins a week or a time.
bool looksLikeDatetime(std::string_view text);

// What readDatetime takes, for messages: the form, and the range of plain time and of the two lines
// of UTC.
inline constexpr std::string_view kAcceptedDatetimes =
    "YYYY-MM-DD[Thh:mm[:ss[.digits]][Z|+hh:mm]], as in 2014-05-10T08:30:15.25";
inline constexpr std::string_view kAcceptedRange =
    "dates within 2^52 days of 1970, from -12330436974479-06-28 to +12330436978418-07-07";

// A clock's reading at a place.
struct WallTime {
  int128 seconds;               // since 1970-01-01T00:00:00 on that clock
  bool insertedSecond = false;  // shown as second 60; `seconds` tells second 59
  OffsetForm offset = OffsetForm::none;
  int offsetSeconds = 0;
};

// The same of whole seconds in a plain year, one of four digits, as nearly all are.
struct PlainTime {
  std::int64_t wall = 0;  // seconds since 1970-01-01T00:00:00 on that clock
  OffsetForm offset = OffsetForm::none;
  int offsetSeconds = 0;
};

// Appends a wall time in the form that `form` came in, without the suffix: a date alone where that
// was one and the time of day is zero, otherwise with seconds. In the basic format the year is one
// of four digits.
void writeDatetime(std::string& out, const DatetimeText& form, const WallTime& wall,
                   std::string_view fraction);

// Appends +hh:mm, or +hh:mm:ss where there are seconds.
void writeOffset(std::string& out, int offsetSeconds);

}  // namespace plx
