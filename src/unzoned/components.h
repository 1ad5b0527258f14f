// Setting one component of one datetime on the proleptic Gregorian calendar, without a zone.
//
// A datetime is taken apart into a day number and the milliseconds of the day, one of the two is
// changed, and both are put together again. Values out of range carry: month 13 is January of the
// next year, day 0 the last day of the month before, hour 24 the next midnight. What is smaller
// than the component stays.
//
// Pure functions on finite values; no errors. `v` is a whole number but for setSecond and
// setTimeOfDay.
#pragma once

#include "arith/doubledouble.h"

struct DayAndTime {
  double days;           // since 1970-01-01
  doubledouble msOfDay;  // [0, 86400000) for a datetime that was taken apart
};

// t in milliseconds since 1970-01-01T00:00:00.
DayAndTime takeApart(const doubledouble& t);
doubledouble putTogether(const DayAndTime& t);

DayAndTime setYear(DayAndTime t, double v);     // astronomical: 0 and negative years exist
DayAndTime setQuarter(DayAndTime t, double v);  // 1..4: its first month, the day of the month kept
DayAndTime setMonth(DayAndTime t, double v);    // 1..12
DayAndTime setWeekOfYear(DayAndTime t, double v);  // as weekOfYear counts; the weekday stays
DayAndTime setDayOfMonth(DayAndTime t, double v);  // from 1
DayAndTime setDayOfYear(DayAndTime t, double v);   // from 1
// 1 Sunday .. 7 Saturday, within the Sunday-to-Saturday week. Values above 7 wrap into the same week.
// Values below 1 wrap into the week before, 0 being its Saturday, but for -6, -13 and so on, which are
// the Sunday of the same week.
DayAndTime setDayOfWeek(DayAndTime t, double v);
DayAndTime setHour(DayAndTime t, double v);    // 0..23
DayAndTime setMinute(DayAndTime t, double v);  // 0..59
DayAndTime setSecond(DayAndTime t, double v);  // [0, 60), with its fraction; the old one is dropped
DayAndTime setTimeOfDay(DayAndTime t, double v);  // seconds since midnight, with their fraction

// Changes nothing, but takes the day number through the calendar as the date components do.
DayAndTime setNothing(DayAndTime t, double v);
