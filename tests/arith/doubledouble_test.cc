#include "arith/doubledouble.h"

#include <gtest/gtest.h>

#include "support/bits.h"
#include "support/cases.h"
#include "support/exact.h"
#include "support/length.h"
#include "support/quad.h"
#include "support/random.h"

namespace {

// The product of two doubles is exact in 113 bits, and so is its difference from the rounded
// product.
quad errorOfProduct(double a, double b, double p) { return static_cast<quad>(a) * b - p; }

TEST(TwoProd, Rows) {
  const struct {
    double a, b;
    doubledouble expected;
    const char* why;
  } rows[] = {
      {0.1, 86400000.0, {8640000.0, 0x1.07acp-31}, "a time unit"},
      {1e300, 1e300, {kInf, 0.0}, "overflow clears the error"},
      {kInf, 3.0, {kInf, 0.0}, "infinite"},
      {kInf, 1000.0, {kInf, 0.0}, "infinite, by a time unit"},
      {kInf, 0.0, {kNan, 0.0}, "infinity by zero"},
      {kNan, 3.0, {kNan, 0.0}, "NaN"},
      {3.0, kNan, {kNan, 0.0}, "NaN"},
      {DBL_MAX,
       0.3,
       {DBL_MAX * 0.3, kInf},
       "the high halves overflow although the product does not"},
      {-0.0, 1000.0, {-0.0, 0.0}, "a zero keeps its sign"},
      {0x1p1000, 3.0, {0x1.8p1001, 0.0}, "huge: halved at another scale"},
  };
  for (const auto& r : rows) EXPECT_SAME_BITS(two_prod(r.a, r.b), r.expected) << r.why;
}

TEST(TwoProd, IsExact) {
  Random random(1);
  Cases cases(ofWhole(500000));
  const double units[] = {86400000.0, 1000.0, 1000000.0, 60000.0, 3600000.0, 3.0, 0.1, 7.0};
  for (int i = 0; i < ofWhole(500000); ++i) {
    const double a = random.ofExponent(-60, 80);
    const double b = random.oneIn(2) ? units[random.whole(0, 7)] : random.ofExponent(-60, 80);
    const doubledouble p = two_prod(a, b);
    ASSERT_EQ(p.hi, a * b);
    ASSERT_TRUE(errorOfProduct(a, b, p.hi) == p.lo) << a << " * " << b;
    ++cases;
  }
}

// Above 6.7e299 an operand is halved at another scale; the halves still add up and stay short.
TEST(Split, HalvesAreExactAndShort) {
  Random random(2);
  Cases cases(ofWhole(200000));
  for (int i = 0; i < ofWhole(200000); ++i) {
    const double x = random.oneIn(3) ? random.ofExponent(990, 1021) : random.ofExponent(-900, 995);
    const Halves h = split(x);
    ASSERT_TRUE(static_cast<quad>(h.high) + h.low == x) << x;
    // 26 bits and a sign: scaled to its exponent, a half is a whole multiple of 2^-26.
    for (const double half : {h.high, h.low}) {
      int exponent;
      const double scaled = std::ldexp(std::frexp(half, &exponent), 26);
      ASSERT_EQ(scaled, std::floor(scaled)) << x;
    }
    ++cases;
  }
}

TEST(Split, WhatIsNotFiniteIsInTheHighHalfAlone) {
  for (const double x : {kInf, -kInf, kNan}) {
    const Halves h = split(x);
    EXPECT_SAME_BITS(h.high, x);
    EXPECT_SAME_BITS(h.low, 0.0);
  }
}

TEST(Sums, AreExact) {
  Random random(3);
  Cases cases(ofWhole(400000));
  for (int i = 0; i < ofWhole(400000); ++i) {
    const int spread = i % 2 ? 3 : 50;
    const double a = random.ofExponent(-spread, spread), b = random.ofExponent(-spread, spread);
    const doubledouble s = two_sum(a, b), d = two_difference(a, b);
    ASSERT_EQ(s.hi, a + b);
    ASSERT_EQ(d.hi, a - b);
    ASSERT_TRUE(static_cast<quad>(a) + b == static_cast<quad>(s.hi) + s.lo);
    ASSERT_TRUE(static_cast<quad>(a) - b == static_cast<quad>(d.hi) + d.lo);
    const doubledouble q = std::fabs(a) >= std::fabs(b) ? quick_two_sum(a, b) : quick_two_sum(b, a);
    ASSERT_SAME_BITS(q, s);
    ++cases;
  }
}

TEST(Sums, NanErrorsAreCleared) {
  for (const double x : {kInf, -kInf, kNan}) {
    for (const double y : {0.0, 1.0, kInf, -kInf, kNan}) {
      EXPECT_SAME_BITS(two_sum(x, y), (doubledouble{x + y, 0.0}));
      EXPECT_SAME_BITS(two_difference(y, x), (doubledouble{y - x, 0.0}));
      EXPECT_SAME_BITS(quick_two_sum(x, y), (doubledouble{x + y, 0.0}));
    }
  }
  EXPECT_SAME_BITS(two_sum(DBL_MAX, DBL_MAX), (doubledouble{kInf, 0.0})) << "overflow";
}

TEST(Sums, ZerosKeepTheirSign) {
  EXPECT_SAME_BITS(dd::add(doubledouble{-0.0, 0.0}, -0.0), (doubledouble{-0.0, 0.0}));
  EXPECT_SAME_BITS(dd::add(-0.0, doubledouble{-0.0, -0.0}), (doubledouble{-0.0, 0.0}));
  EXPECT_SAME_BITS(dd::subtract(doubledouble{-0.0, 0.0}, 0.0), (doubledouble{-0.0, 0.0}));
}

TEST(Floor, Rows) {
  const struct {
    doubledouble x, expected;
    const char* why;
  } rows[] = {
      {{5.0, -1e-20}, {4.0, 0.0}, "the low part takes a whole number below itself"},
      {{5.0, 1e-20}, {5.0, 0.0}, "or leaves it"},
      {{5.5, 0.0}, {5.0, 0.0}, "a fraction in the high part"},
      {{5.5, -1e-20}, {5.0, 0.0}, "which the low part cannot move"},
      {{-0.0, 0.0}, {-0.0, 0.0}, "a zero keeps its sign"},
      {{-0.5, 0.0}, {-1.0, 0.0}, "floored, not truncated"},
      {{5.0, -0.0}, {5.0, 0.0}, "a zero low part is +0"},
      {{1e17, 2.5}, {1e17, 2.0}, "a low part of its own whole part"},
      {{1e17, -2.5}, {1e17, -3.0}, "and below zero"},
      {{kInf, 0.0}, {kInf, 0.0}, "infinite"},
      {{-kInf, 0.0}, {-kInf, 0.0}, "infinite"},
      {{kNan, 1.0}, {kNan, 0.0}, "NaN"},
  };
  for (const auto& r : rows) EXPECT_SAME_BITS(dd::Floor(r.x), r.expected) << r.why;
}

// A random normalised pair with hi of the given exponents.
doubledouble randomPair(Random& random, int low, int high) {
  const double hi =
      random.oneIn(3) ? std::floor(random.ofExponent(low, high)) : random.ofExponent(low, high);
  if (random.oneIn(4)) return {hi, 0.0};
  const double ulp = std::nextafter(std::fabs(hi), kInf) - std::fabs(hi);
  return quick_two_sum(hi, random.real(-0.5, 0.5) * ulp);
}

TEST(Floor, AgreesWithExactArithmetic) {
  Random random(4);
  Cases cases(ofWhole(100000));
  for (int i = 0; i < ofWhole(100000); ++i) {
    const doubledouble x = randomPair(random, -3, 90);
    const doubledouble floor = dd::Floor(x);
    ASSERT_EQ(exactly(floor), Rational(floorOf(exactly(x)))) << x;
    ASSERT_EQ(floor.hi, floor.hi + floor.lo) << "normalised " << floor;
    ++cases;
  }
}

TEST(DivMod, Rows) {
  constexpr double kDay = 86400000.0;
  const struct {
    doubledouble a;
    double b, q;
    doubledouble r;
    const char* why;
  } rows[] = {
      {{-1.0, 0.0}, kDay, -1.0, {86399999.0, 0.0}, "floored, not truncated"},
      {{kDay * 3 + 5.0, 0.0}, kDay, 3.0, {5.0, 0.0}, "whole"},
      {{0.0, 0.0}, kDay, 0.0, {0.0, 0.0}, "zero"},
      {{-0.0, 0.0}, kDay, 0.0, {0.0, -0.0}, "a negative zero: its sign ends in the low part"},
      {{1e17, 0.25}, kDay, 1157407407.0, {35200000.25, 0.0}, "the fraction stays in the remainder"},
      {{kDay, -5e-324}, kDay, 1.0, {-5e-324, 0.0}, "no correction where a quotient rounds up"},
      {{kNan, 0.0}, kDay, kNan, {kNan, 0.0}, "NaN"},
      {{kInf, 0.0}, kDay, kInf, {kNan, 0.0}, "infinite"},
      {{5.0, 0.0}, 0.0, kNan, {kNan, 0.0}, "by zero"},
  };
  for (const auto& r : rows) {
    double q = 0.0;
    EXPECT_SAME_BITS(dd::DivMod(r.a, r.b, q), r.r) << r.why;
    EXPECT_SAME_BITS(q, r.q) << r.why;
  }
}

// In the range of days that a double counts exactly, quotient and remainder recompose the dividend
// exactly for whole milliseconds and to 2^-100 of dividend and divisor with a fraction.
TEST(DivMod, AgreesWithExactArithmetic) {
  Random random(5);
  Cases cases(ofWhole(90000));
  const double divisors[] = {86400000.0, 1000.0, 60000.0, 3600000.0};
  for (int i = 0; i < ofWhole(100000); ++i) {
    doubledouble a = randomPair(random, 0, 70);
    const bool isWhole = random.oneIn(2);
    if (isWhole) a = dd::Floor(a);
    const double b = divisors[random.whole(0, 3)];
    double q = 0.0;
    const doubledouble r = dd::DivMod(a, b, q);
    const Rational quotient(floorOf(exactly(a) / exactly(b)));
    if (magnitude(quotient) > Rational(Integer(1) << 53)) continue;  // q is rounded there
    const Rational remainder = exactly(a) - exactly(q) * exactly(b);
    if (isWhole) {
      ASSERT_EQ(exactly(q), quotient) << a << " by " << b;
      ASSERT_EQ(exactly(r), remainder) << a << " by " << b;
    } else {
      // The quotient may be one too large at a boundary, by less than its own rounding.
      const Rational bound = (magnitude(exactly(a)) + exactly(b)) / Rational(Integer(1) << 100);
      ASSERT_LE(magnitude(exactly(r) - remainder), bound) << a << " by " << b;
      ASSERT_GE(exactly(r), -bound) << a << " by " << b;
      ASSERT_LE(exactly(r), exactly(b) + bound) << a << " by " << b;
    }
    ++cases;
  }
}

// Rounded quotients are near, and products of a pair are.
TEST(DivideAndMultiply, AgreeWithExactArithmetic) {
  Random random(6);
  Cases cases(ofWhole(50000));
  for (int i = 0; i < ofWhole(50000); ++i) {
    const doubledouble a = randomPair(random, -20, 90);
    const double b = random.oneIn(2) ? 86400000.0 : random.ofExponent(-20, 30);
    const Rational tolerance(Integer(1), Integer(1) << 100);
    const Rational quotient = exactly(a) / exactly(b), product = exactly(a) * exactly(b);
    ASSERT_LE(magnitude(exactly(dd::divide(a, b)) - quotient), magnitude(quotient) * tolerance);
    ASSERT_LE(magnitude(exactly(dd::multiply(a, b)) - product), magnitude(product) * tolerance);
    const doubledouble c = randomPair(random, -20, 90);
    const Rational sum = exactly(a) + exactly(c);
    // Sloppy only relative to the operands, where they cancel.
    const Rational size = magnitude(exactly(a)) + magnitude(exactly(c));
    ASSERT_LE(magnitude(exactly(dd::add(a, c)) - sum), size * tolerance) << a << c;
    const Rational difference = exactly(a) - exactly(c);
    ASSERT_LE(magnitude(exactly(dd::subtract(a, c)) - difference), size * tolerance) << a << c;
    ++cases;
  }
}

}  // namespace
