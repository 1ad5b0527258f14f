// Pairs of doubles of every size and kind within 2^52 days of 1970.
#pragma once

#include <cmath>
#include <limits>
#include <random>

#include "arith/doubledouble.h"
#include "datetime/exact.h"

namespace plx {

inline constexpr double kSmallest = std::numeric_limits<double>::denorm_min();

class Pairs {
 public:
  explicit Pairs(unsigned seed) : random_(seed) {}

  doubledouble next() {
    doubledouble pair;
    do {
      const double hi = high();
      pair = two_sum(hi, low(hi));
    } while (!(std::fabs(pair.hi) <= kMaxMillis));
    return pair;
  }

 private:
  double high() {
    switch (random_() % 6) {
      case 0:
        return kMaxMillis * unit();
      case 1:
        return std::ldexp(unit(), exponent(-1073, 78));
      case 2:
        return std::ldexp(unit(), exponent(-30, 52));
      case 3:
        return std::floor(std::ldexp(unit(), exponent(1, 78)));
      case 4:
        return 0x1p42 * unit();  // some 140 years on both sides of 1970
      default:
        return std::floor(0x1p42 * unit());
    }
  }
  // At most half of the last place of hi.
  double low(double hi) {
    const double ulp = std::nextafter(std::fabs(hi), INFINITY) - std::fabs(hi);
    switch (random_() % 7) {
      case 0:
        return 0;
      case 1:
        return std::ldexp(unit(), -1022);  // subnormal
      case 2:
        return random_() % 2 ? ulp / 2 : -ulp / 2;
      case 3:
        return random_() % 2 ? kSmallest : -kSmallest;
      case 4:
        return std::ldexp(ulp * unit(), exponent(-80, -1));
      case 5:
        return std::trunc(ulp * unit() / 2);
      default:
        return ulp * unit() / 2;
    }
  }
  double unit() { return std::uniform_real_distribution<double>(-1, 1)(random_); }
  int exponent(int from, int to) { return std::uniform_int_distribution<int>(from, to)(random_); }

  std::mt19937_64 random_;
};

}  // namespace plx
