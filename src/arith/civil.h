// Conversions between day numbers and the proleptic Gregorian calendar, and of seconds to a clock.
//
//   day number  days since 1970-01-01 (day 0); negative before it
//   year        astronomical: year 0 exists, is a leap year, follows year -1
//   month       1..12      day  from 1      week  from 1, begins on Sunday
//   hour        0..23 within a day          minute, second  0..59
//
// Quantities are doubles holding whole numbers, so that dates millions of years away convert as
// well; above 2^53 days, whole days are lost, and a few astronomically large day numbers give a
// month outside 1..12. NaN in, NaN out. Pure functions; no errors.
//
// The computations run in a year that begins on 1 March, so that the leap day comes last.
#pragma once

// Writes the date of a day number. days2ymd(11016, ...) gives 2000, 2, 29.
void days2ymd(double days, double& year, double& month, double& day);

struct Date {
  double year, month, day;
};

// The same as a value.
inline Date dateOf(double days) {
  Date date;
  days2ymd(days, date.year, date.month, date.day);
  return date;
}

// The day number of a date. Month and day may lie outside their ranges and carry:
// (2014, 13, 1) is 2015-01-01, (2014, 3, 0) is 2014-02-28.
double ymd2days(double year, double month, double day);

// The days of a month, which may lie outside 1..12 as for ymd2days.
inline double daysOfMonth(double year, double month) {
  return ymd2days(year, month + 1.0, 1.0) - ymd2days(year, month, 1.0);
}

// Writes the clock fields of a count of seconds since midnight. The hour is not reduced:
// 90000 gives 25, 0, 0. A negative count gives a negative hour: -1 gives -1, 59, 59.
// From 0 to 2147483647 a fraction is dropped; elsewhere it stays in the second. Callers pass whole
// seconds.
void secs2hms(double secs, double& hour, double& minute, double& second);

// Whether a whole year has a 29 February. 2000 has, 1900 has not.
bool isLeapYear(double year);

// The days of the year before the first of a month: 0 for January, 59 or 60 for March.
double daysBeforeMonth(double year, double month);

// The week of the year of a date, given its day number and the same date's year, month and day.
// Weeks begin on Sunday, and week 1 is the one that contains 1 January, however few of its days
// fall in the new year: 2011-01-01, a Saturday, is in week 1 and the next day in week 2. 31
// December is in week 53 or 54 of its own year. This is not ISO 8601's rule.
double weekOfYear(double days, double year, double month, double day);
