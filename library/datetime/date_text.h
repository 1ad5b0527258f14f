// Dates of ISO 8601: calendar, ordinal and week dates, each in the extended format and in the basic
// one.
//
//   calendar  2014-05-10   20140510
//   ordinal   2014-130     2014130
//   week      2014-W19-6   2014W196     weeks from Monday, day 1; week 1 has the year's 4 January
//
// A year has four digits, or in the extended format a sign and at least four. The calendar is the
// proleptic Gregorian one, with a year 0.
#pragma once

#include <cstdint>

#include "datetime/notation.h"
#include "datetime/scanner.h"
#include "datetime/short_text.h"
#include "messages/message.h"

namespace plx {

struct DateText {
  std::int64_t day = 0;        // days since 1970-01-01
  Form form = Form::calendar;  // or ordinal or week
  bool basic = false;          // without dashes
  bool signedYear = false;
};

// Reads a date that stands at the front. A basic date of nothing but digits is one where a time
// follows, which no number has, or where `expected` is its form. False where there is none; the
// complaint then stays empty where the shape is wrong and else says what is.
bool readDate(Scanner& scan, Form expected, DateText& result, Complaint& complaint);

// Whether the year, in a week date the year of the week, has four digits and no sign.
bool hasPlainYear(Form form, std::int64_t day);

// Writes a day within 2^52 of 1970; a basic date has a plain year.
void writeDate(ShortText& out, Form form, bool basic, std::int64_t day);

}  // namespace plx
