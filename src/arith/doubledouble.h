// Double-double arithmetic: pairs of doubles that carry some 106 bits.
//
// A doubledouble {hi, lo} stands for hi + lo exactly. It is normalised: hi is the double nearest to
// the value, so |lo| <= ulp(hi)/2. lo is never NaN: every error term that comes out NaN (after an
// infinity or a NaN in hi) is replaced by +0.0, so special values live in hi alone.
//
// The error-free transforms below are Dekker's (1971) and Knuth's (TAOCP 2, 4.2.2). Each gives the
// rounded result and the rounding error, exactly, unless something overflows or the error of a
// product would be subnormal. The order of operations decides every rounding: never reorder, never
// fuse a product with a sum. The results are the same with and without an FMA unit.
//
// Pure functions; no errors.
#pragma once

#include <cmath>

#include "arith/float_environment.h"
#include "arith/rounding.h"

// The unit sizes of the millisecond time line.
inline constexpr double kMillisPerSecond = 1000.0;
inline constexpr double kMillisPerMinute = 60000.0;
inline constexpr double kMillisPerHour = 3600000.0;
inline constexpr double kMillisPerDay = 86400000.0;

struct doubledouble {
  double hi;  // the double nearest to the value
  double lo;  // the rest
};

inline double zeroIfNan(double error) { return std::isnan(error) ? 0.0 : error; }

// a + b for any a and b.
inline doubledouble two_sum(double a, double b) {
  const double s = a + b;
  const double t = s - b;
  return {s, zeroIfNan((a - t) + (b - (s - t)))};
}

// a - b for any a and b.
inline doubledouble two_difference(double a, double b) {
  const double s = a - b;
  const double t = s - a;
  return {s, zeroIfNan((a - (s - t)) - (b + t))};
}

// a + b where |a| >= |b|.
inline doubledouble quick_two_sum(double a, double b) {
  const double s = a + b;
  return {s, zeroIfNan(b - (s - a))};
}

struct Halves {
  double high;
  double low;
};

// x as high + low, each of at most 26 significant bits, so that products of halves are exact.
// Infinities and NaN come back in `high`, with a `low` of 0.
inline Halves split(double x) {
  constexpr double kSplitter = 0x1p27 + 1;             // 134217729
  constexpr double kLargest = 0x1.fffffffffffffp+995;  // 6.69692879491417e+299
  constexpr double kDown = 0x1p-28, kUp = 0x1p28;
  static_assert(kLargest * kSplitter <= DBL_MAX, "the splitting product must not overflow");
  if (std::fabs(x) <= kLargest) {
    const double t = kSplitter * x;
    const double high = t - (t - x);
    return {high, x - high};
  }
  if (!std::isfinite(x)) return {x, 0.0};
  const Halves scaled = split(x * kDown);  // exact: powers of two, and nothing near the subnormals
  return {scaled.high * kUp, scaled.low * kUp};
}

// A factor of at most 17 significant bits, which needs no splitting.
inline bool isTimeUnit(double b) {
  return b == kMillisPerDay || b == kMillisPerSecond || b == 1000000.0 || b == kMillisPerMinute ||
         b == kMillisPerHour;
}

// {p, e} with p = a*b rounded and p + e == a*b exactly, unless something overflows or e would be
// subnormal. An operand that is infinite or NaN gives {a*b, 0}.
//
// Both factors are cut into halves of at most 26 bits, so the partial products are exact, and in
// this order every sum is exact too. A time unit needs no cutting: 86400000 = 2^10 * 84375 has 17
// significant bits, and 26 + 17 <= 53.
//
// Only a NaN error term is cleared. Where the product of two high halves overflows although a*b
// does not, e is infinite: two_prod(DBL_MAX, 0.3) is {5.39e307, +inf}.
inline doubledouble two_prod(double a, double b) {
  const Halves x = split(a);
  const double p = a * b;
  double e;
  if (isTimeUnit(b)) {
    e = (x.high * b - p) + x.low * b;
  } else {
    const Halves y = split(b);
    e = (((x.high * y.high - p) + x.low * y.high) + x.high * y.low) + x.low * y.low;
  }
  return {p, zeroIfNan(e)};
}

namespace dd {

// In the functions below, a test against zero skips a renormalisation that could not change the
// value. It stays because it decides the sign of a zero result.
//
// The bounds on relative errors, with u = 2^-53, are those of Joldes, Muller and Popescu, "Tight and
// rigorous error bounds for basic building blocks of double-word arithmetic" (2017), for normalised
// operands and where nothing overflows or becomes subnormal. The names are the paper's.

// The result {s.hi, s.lo} of a transform on the high parts, with a low part folded in.
inline doubledouble foldLow(const doubledouble& s, double lo) {
  return lo != 0.0 ? quick_two_sum(s.hi, lo + s.lo) : s;
}

// Sums and differences of a double-double and a double (DWPlusFP): at most 2u^2.
inline doubledouble add(const doubledouble& a, double b) { return foldLow(two_sum(a.hi, b), a.lo); }
inline doubledouble add(double a, const doubledouble& b) { return foldLow(two_sum(a, b.hi), b.lo); }
inline doubledouble subtract(const doubledouble& a, double b) {
  return foldLow(two_difference(a.hi, b), a.lo);
}

// The results of a transform on the high parts and of one on the low parts, as one number.
inline doubledouble fold(const doubledouble& high, const doubledouble& low) {
  return foldLow(foldLow(high, low.hi), low.lo);
}

// a + b and a - b of two double-doubles (AccurateDWPlusDW): at most 3u^2/(1 - 4u).
inline doubledouble add(const doubledouble& a, const doubledouble& b) {
  return fold(two_sum(a.hi, b.hi), two_sum(a.lo, b.lo));
}
inline doubledouble subtract(const doubledouble& a, const doubledouble& b) {
  return fold(two_difference(a.hi, b.hi), two_difference(a.lo, b.lo));
}

// a * b (DWTimesFP2): at most 3u^2.
inline doubledouble multiply(const doubledouble& a, double b) {
  const doubledouble m = two_prod(a.hi, b);
  const double t = a.lo * b;
  return t != 0.0 ? quick_two_sum(m.hi, m.lo + t) : m;
}

// a / b (DWDivFP3): at most 3u^2. The difference s has no error: q1 is the rounded quotient. Nor does the
// sum of q2 and 0 change q2, which is no zero there.
inline doubledouble divide(const doubledouble& a, double b) {
  const double q1 = a.hi / b;
  const doubledouble p = two_prod(q1, b);
  const doubledouble s = a.hi == p.hi ? doubledouble{0.0, 0.0} : two_difference(a.hi, p.hi);
  const double q2 = (((s.lo + a.lo) - p.lo) + s.hi) / b;
  return q2 == 0.0 ? doubledouble{q1, 0.0} : quick_two_sum(q1, q2 + 0.0);
}

// The largest whole number not above x. Floor({5.0, -1e-20}) is {4.0, 0.0}.
inline doubledouble Floor(doubledouble const& x) {
  const double high = floorDouble(x.hi);
  // Where hi has a fraction, lo cannot move the floor: |lo| <= ulp(hi)/2.
  if (high != x.hi) return {high, 0.0};
  const double low = floorDouble(x.lo);
  if (low == 0.0) return {high, 0.0};
  return quick_two_sum(high, low + 0.0);
}

// x as one double.
inline double collapse(const doubledouble& x) { return x.hi + x.lo; }

// Floored division: the remainder a - floor(a/b)*b, and in q the quotient as one double.
// DivMod({-1.0, 0.0}, 86400000.0, q) gives q = -1 and {86399999.0, 0.0}.
//
// There is no correction step: for b > 0 the remainder lies in [0, b) up to the rounding of the
// quotient, and just below zero where a quotient rounds up at an exact boundary
// ({86400000, -5e-324} gives q = 1).
inline doubledouble DivMod(doubledouble const& a, double b, double& q) {
  const doubledouble whole = Floor(divide(a, b));
  q = collapse(whole);
  return subtract(a, multiply(whole, b));
}

}  // namespace dd
