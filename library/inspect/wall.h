// What the wall clock of a zone shows at a datetime, taken apart as the module takes it apart.
#pragma once

#include <string>

#include "arith/civil.h"
#include "arith/doubledouble.h"
#include "base/wall_setting.h"
#include "datetime/zone.h"

namespace plx {

struct Wall {
  double day;            // of the date shown: days since 1970-01-01
  doubledouble msOfDay;  // since midnight of that date, [0, 86400000)
  // Shown as second 60; msOfDay then tells second 59, from which components are set there.
  bool insertedSecond = false;
};

// The pair is finite and, in a calendar, within its range.
Wall wallOf(const doubledouble& pair, const Zone& zone);

// "08:30:00", the time of day of a second on the clock.
std::string clockText(int128 wallSecond);

// The whole second of a pair, on the line of its zone.
int128 secondOf(const doubledouble& pair);

// Whole seconds since midnight: 0..86399.
double secondOfDay(const Wall& wall);

// The week of the year as the module counts in a zone. Weeks begin on Sunday, and week 1 is the
// one with 1 January. On the lines without a calendar 31 December is always in week 53 or 54; a
// calendar counts the last days of December that share the week of the next 1 January as week 1. Or as the
// zone's own weeks count.
double weekOf(double day, const Zone& zone);

// The day of the week from 1, Sunday or the first day of the zone's own weeks.
double dayOfWeekOf(double day, const Zone& zone);

}  // namespace plx
