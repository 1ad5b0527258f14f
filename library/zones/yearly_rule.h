// The rule at the end of a zone file, in the form of the environment variable TZ: standard time, and perhaps
// saving that begins and ends each year.
//
//   CET-1CEST,M3.5.0,M10.5.0/3            Europe: from the last Sunday of March, 02:00, to that of October, 03:00
//   IST-1GMT0,M10.5.0,M3.5.0/1            Dublin: standard time is that of summer, and winter saves an hour less
//   <-02>2<-01>,M3.5.0/-1,M10.5.0/0       Nuuk: hours may be negative, and beyond 24
//   <+03>-3                               no saving
//
// Dates count in days since 1970-01-01, seconds from midnight of the wall clock before the change.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace zones {

// Days of the proleptic Gregorian calendar. dayNumber(1970, 1, 1) is 0; months are 1 to 12, any day of the month.
// Beside arith/civil.h on purpose: in integers, and this folder is built without the module's sources.
std::int64_t dayNumber(std::int64_t year, int month, std::int64_t day);
// The year that a day lies in.
std::int64_t yearOfDay(std::int64_t day);
// 28 to 31.
int daysOfMonth(std::int64_t year, int month);

// A day of each year, and a time from its beginning.
struct YearlyDate {
  enum class Kind {
    weekday,  // Mm.w.d: weekday d (0 is Sunday) of the month m, the w-th one, or the last one for 5
    dayNotLeap,   // Jn: the n-th day, 1 to 365, of years without 29 February
    dayFromZero,  // n: the day n from zero, 0 to 365, with 29 February
  };

  Kind kind;
  int month, week, weekday;  // of Kind::weekday
  int day;                   // of the other two
  int second;                // after midnight; -167 to 167 hours

  // The day of a year, and the second of the wall clock as if that were UTC.
  std::int64_t dayIn(std::int64_t year) const;
  std::int64_t wallSecondIn(std::int64_t year) const { return dayIn(year) * 86400 + second; }
};

// An offset becomes another one.
struct OffsetChange {
  std::int64_t second;
  int offset;  // from that second on
};

struct YearlyRule {
  struct Saving {
    int offset;             // of saving, in seconds east of UTC; may be less than standard time's
    YearlyDate begin, end;  // by the wall clock of standard time, and of saving
  };

  int standard;  // offset
  std::optional<Saving> saving;

  // Whether the clocks are ever changed.
  bool hasChanges() const { return saving && saving->offset != standard; }
  // The seconds at which saving begins and ends in a year; of a year by the wall clock.
  std::int64_t beginIn(std::int64_t year) const {
    return saving->begin.wallSecondIn(year) - standard;
  }
  std::int64_t endIn(std::int64_t year) const {
    return saving->end.wallSecondIn(year) - saving->offset;
  }

  int offsetAt(std::int64_t second) const;

  // The first at `from` or later. Nothing where the offset never changes.
  std::optional<OffsetChange> nextOffsetChange(std::int64_t from) const;
};

// Nothing for a text that is no such rule; of one with saving, dates are required.
std::optional<YearlyRule> readYearlyRule(std::string_view text);

}  // namespace zones
