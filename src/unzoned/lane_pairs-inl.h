// Setting one component of several datetimes at once: the arithmetic of components.h and
// leap_seconds.h with one datetime in each lane of a vector. The lanes are cut by subject, each file
// on top of the one before:
//
//   lane_pairs-inl.h        vectors of double-doubles, the domains of datetimes, quotients and floors
//   lane_calendar-inl.h     day numbers, years and months
//   lane_components-inl.h   the eleven components
//   lane_leaps-inl.h        the same on the time scale that counts leap seconds
//
// Every component is written for the domains below, each with the reason why its results are the
// plain code's, bit for bit. Lanes outside the domains compute something meaningless, with whatever
// floating-point exceptions (entry/default_float_environment.h masks them all), and are replaced by the
// caller.
//
// Compiled once for each instruction set, in a namespace of that set. No function template comes from
// outside: templates are compiled where they are used, here for the set, while the linker keeps one
// copy of an inline function, and a copy compiled for a newer set would be called, and fail, on older
// processors. Inline functions that are not templates are compiled where they stand, before this
// namespace and for every processor, and may be used; so may types and constants.
#pragma once

#include "dispatch/instruction_set-inl.h"

#include <hwy/cache_control.h>

#include "unzoned/lane_constants.h"

HWY_BEFORE_NAMESPACE();
namespace lanes::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using D = hn::ScalableTag<double>;
using V = hn::Vec<D>;
using M = hn::Mask<D>;
constexpr D d;

// Signed integers of the doubles' size, as many as a vector has doubles.
using DI = hn::RebindToSigned<D>;
using VI = hn::Vec<DI>;
constexpr DI di;

HWY_INLINE V all(double x) { return hn::Set(d, x); }

// Clears the upper halves of the vector registers (vzeroupper) before a return to code without vectors:
// SSE code runs at half speed while they are in use. The compiler does so itself before a return, but
// not where a function that it has called, and not inlined, used them last.
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
// part of -0 here: the last step is quickTwoSum() or twoSum(), which give a zero error as +0, since a - s
// or a - t is then +0, or cancels what is added to it. No result of the plain code has one either: its
// low part is the error of a sum a + b with a != -0.

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

// t - start, where start is the last multiple of a day not above t: the error of t.hi - start by a
// shorter formula than twoDifference(). Where t.hi >= 0 there is no error: start is zero, or t.hi >= 2^26
// and the difference, below 2^27, is a multiple of ulp(t.hi) >= 2^-26. Where t.hi < 0, start has the
// larger magnitude, and the formula is that of quickTwoSum().
HWY_INLINE Pair subtractDays(Pair t, V start) {
  const V s = t.hi - start;
  return foldLow({s, t.hi - (s + start)}, t.lo);
}

// ---- Results ----

// Where the results of some vectors begin, written as usual or by non-temporal stores, which bypass the
// caches and so avoid reading each cache line before it is overwritten.
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

// Either of the two, chosen at run time.
struct EitherPlace {
  double* HWY_RESTRICT high;
  double* HWY_RESTRICT low;
  bool isPastCaches;

  HWY_INLINE void store(Pair set, size_t i) const {
    isPastCaches ? PlacePastCaches{high, low}.store(set, i) : Place{high, low}.store(set, i);
  }
};

// Whether the results of a call bypass the caches: from kPastCaches elements on, where both blocks are
// aligned to whole vectors.
class PastCaches {
 public:
  HWY_INLINE PastCaches(double* high, double* low, size_t count)
      : areUsed_(count >= kPastCaches && isAligned(high) && isAligned(low)) {}
  PastCaches(const PastCaches&) = delete;
  PastCaches& operator=(const PastCaches&) = delete;
  // Non-temporal stores become visible to other threads in order with what follows only after a fence.
  HWY_INLINE ~PastCaches() {
    if (areUsed_) hwy::FlushStream();
  }

  // For whole vectors counted from the first element; a vector that begins elsewhere is not aligned.
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
  return hn::RebindMask(d, hn::Eq(hn::BitCast(di, bits), hn::Zero(di)));
}

// The new values that a component accepts: up to its bound, and whole unless it takes fractions.
template <class Component>
HWY_INLINE M isAccepted(V v) {
  if constexpr (Component::kTakesFractions) return isAtMost(v, Component::kBound);
  return hn::And(isAtMost(v, Component::kBound), isZeroBits(fractionBits(v)));
}

// Bits that must all be zero are OR-ed and tested once: a comparison takes longer than a logical operation.
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
// the rules about centuries can be left out: both calendars give the same results.
template <class Component>
HWY_INLINE M isJulianAndAccepted(Pair t, V v) {
  const M isBounded = hn::And(isAtMost(t.hi - all(kJulianMiddle), kJulianReach),
                              isAtMost(v - all(Component::kJulianValue), Component::kJulianBound));
  return hn::And(isBounded, areWhole<Component>(t, v));
}

// Normalised pairs up to 2^52 milliseconds whose last part that is not zero is at least 2^-700, far from
// the subnormals: the plain code divides a tiny negative low part to zero by underflow, and its floor then
// misses that the time lies just below a whole day. Here the sums of the plain code are kept step by
// step, and only its quotients and floors are replaced, by floorQuotient() below.
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

// floor(t / unit) for a pair of the domain of isPair() and a unit of 1000 to 86400000 milliseconds.
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
// candidate is never too small, even without an offset.
HWY_INLINE V floorQuotientOfDay(Pair t, double unit, double unitsPerMilli) {
  const V candidate = floorTimes(t.hi, unitsPerMilli);
  const V rest = t.hi - candidate * all(unit);
  const M isTooLarge = hn::Lt(rest + t.lo, hn::Zero(d));
  return candidate - hn::IfThenElseZero(isTooLarge, all(1.0));
}

}  // namespace lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
