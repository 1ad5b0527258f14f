// Exact rational arithmetic on doubles, for answers that owe nothing to floating point.
#pragma once

#include <boost/multiprecision/cpp_int.hpp>
#include <cmath>

#include "arith/doubledouble.h"

using Rational = boost::multiprecision::cpp_rational;
using Integer = boost::multiprecision::cpp_int;

// The value of a finite double.
inline Rational exactly(double x) {
  int exponent;
  const double fraction = std::frexp(x, &exponent);
  Integer numerator(static_cast<long long>(fraction * 0x1p53));
  exponent -= 53;
  if (exponent >= 0) return Rational(numerator << exponent);
  return Rational(numerator, Integer(1) << -exponent);
}

inline Rational exactly(const doubledouble& x) { return exactly(x.hi) + exactly(x.lo); }

// The largest whole number not above x.
inline Integer floorOf(const Rational& x) {
  Integer quotient, remainder;
  boost::multiprecision::divide_qr(numerator(x), denominator(x), quotient, remainder);
  return remainder < 0 ? quotient - 1 : quotient;
}

inline Rational magnitude(const Rational& x) { return x < 0 ? Rational(-x) : x; }
