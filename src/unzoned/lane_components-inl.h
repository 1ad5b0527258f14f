// The eleven components in lanes: how each sets datetimes of the domains in lane_pairs-inl.h.
#pragma once

#include "unzoned/lane_calendar-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanes::HWY_NAMESPACE {

// ---- The components of a date ----
//
// Each says which new values it accepts (kBound, and kJulianBound around kJulianValue), from where it
// counts days (kFirst), and by how many days the day number n moves, in either calendar. What depends
// on the new value alone is of type New, so that it is computed once where there is one value for all.
// All quantities are exact: whole numbers below 2^53, some plus Calendar::kRest, which cancels. So the
// plain code's results are the same numbers.

// Days count from a first of March, or of January.
struct FromMarch {
  template <class Calendar>
  static constexpr double kFirst = Calendar::kDaysFromMarch;
};
struct FromJanuary {
  template <class Calendar>
  static constexpr double kFirst = Calendar::kDaysFromJanuary;
};

// New values of the Julian domain lie around zero; only those for years lie around a year.
struct NearZero {
  static constexpr double kJulianValue = 0.0;
};

// Components that compute nothing from the value alone.
struct TakesValue {
  using New = V;
  template <class Calendar>
  static HWY_INLINE V newOf(V v) {
    return v;
  }
};

struct SetYear : FromMarch {
  static constexpr double kBound = kYearBound;
  static constexpr double kJulianValue = kJulianMiddleYear;
  static constexpr double kJulianBound = kJulianYearReach;
  struct New {
    V marchYear;
    V marchYearBefore;
  };
  template <class Calendar>
  static HWY_INLINE New newOf(V v) {
    return {v + all(Calendar::kYearsBefore0), v + all(Calendar::kYearsBefore0 - 1.0)};
  }
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, New set) {
    // Day and month keep their place in the March year, as 29 February does: in a common year it is
    // the day after the 28th.
    const MarchDate date = Calendar::marchDate(n);
    const M isNext = isNextYear(date.dayOfYear);
    const V year = hn::IfThenElse(isNext, set.marchYearBefore, set.marchYear);
    return Calendar::firstOfMarch(year) - date.first;
  }
};

struct SetMonth : FromMarch, NearZero {
  static constexpr double kBound = kMonthBound;
  static constexpr double kJulianBound = kJulianMonthBound;
  struct New {
    // Years from the March year of the old date to that of the new month, plus kMoreYears.
    V years;
    V oneMore;     // for a date of January or February, whose March year is one earlier
    V daysBefore;  // the days of the March year before the new month, less kMoreDays
  };
  template <class Calendar>
  static HWY_INLINE New newOf(V v) {
    const V months = v + all(12.0 * Calendar::kMoreYears - 3.0);
    const V years = floorDivided(months, 12.0);
    const V month = hn::NegMulAdd(years, all(12.0), months);
    return {years, years + all(1.0), daysBeforeMarchMonth(month) - all(Calendar::kMoreDays)};
  }
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, New set) {
    const MarchDate date = Calendar::marchDate(n);
    const V old = marchMonth<Calendar>(date.dayOfYear);
    const V years = hn::IfThenElse(isNextYear(date.dayOfYear), set.oneMore, set.years);
    const V first = Calendar::firstOfMarch(date.year + years);
    return (first - date.first) + (set.daysBefore - daysBeforeMarchMonth(old));
  }
};

struct SetQuarter : SetMonth {
  static constexpr double kBound = kQuarterBound;
  static constexpr double kJulianBound = kJulianQuarterBound;
  template <class Calendar>
  static HWY_INLINE New newOf(V v) {
    return SetMonth::newOf<Calendar>(v * all(3.0) - all(2.0));
  }
};

struct SetWeekOfYear : FromJanuary, NearZero, TakesValue {
  static constexpr double kBound = kWeekBound;
  static constexpr double kJulianBound = kBound;
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, V v) {
    // The week of the year is 1, plus 1 for each Sunday after the one that begins the week of 1 January.
    const V week = sundays(n) - sundays(Calendar::firstOfJanuary(n));
    return (v - (week + all(1.0))) * all(7.0);
  }
};

struct SetDayOfMonth : FromMarch, NearZero, TakesValue {
  static constexpr double kBound = kDayBound;
  static constexpr double kJulianBound = kBound;
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, V v) {
    const V dayOfYear = Calendar::marchDate(n).dayOfYear;
    const V day = dayOfYear - daysBeforeMarchMonth(marchMonth<Calendar>(dayOfYear));
    return (v - all(1.0 - Calendar::kRest)) - day;
  }
};

struct SetDayOfYear : FromJanuary, NearZero, TakesValue {
  static constexpr double kBound = kDayBound;
  static constexpr double kJulianBound = kBound;
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, V v) {
    return (Calendar::firstOfJanuary(n) - n) + (v - all(1.0));
  }
};

struct SetDayOfWeek : FromJanuary, NearZero {
  static constexpr double kBound = kDayBound;
  static constexpr double kJulianBound = kBound;
  using New = V;  // days after Sunday
  template <class Calendar>
  static HWY_INLINE V newOf(V v) {
    // Rounded toward zero, for a remainder with the sign of v - 1; exact like floorTimes(), on either side.
    const V fromSunday = v - all(1.0);
    const V weeks = hn::Trunc(fromSunday * all(kWeeksPerDay));
    return hn::NegMulAdd(weeks, all(7.0), fromSunday);
  }
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, V set) {
    const V sunday = hn::MulSub(sundays(n), all(7.0), all(6.0));  // day 1 is the first Sunday
    return (sunday - n) + set;
  }
};

// ---- All components ----
//
// Each sets datetimes t of a domain to values it accepts: setWhole() those of whole milliseconds, by
// either calendar, and set() pairs. Components of the clock ignore the calendar. The low parts of
// setWhole() are zero for components that take no fractions.

template <class Date>
struct OfDate {
  static constexpr double kBound = Date::kBound;
  static constexpr double kJulianValue = Date::kJulianValue;
  static constexpr double kJulianBound = Date::kJulianBound;
  static constexpr bool kTakesFractions = false;
  static constexpr bool kHasCalendars = true;

  using New = typename Date::New;
  template <class Calendar>
  static HWY_INLINE New newOf(V v) {
    return Date::template newOf<Calendar>(v);
  }

  template <class Calendar>
  static HWY_INLINE Pair setWhole(V t, New set) {
    const V moved = Date::template daysMoved<Calendar>(Calendar::template day<Date>(t), set);
    return {hn::MulAdd(moved, all(kMillisPerDay), t), hn::Zero(d)};
  }

  static HWY_INLINE Pair set(Pair t, New set) {
    const V days = floorQuotient(t, kMillisPerDay);
    const Pair msOfDay = subtractDays(t, days * all(kMillisPerDay));
    const V n = days + all(Date::template kFirst<Gregorian>);
    const V newDays = days + Date::template daysMoved<Gregorian>(n, set);
    // `start` is 0 or at least a day in magnitude, and so no smaller than msOfDay.hi, as quickTwoSum()
    // asks. The product has no error, here or in the plain code, whose low sum is therefore msOfDay.lo
    // itself.
    const V start = newDays * all(kMillisPerDay);
    return foldLow(quickTwoSum(start, msOfDay.hi), msOfDay.lo);
  }
};

// Hour and minute: the whole units since the last larger unit, the day or the hour, began.
template <class Unit>
struct OfClock : TakesValue {
  static constexpr double kBound = Unit::kBound;
  static constexpr bool kTakesFractions = false;
  static constexpr bool kHasCalendars = false;

  // `from` and the result count from kClockStart milliseconds before 1970. Units, too, are counted from
  // there, and not from the beginning of the larger unit, so that neither product depends on the other.
  static HWY_INLINE V setFromStart(V from, V v) {
    const V larger = floorTimes(from, Unit::kLargerPerMilli);
    const V units = floorTimes(from, Unit::kPerMilli);
    const V start = hn::MulAdd(larger, all(Unit::kLarger), v * all(Unit::kMillis));
    return start + hn::NegMulAdd(units, all(Unit::kMillis), from);
  }

  template <class>
  static HWY_INLINE Pair setWhole(V t, V v) {
    // Not a sum with t itself, which would be -0 where t and v are -0.
    return {setFromStart(t + all(kClockStart), v) - all(kClockStart), hn::Zero(d)};
  }

  static HWY_INLINE Pair set(Pair t, V v) {
    const V start = floorQuotient(t, kMillisPerDay) * all(kMillisPerDay);
    const Pair msOfDay = subtractDays(t, start);
    V old = floorQuotientOfDay(msOfDay, Unit::kMillis, Unit::kPerMilli);
    if constexpr (Unit::kLarger < kMillisPerDay) {
      old = old - floorTimes(old, Unit::kLargerPerUnit) * all(Unit::kLarger / Unit::kMillis);
    }
    return add(start, add(msOfDay, (v - old) * all(Unit::kMillis)));
  }
};

// Second and time of day: v seconds after the minute or the day begins, whatever was there before.
//
// The product v*1000 is rounded on its own, as in the plain code. The plain code adds that product to the
// rest of the day, and the sum to the day, each sum with its error. As days and minutes are whole
// milliseconds, both errors together are exactly the error of the one sum here (docs/numerics.md), so
// both codes give the normalised pair of the exact sum.
template <class Unit>
struct SecondsAfter : TakesValue {
  static constexpr double kBound = kSecondsBound;
  static constexpr bool kTakesFractions = true;
  static constexpr bool kHasCalendars = false;

  template <class>
  static HWY_INLINE Pair setWhole(V t, V v) {
    const V units = floorTimes(t + all(kClockStart), Unit::kPerMilli);
    return setAfter(hn::MulSub(units, all(Unit::kMillis), all(kClockStart)), v);
  }

  static HWY_INLINE Pair set(Pair t, V v) {
    return setAfter(floorQuotient(t, Unit::kMillis) * all(Unit::kMillis), v);
  }

 private:
  static HWY_INLINE Pair setAfter(V start, V v) { return twoSum(start, v * all(kMillisPerSecond)); }
};

}  // namespace lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
