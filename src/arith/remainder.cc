#include "arith/remainder.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "arith/float_environment.h"
#include "arith/rounding.h"

namespace vmk_scalar::detail {
namespace {

const double kNan = std::bit_cast<double>(std::uint64_t{0xFFF8000000000000});

// A finite nonzero magnitude as significand * 2^exponent, with 2^52 <= significand < 2^53.
struct Scaled {
  std::int64_t significand;
  int exponent;
};

Scaled scaled(double magnitude) {
  int exponent;
  const double fraction = std::frexp(magnitude, &exponent);  // [1/2, 1), subnormals included
  return {static_cast<std::int64_t>(fraction * 0x1p53), exponent - 53};
}

// The remainder of |x| by |y|, for finite x and y with |x| > |y| > 0.
//
// Long division in base two, as fdlibm does it: the divisor is subtracted wherever it fits, once
// for each bit by which the exponents differ. Every step is exact in integers, and the result,
// smaller than y and a multiple of the last place of y or x, is a double.
double remainderOfMagnitudes(double x, double y) {
  Scaled r = scaled(std::fabs(x));
  const Scaled d = scaled(std::fabs(y));
  for (;; r.significand <<= 1, --r.exponent) {
    if (r.significand >= d.significand) r.significand -= d.significand;
    if (r.exponent == d.exponent || r.significand == 0) break;
  }
  return std::ldexp(static_cast<double>(r.significand), r.exponent);
}

}  // namespace

double vmkFdlibm_fmod(double x, double y) {
  if (y == 0.0 || !std::isfinite(x) || !std::isfinite(y)) return kNan;
  if (std::fabs(x) < std::fabs(y)) return x;
  if (std::fabs(x) == std::fabs(y)) return std::copysign(0.0, x);
  return std::copysign(remainderOfMagnitudes(x, y), x);
}

double vmkFdlibm_mod(double x, double y) {
  if (y == 0.0) return x;
  if (!std::isfinite(x) || !std::isfinite(y)) return kNan;
  const bool sameSign = std::signbit(x) == std::signbit(y);
  if (std::fabs(x) < std::fabs(y)) return sameSign || x == 0.0 ? x : x + y;
  if (std::fabs(x) == std::fabs(y)) return std::copysign(0.0, y);
  const double magnitude = remainderOfMagnitudes(x, y);
  if (magnitude == 0.0) return std::copysign(0.0, y);
  const double r = std::copysign(magnitude, x);
  return sameSign ? r : r + y;
}

bool CheckResetTheComputedResultToZeroForRemMod(double x, double y) {
  if (floorDouble(y) == y) return false;
  if (!std::isfinite(x) || !std::isfinite(y)) return false;
  const double q = x / y;
  const double n = std::round(q);  // halves away from zero
  return std::fabs(q - n) <= std::fabs(q) * 0x1p-52 || q == n;
}

}  // namespace vmk_scalar::detail
