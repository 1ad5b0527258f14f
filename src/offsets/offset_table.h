// The offsets of a time zone from UTC as a table of transitions, taken from ICU's own zone object.
//
//   instant  milliseconds since 1970 in UTC
//   wall     the same count read off a clock in the zone: instant + offset
//   offset   milliseconds, a whole number of seconds, positive east of Greenwich
//
// An instant has the offset of the last transition T at or before it. A wall time has that of the
// last transition with T + (offset after T) at or before it: what a clock shows twice means the
// second time, and what it skips is read with the offset before the gap. That is ICU's reading
// with UCAL_TZ_LOCAL_FORMER for skipped and UCAL_TZ_LOCAL_LATTER for repeated wall times, and that
// of a calendar with both options at UCAL_WALLTIME_LAST.
//
// The rules of a zone are a list of past transitions and, in some zones, a pair of yearly rules
// that hold from some year on for ever. The date of a yearly rule depends on nothing but the length
// of the year and the weekday on which it begins, and both recur after 400 years, which are whole
// weeks. So the table holds the first 401 years of the pair, and later times are looked up whole
// cycles earlier.
#pragma once

#include <unicode/timezone.h>

#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

// The offsets along one of the two time scales, of instants or of wall times. Stretch i goes from
// `starts[i]` to `starts[i + 1]` and has `offsets[i]`; the first stretch starts at minus infinity, and the
// last two are empty, at `cycleEnd`. Plain pointers into an OffsetTable, so that code for any instruction
// set can share it.
struct OffsetLine {
  const double* starts;
  const double* offsets;
  std::size_t stretches;
  // The end of the 400 years that recur for ever; infinity in a zone without yearly rules.
  double cycleEnd;
};

// The offset at t, |t| <= 2^53.
double offsetAt(const OffsetLine& line, double t);

// The stretch that t lies in, t < cycleEnd.
std::size_t stretchIndex(const OffsetLine& line, double t);

// The stretch of constant offset that holds t, and the offsets before and after it. Where the stretch has
// no end on one side, the offset there is its own.
struct OffsetStretch {
  double start, end;
  double before, offset, after;
};
OffsetStretch stretchAt(const OffsetLine& line, double t);

class OffsetTable {
 public:
  // The table of a zone whose rules fit; nothing for one that stays with the calendar:
  //   - a zone that is neither one of ICU's data nor a fixed offset. A host can make its own kind
  //     the default one, and what its rules say need not be what its offsets are;
  //   - one with offsets that are no whole seconds, with other yearly rules than one pair with
  //     saving above standard time, or with a rule of another kind than ICU's data leads to;
  //   - one whose yearly rules have dates that ICU's offsets, which are found month by month, do not
  //     follow in years of every kind, such as the first Sunday from 29 March on;
  //   - one whose rules and offsets disagree where the rules change hands;
  //   - one whose past transitions are not in order in ICU's data, or go on into the first year of the
  //     yearly rules. Where they are in order and end before, ICU's list of rules and its offsets say the
  //     same, since both are read off the same numbers;
  //   - one of which ICU gives some rules only, for lack of memory. A copy of the zone may give them all.
  // Throws std::bad_alloc.
  static std::optional<OffsetTable> of(const icu::TimeZone& zone);

  // Whether a zone is of a class that has tables: one of ICU's data, or a fixed offset.
  static bool isForClassOf(const icu::TimeZone& zone);

  // Whether a zone, of a class that has tables, has one offset for ever, the only one of this table. A quick
  // test, which makes no table; false for any zone with transitions, even where this table is the zone's.
  bool isOneOffsetOf(const icu::TimeZone& zone) const;

  OffsetLine instants() const { return line(instants_); }
  OffsetLine walls() const { return line(walls_); }

  // The memory that it points to.
  std::size_t bytes() const {
    return (instants_.capacity() + walls_.capacity() + offsets_.capacity()) * sizeof(double);
  }

 private:
  struct Rules;

  OffsetTable() = default;
  bool addPast(const Rules& rules);
  bool addYearly(const Rules& rules);
  void add(double instant, double offset);
  void addEnds();
  OffsetLine line(const std::vector<double>& starts) const {
    return {starts.data(), offsets_.data(), starts.size() - 1, cycleEnd_};
  }

  std::vector<double> instants_;
  std::vector<double> walls_;
  std::vector<double> offsets_;
  // The end of 400 years that recur, in UTC and on the clock alike: transitions keep away from the
  // turn of the year.
  double cycleEnd_ = std::numeric_limits<double>::infinity();
};
