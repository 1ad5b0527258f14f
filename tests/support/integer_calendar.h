// The proleptic Gregorian calendar by 128-bit integers, straight from its rules: no cycles, no year
// that begins in March. Slow and plain, for holding faster code against.
#pragma once

#include <cstdint>

namespace integer_calendar {

using Int = __int128;

inline Int floorDiv(Int a, Int b) { return a / b - (a % b < 0 ? 1 : 0); }
inline Int floorMod(Int a, Int b) { return a - floorDiv(a, b) * b; }

inline bool isLeap(Int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

inline int lengthOfMonth(Int year, int month) {
  constexpr int kLengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return kLengths[month - 1] + (month == 2 && isLeap(year) ? 1 : 0);
}

// Days from 1970-01-01 to 1 January of a year.
inline Int firstOfYear(Int year) {
  const Int y = year - 1;
  return 365 * y + floorDiv(y, 4) - floorDiv(y, 100) + floorDiv(y, 400) - 719162;
}

// Days from 1970-01-01 to the first of a month; the month carries into the year.
inline Int firstOfMonth(Int year, Int month) {
  year += floorDiv(month - 1, 12);
  Int n = firstOfYear(year);
  const int inYear = static_cast<int>(floorMod(month - 1, 12)) + 1;
  for (int m = 1; m < inYear; ++m) n += lengthOfMonth(year, m);
  return n;
}

struct Date {
  Int year;
  int month;
  int day;
};

inline Date dateOf(Int days) {
  Int year = floorDiv(days * 400, 146097) + 1970;  // at most one off
  while (firstOfYear(year) > days) --year;
  while (firstOfYear(year + 1) <= days) ++year;
  int month = 12;
  while (firstOfMonth(year, month) > days) --month;
  return {year, month, static_cast<int>(days - firstOfMonth(year, month)) + 1};
}

// Sunday 0 .. Saturday 6.
inline int weekday(Int days) { return static_cast<int>(floorMod(days + 4, 7)); }

}  // namespace integer_calendar
