// Setting one component of several datetimes at once: the arithmetic of components.h and
// leap_seconds.h with one datetime in each lane of a vector.
//
// Every component is written for the domains that begin below, each with the reason why its results
// are the plain code's, bit for bit. Lanes outside them compute something meaningless, with
// whatever exceptions of arithmetic (entry/default_float_environment.h has none end a host), and are
// replaced by the caller.
//
// Compiled once for each instruction set. Everything stands in a namespace of that set, and no
// template comes from outside but those that are types or constants: functions of templates are
// compiled where they are used, here for the set, while the linker keeps one copy of an inline
// function, and one compiled for a newer set would be called, and fail, on older processors. Inline
// functions that are no templates are compiled where they stand, before this namespace and for every
// processor, and may be used.

#pragma once

#include "unzoned/instruction_set-inl.h"

#include <hwy/cache_control.h>

#include "unzoned/lane_constants.h"

HWY_BEFORE_NAMESPACE();
namespace lanes::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<double>;
using V = hn::Vec<D>;
using M = hn::Mask<D>;
constexpr D d;

HWY_INLINE V all(double x) { return hn::Set(d, x); }

// Before a return to code that knows nothing of long vectors: it takes twice as long while their upper
// parts are in use. The compiler sees to that itself, but not where the last of them were used by a
// function of its own that it has called.
HWY_INLINE void leaveVectors() {
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
  _mm256_zeroupper();
#endif
}

// ---- Double-double arithmetic ----
//
// The transforms of arith/doubledouble.h for finite values: the same sums with the same errors,
// never fused. Folding in a low part, which the plain code skips for a zero one, is always done: on
// a normalised pair it changes nothing but perhaps the sign of a zero low part. No result has a low
// part of -0 here: quickTwoSum(), the last step of all, gives zero errors as +0, whether a - s is
// +0 or cancels b. Nor has it in the plain code, where it is the error of a sum a + b with a != -0.

struct Pair {
  V hi;
  V lo;
};

HWY_INLINE Pair twoSum(V a, V b) {
  const V s = a + b;
  const V t = s - b;
  return {s, (a - t) + (b - (s - t))};
}

HWY_INLINE Pair twoDifference(V a, V b) {
  const V s = a - b;
  const V t = s - a;
  return {s, (a - (s - t)) - (b + t)};
}

HWY_INLINE Pair quickTwoSum(V a, V b) {
  const V s = a + b;
  return {s, (a - s) + b};
}

HWY_INLINE Pair foldLow(Pair s, V lo) { return quickTwoSum(s.hi, lo + s.lo); }
HWY_INLINE Pair add(Pair a, V b) { return foldLow(twoSum(a.hi, b), a.lo); }
HWY_INLINE Pair add(V a, Pair b) { return foldLow(twoSum(a, b.hi), b.lo); }
HWY_INLINE Pair subtract(Pair a, V b) { return foldLow(twoDifference(a.hi, b), a.lo); }

// t - start, where start is the last multiple of a day not above t, with a shorter way to the error
// of the difference of the high parts. It is none where t.hi >= 0: start is zero, or t.hi >= 2^26
// and the difference, below 2^27, is a multiple of ulp(t.hi) >= 2^-26. Where t.hi < 0, start is the
// larger one in magnitude, and the way is that of quickTwoSum().
HWY_INLINE Pair subtractDays(Pair t, V start) {
  const V s = t.hi - start;
  return foldLow({s, t.hi - (s + start)}, t.lo);
}

// ---- Results ----

// Where the results of some vectors begin, written as usual or past the caches, which otherwise would
// first read what is about to be overwritten.
template <bool kIsPastCaches>
struct PlaceFor {
  double* HWY_RESTRICT high;
  double* HWY_RESTRICT low;

  HWY_INLINE void store(Pair set, size_t i) const {
    put(set.hi, high + i);
    put(set.lo, low + i);
  }
  static HWY_INLINE void put(V x, double* place) {
    kIsPastCaches ? hn::Stream(x, d, place) : hn::StoreU(x, d, place);
  }
};
using Place = PlaceFor<false>;
using PlacePastCaches = PlaceFor<true>;

// One of both.
struct EitherPlace {
  double* HWY_RESTRICT high;
  double* HWY_RESTRICT low;
  bool isPastCaches;

  HWY_INLINE void store(Pair set, size_t i) const {
    isPastCaches ? PlacePastCaches{high, low}.store(set, i) : Place{high, low}.store(set, i);
  }
};

// Whether the results of a call are written past the caches: so many that no cache holds them, in a
// place where that can be done.
class PastCaches {
 public:
  HWY_INLINE PastCaches(double* high, double* low, size_t count)
      : areUsed_(count >= kPastCaches && isAligned(high) && isAligned(low)) {}
  PastCaches(const PastCaches&) = delete;
  PastCaches& operator=(const PastCaches&) = delete;
  // Who is told of the results later sees them, another thread too.
  HWY_INLINE ~PastCaches() {
    if (areUsed_) hwy::FlushStream();
  }

  // For whole vectors from the first element on. Another one can begin anywhere.
  HWY_INLINE bool areUsed() const { return areUsed_; }

 private:
  static HWY_INLINE bool isAligned(const double* place) {
    return reinterpret_cast<uintptr_t>(place) % (hn::Lanes(d) * sizeof(double)) == 0;
  }

  const bool areUsed_;
};

// ---- The domains of datetimes ----

HWY_INLINE M isAtMost(V x, double bound) { return hn::Le(hn::Abs(x), all(bound)); }
HWY_INLINE M isFinite(V x) { return isAtMost(x, 0x1.fffffffffffffp1023); }

// All bits zero where x is whole, an infinity or NaN.
HWY_INLINE V fractionBits(V x) { return hn::Xor(hn::Round(x), x); }
HWY_INLINE M isZeroBits(V bits) {
  const hn::RebindToSigned<D> di;
  return hn::RebindMask(d, hn::Eq(hn::BitCast(di, bits), hn::Zero(di)));
}

// The new values that a component accepts: up to its bound, and whole unless it takes fractions.
template <class Component>
HWY_INLINE M isAccepted(V v) {
  if constexpr (Component::kTakesFractions) return isAtMost(v, Component::kBound);
  return hn::And(isAtMost(v, Component::kBound), isZeroBits(fractionBits(v)));
}

// Bits that must all be zero are tested together: comparisons are dear beside logic.
template <class Component>
HWY_INLINE M areWhole(Pair t, V v) {
  V bits = hn::Or(t.lo, fractionBits(t.hi));
  if constexpr (!Component::kTakesFractions) bits = hn::Or(bits, fractionBits(v));
  return isZeroBits(bits);
}

// Whole milliseconds up to 2^49, some 17,800 years, with a low part of zero. A component's bound on
// new values keeps its result within 2^52 milliseconds, so every quantity on the way is a whole
// number below 2^53: all sums, differences and products are exact, in whatever order, and the low
// part is +0. (Second and time of day may add a fraction: one sum, with its error.)
// Products and sums may be fused or not: the numbers are the same.
template <class Component>
HWY_INLINE M isWholeAndAccepted(Pair t, V v) {
  const M isBounded = hn::And(isAtMost(t.hi, kWholeBound), isAtMost(v, Component::kBound));
  return hn::And(isBounded, areWhole<Component>(t, v));
}

// Of these, the datetimes of 1904 to 2095 with new values that stay near, as most are: every year
// on the way lies between the common years 1900 and 2100, where every fourth one is a leap year and
// the rules about centuries can be left out. The results are the calendar's, by whatever rules.
template <class Component>
HWY_INLINE M isJulianAndAccepted(Pair t, V v) {
  const M isBounded = hn::And(isAtMost(t.hi - all(kJulianMiddle), kJulianReach),
                              isAtMost(v - all(Component::kJulianValue), Component::kJulianBound));
  return hn::And(isBounded, areWhole<Component>(t, v));
}

// Normalised pairs up to 2^52 milliseconds, with any fraction that is not within reach of the
// subnormals (the plain quotient of a tiny low part would underflow to zero, and miss that it
// reaches below a whole day). Here the sums of the plain code are kept step by step, and only its
// quotients and floors are replaced, by floorQuotient() below.
HWY_INLINE M isPair(Pair t) {
  const V zero = hn::Zero(d);
  const V smallest = hn::IfThenElse(hn::Eq(t.lo, zero), t.hi, t.lo);
  const M isNormal = hn::Or(hn::Ge(hn::Abs(smallest), all(0x1p-700)), hn::Eq(t.hi, zero));
  const M isNormalised = hn::Eq(t.hi + t.lo, t.hi);
  return hn::And(hn::And(isAtMost(t.hi, kPairBound), isNormalised), isNormal);
}

// floor(x * n/d) for whole x >= 0, where `above` is n/d rounded up, or a little more. At a multiple
// x = k d/n the exact product is at least k, and rounding cannot take it below the double k. Just
// before one, x = (k+1) d/n - 1/n, the exact quotient is 1/d below k + 1, while the excess of
// `above` and the rounding add at most (k+1)(excess + 2^-53): smaller, as lane_constants.h asserts
// wherever it makes such a factor.
HWY_INLINE V floorTimes(V x, double above) { return hn::Floor(x * all(above)); }

// ceil(x * n/d) for whole x >= 0, where `below` is n/d rounded down: the same, mirrored.
HWY_INLINE V ceilTimes(V x, double below) { return hn::Ceil(x * all(below)); }

// floor(t / unit) for a pair of the second domain and a unit of 1000 to 86400000 milliseconds.
//
// With |t.hi| <= 2^52 the product with the rounded reciprocal is off by at most 2^52/unit * 2^-52 =
// 1/unit, and the sum with the offset by half of that; an offset of 2/unit makes sure that the
// candidate is never too small. It is too large, by one, only where t lies less than 4 milliseconds
// below a multiple of the unit, and then `rest` is exact and negative, or zero with a low part
// below it: |rest| >= ulp(t.hi) > |t.lo| unless it is zero. Further above, `rest` may be rounded,
// but keeps its sign.
HWY_INLINE V floorQuotient(Pair t, double unit) {
  const V candidate = hn::Floor(t.hi * all(1.0 / unit) + all(2.0 / unit));
  const V rest = t.hi - candidate * all(unit);
  const M isTooLarge = hn::Lt(rest + t.lo, hn::Zero(d));
  return candidate - hn::IfThenElseZero(isTooLarge, all(1.0));
}

// The same within a day, where t.hi lies in [0, 86400000] and the reciprocal is rounded up: the
// candidate is never too small without an offset.
HWY_INLINE V floorQuotientOfDay(Pair t, double unit, double unitsPerMilli) {
  const V candidate = floorTimes(t.hi, unitsPerMilli);
  const V rest = t.hi - candidate * all(unit);
  const M isTooLarge = hn::Lt(rest + t.lo, hn::Zero(d));
  return candidate - hn::IfThenElseZero(isTooLarge, all(1.0));
}

// ---- The calendar ----
//
// Cassio Neri and Lorenz Schneider, "Euclidean affine functions and their application to calendar
// algorithms" (2022): years, centuries and months are read off day numbers by floors of linear
// functions. A day number here counts from a first day `kMarch` or `kJanuary` days before 1970, at
// the beginning of a 400-year cycle so long ago that nothing is negative. (Years count from there.)

// floor(x/divisor + offset) for whole x, with half of the gap between quotients on either side.
// Products are exact or far better than that (dividesByGap()), fused or not.
HWY_INLINE V floorDivided(V x, double divisor, double offset = 0.0) {
  return hn::Floor(hn::MulAdd(x, all(1.0 / divisor), all(offset + halfGap(divisor))));
}

// A date in years that begin on 1 March.
struct MarchDate {
  V year;
  V first;      // the day number on which the year begins
  V dayOfYear;  // from kRest
};

// The calendar with all of its rules. Days keep 3/4 from the divisions.
struct Gregorian {
  static constexpr double kMarch = lanes::kMarch;
  static constexpr double kJanuary = lanes::kJanuary;
  static constexpr double kYearsBefore0 = lanes::kYearsBefore0;
  static constexpr double kMoreYears = lanes::kMoreYears;
  static constexpr double kMoreDays = lanes::kMoreDays;
  static constexpr double kRest = 0.75;

  template <class Date>
  static HWY_INLINE V day(V t) {
    return floorTimes(t + all(Date::template kFirst<Gregorian> * kMillisPerDay), kDaysPerMilli);
  }

  static HWY_INLINE MarchDate marchDate(V n) {
    // (4n + 3)/146097, with n + 3/4 for 4n + 3 and four times the factor. In a calendar without the
    // 400-year rule, in which every century has 36525 days, n would be three days larger for every
    // four centuries.
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

// The same where every fourth year is a leap year, without centuries. From 1888 on, as if 1900 had
// been a leap year too, a day number has the year and the day of the year that it has in the
// calendar, from March 1900 to February 2100. The numbers are so small that half of a gap between
// quotients covers all that is rounded.
struct Julian {
  static constexpr double kMarch = kJulianMarch;
  static constexpr double kJanuary = kJulianJanuary;
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

// January and February belong to the civil year that follows.
HWY_INLINE M isNextYear(V dayOfYear) { return hn::Ge(dayOfYear, all(306.0)); }

// Sundays since the first day of the calendar, a Saturday.
HWY_INLINE V sundays(V n) { return ceilTimes(n, kWeeksPerDayBelow); }

// ---- The components of a date ----
//
// Each says up to what new values it accepts, from where it counts days, and by how many days the
// day number n moves, in either calendar. What depends on the new value alone is a type of its own,
// so that it is computed once where there is one value for all. All quantities are whole numbers
// below 2^53 and exact, but for rests that cancel; what the plain code computes is the same number.

// Days count from a first of March, or of January.
struct FromMarch {
  template <class Calendar>
  static constexpr double kFirst = Calendar::kMarch;
};
struct FromJanuary {
  template <class Calendar>
  static constexpr double kFirst = Calendar::kJanuary;
};

// Values of the Julian calendar's domain lie around zero, those for years around one of them.
struct NearZero {
  static constexpr double kJulianValue = 0.0;
};

// Nothing depends on the value alone.
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
    V years;  // of which a month counts from March
    V oneMore;
    V daysBefore;
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
    // The Sundays since that of the week of 1 January, and 1, are the week of the year.
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
    // The remainder that keeps its sign: floorTimes() on either side of zero.
    const V fromSunday = v - all(1.0);
    const V weeks = hn::Trunc(fromSunday * all(kWeeksPerDay));
    return hn::NegMulAdd(weeks, all(7.0), fromSunday);
  }
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, V set) {
    const V sunday = hn::MulSub(sundays(n), all(7.0), all(6.0));  // day 1 was the first one
    return (sunday - n) + set;
  }
};

// ---- All components ----
//
// Each sets datetimes t of a domain to values it accepts: setWhole() those of whole milliseconds, by
// either calendar, and set() pairs. A clock knows no calendar. The low parts of setWhole() are zero
// where a component stays whole.

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
    // The start of the day is 0 or at least a day from it, and so no smaller in magnitude than the
    // milliseconds of the day, as quickTwoSum() asks. The product is exact, as in the plain code, and
    // the low parts of both add up to that of the milliseconds.
    const V start = newDays * all(kMillisPerDay);
    return foldLow(quickTwoSum(start, msOfDay.hi), msOfDay.lo);
  }
};

// Hour and minute: how often a unit of milliseconds fits into what is left of a larger one.
template <class Unit>
struct OfClock : TakesValue {
  static constexpr double kBound = Unit::kBound;
  static constexpr bool kTakesFractions = false;
  static constexpr bool kHasCalendars = false;

  // Both datetimes from the start of the clock. Units are counted from there, beside the larger ones,
  // and not from the last of these: neither waits for the other.
  static HWY_INLINE V setFromStart(V from, V v) {
    const V larger = floorTimes(from, Unit::kLargerPerMilli);
    const V units = floorTimes(from, Unit::kPerMilli);
    const V start = hn::MulAdd(larger, all(Unit::kLarger), v * all(Unit::kMillis));
    return start + hn::NegMulAdd(units, all(Unit::kMillis), from);
  }

  template <class>
  static HWY_INLINE Pair setWhole(V t, V v) {
    // A sum with t itself would be -0 for t and v of -0.
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
// The product v*1000 is rounded on its own, as in the plain code. The plain code adds it to the
// rest of the day, and then the day, each sum with its error; as days and minutes are whole
// milliseconds, both errors together are what the one sum here leaves: all of it is made of bits of
// the product (docs/numerics.md), so both give the one normalised pair of the exact sum.
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

// ---- The line that counts leap seconds ----

using DI = hn::RebindToSigned<D>;
using VI = hn::Vec<DI>;
constexpr DI di;

// What the bucket of a time says, in milliseconds: the UTC instant of its leap second, and the leap
// seconds before that.
struct Leap {
  V instant;
  V before;
};

// 2^52 and the number of a time's bucket, which then stands in the last bits.
HWY_INLINE V leapNumber(V t) {
  const V within =
      hn::Min(hn::Max(t, hn::Zero(d)), all((LeapBuckets::kCount - 1) * LeapBuckets::kMillis));
  return hn::MulAdd(within, all(LeapBuckets::kPerMilli), all(0x1p52));
}

HWY_INLINE Leap leapOfEntry(V entry) {
  const V instant = hn::Floor(entry);
  return {instant, (entry - instant) * all(LeapBuckets::kScale * kMillisPerSecond)};
}

// The better a set of x86, the smaller its number. All from AVX3 on have the instruction, which is of
// AVX-512BW, but a future one may have shorter vectors.
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3 && HWY_MAX_BYTES == 64
// All buckets in four registers.
constexpr bool kHasLeapRegisters = true;

// 2^52 and what the table has for the bucket: of the four 16-bit words of a number, the last one is
// replaced by that of the table, and the others stay.
HWY_INLINE V lookUp(const std::uint16_t (&table)[LeapBuckets::kCount], V number) {
  const __m512i words = _mm512_castpd_si512(number.raw);
  return V{_mm512_castsi512_pd(_mm512_mask2_permutex2var_epi16(
      _mm512_load_si512(table), words, 0x11111111, _mm512_load_si512(table + 32)))};
}

// The fused operations are exact, as their results are.
HWY_INLINE Leap leapOf(V t) {
  const V number = leapNumber(t);
  const V day = lookUp(kLeapBuckets.days, number), before = lookUp(kLeapBuckets.before, number);
  return {hn::MulSub(day, all(kMillisPerDay), all(0x1p52 * kMillisPerDay)),
          hn::MulSub(before, all(kMillisPerSecond), all(0x1p52 * kMillisPerSecond))};
}
#else
constexpr bool kHasLeapRegisters = false;

HWY_INLINE Leap leapOf(V t) {
  const VI number = hn::And(hn::BitCast(di, leapNumber(t)), hn::Set(di, LeapBuckets::kCount - 1));
  return leapOfEntry(hn::GatherIndex(d, kLeapBuckets.entries, number));
}
#endif

// The leap seconds, in milliseconds, inserted at or before a whole time or a pair, by the instant
// in question. A pair lies at or after a whole number where the sum of (t.hi - instant) and t.lo,
// which keeps its sign, is not negative.
HWY_INLINE M isAtOrAfter(V t, V instant) { return hn::Ge(t, instant); }
HWY_INLINE M isAtOrAfter(Pair t, V instant) { return hn::Ge((t.hi - instant) + t.lo, hn::Zero(d)); }
template <class Time>
HWY_INLINE V leapMillisUTC(Time utc, Leap leap) {
  return leap.before + hn::IfThenElseZero(isAtOrAfter(utc, leap.instant), all(kMillisPerSecond));
}
template <class Time>
HWY_INLINE V leapMillisElapsed(Time t, Leap leap) {
  return leapMillisUTC(t, {leap.instant + leap.before, leap.before});
}

// A component on that line. Before the first leap second zero is added to a whole number or a
// normalised pair, which leaves it as it is. Less than a minute does not lead out of a domain's room
// for results.
template <class Component>
struct CountingLeapSeconds : Component {
  // Setting whole milliseconds in its three steps, with what is known of a time on either line.
  static HWY_INLINE V toUTC(V t, Leap leap) { return t - leapMillisElapsed(t, leap); }
  template <class Calendar>
  static HWY_INLINE Pair setUTC(V utc, typename Component::New set) {
    return Component::template setWhole<Calendar>(utc, set);
  }
  static HWY_INLINE Pair fromUTC(Pair utc, Leap leap) {
    if constexpr (!Component::kTakesFractions) {
      return {utc.hi + leapMillisUTC(utc.hi, leap), utc.lo};
    } else {
      return add(utc, leapMillisUTC(utc, leap));
    }
  }

  template <class Calendar>
  static HWY_INLINE Pair setWhole(V t, typename Component::New set) {
    const Pair utc = setUTC<Calendar>(toUTC(t, leapOf(t)), set);
    return fromUTC(utc, leapOf(utc.hi));
  }

  static HWY_INLINE Pair set(Pair t, typename Component::New set) {
    const Pair utc = Component::set(subtract(t, leapMillisElapsed(t, leapOf(t.hi))), set);
    return add(utc, leapMillisUTC(utc, leapOf(utc.hi)));
  }
};

}  // namespace lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
