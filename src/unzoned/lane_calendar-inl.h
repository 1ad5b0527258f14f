// The calendar in lanes.
//
// Cassio Neri and Lorenz Schneider, "Euclidean affine functions and their application to calendar
// algorithms" (2022): years, centuries and months are read off day numbers by floors of linear
// functions. A day number here counts from a first day `kDaysFromMarch` or `kDaysFromJanuary` days
// before 1970, at the beginning of a 400-year cycle so long ago that nothing is negative. Years count
// from there, too.
#pragma once

#include "unzoned/lane_pairs-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanes::HWY_NAMESPACE {

// floor(x/divisor + offset) for whole x. Such quotients lie 1/divisor apart. With half of this gap added,
// each lies at least half a gap from every whole number, and all rounding errors together, fused or not,
// are smaller (dividesByGap()).
HWY_INLINE V floorDivided(V x, double divisor, double offset = 0.0) {
  return hn::Floor(hn::MulAdd(x, all(1.0 / divisor), all(offset + halfGap(divisor))));
}

// A date in years that begin on 1 March.
struct MarchDate {
  V year;
  V first;      // the day number on which the year begins
  V dayOfYear;  // from 0, plus Calendar::kRest
};

// The calendar with all of its rules. A day of the year includes the 3/4 that the divisions add (kRest).
struct Gregorian {
  static constexpr double kDaysFromMarch = lanes::kDaysFromMarch;
  static constexpr double kDaysFromJanuary = lanes::kDaysFromJanuary;
  static constexpr double kYearsBefore0 = lanes::kYearsBefore0;
  static constexpr double kMoreYears = lanes::kMoreYears;
  static constexpr double kMoreDays = lanes::kMoreDays;
  static constexpr double kRest = 0.75;

  template <class Date>
  static HWY_INLINE V day(V t) {
    return floorTimes(t + all(Date::template kFirst<Gregorian> * kMillisPerDay), kDaysPerMilli);
  }

  static HWY_INLINE MarchDate marchDate(V n) {
    // The century is floor((4n + 3)/146097): n + 3/4 stands for 4n + 3, with four times the factor. In
    // a calendar without the rules about centuries, each of which then has 36525 days, n would be
    // larger by three days for every four centuries (`more`); the year is read off that number by
    // floor((4n + 3)/1461).
    const V from = n + all(0.75);
    const V century = floorTimes(from, kCenturiesPerDay);
    const V more = hn::Ceil(century * all(0.75));
    const V julian = from + more;
    const V year = floorTimes(julian, kYearsPerDay);
    const V first = hn::Floor(year * all(365.25));
    return {year, first - more, julian - first};
  }

  static HWY_INLINE V firstOfMarch(V year) {
    const V century = floorTimes(year, kCenturiesPerYear);
    return hn::Floor(year * all(365.25)) - hn::Ceil(century * all(0.75));
  }

  // The first day of the civil year of a day. Years begin in January here, and the leap day lies in
  // the first year of four: floors become ceilings.
  static HWY_INLINE V firstOfJanuary(V n) {
    const V century = floorTimes(n, kCenturiesPerDay);
    const V julian = n + hn::Ceil(century * all(0.75));
    const V year = floorTimes(julian, kYearsPerDay);
    const V centuriesBegun = ceilTimes(year, kCenturiesPerYearBelow);
    return hn::Ceil(year * all(365.25)) - hn::Floor(centuriesBegun * all(0.75));
  }
};

// The calendar in which every fourth year is a leap year. Its days count from 1888, and 1900 is a leap
// year, too; from March 1900 to February 2100 each day has the March year, and the day of that year, of
// the Gregorian calendar. The numbers are so small that half of a gap between quotients covers all
// rounding errors (floorDivided()).
struct Julian {
  static constexpr double kDaysFromMarch = kJulianDaysFromMarch;
  static constexpr double kDaysFromJanuary = kJulianDaysFromJanuary;
  static constexpr double kYearsBefore0 = -kJulianYear0;
  static constexpr double kMoreYears = 0.0;
  static constexpr double kMoreDays = 0.0;
  static constexpr double kRest = 0.0;

  template <class Date>
  static HWY_INLINE V day(V t) {
    return floorDivided(t, kMillisPerDay, Date::template kFirst<Julian>);
  }

  static HWY_INLINE MarchDate marchDate(V n) {
    const V year = hn::Floor(hn::MulAdd(n, all(4.0 / 1461.0), all(3.0 / 1461.0 + halfGap(1461.0))));
    const V first = hn::Floor(year * all(365.25));
    return {year, first, n - first};
  }

  static HWY_INLINE V firstOfMarch(V year) { return hn::Floor(year * all(365.25)); }

  static HWY_INLINE V firstOfJanuary(V n) {
    const V year = hn::Floor(hn::MulAdd(n, all(4.0 / 1461.0), all(halfGap(1461.0))));
    return hn::Ceil(year * all(365.25));
  }
};

// Months of the March year, from 0: floor((5 dayOfYear + 2)/153).
template <class Calendar>
HWY_INLINE V marchMonth(V dayOfYear) {
  constexpr double kOffset = (2.0 - 5.0 * Calendar::kRest) / 153.0 + halfGap(153.0);
  return hn::Floor(hn::MulAdd(dayOfYear, all(5.0 / 153.0), all(kOffset)));
}

// The days of the March year before a month: floor((153 month + 2)/5), 0, 31, 61, 92, ..., 337.
// These are the multiples of 30.6 rounded to nearest, of which none comes closer to a half than
// 0.1.
HWY_INLINE V daysBeforeMarchMonth(V month) { return hn::Round(month * all(30.6)); }

// Whether a day of the March year lies in January or February, which belong to the next civil year.
HWY_INLINE M isNextYear(V dayOfYear) { return hn::Ge(dayOfYear, all(306.0)); }

// The Sundays from day 0, a Saturday, to day n, both included.
HWY_INLINE V sundays(V n) { return ceilTimes(n, kWeeksPerDayBelow); }

}  // namespace lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
