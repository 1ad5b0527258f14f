// Exact remainders of doubles: truncated, floored, and a test for quotients that are whole but for
// rounding.
//
// The pattern of use is r = vmkFdlibm_mod(x, y) (or vmkFdlibm_fmod), then 0.0 in place of r where
// CheckResetTheComputedResultToZeroForRemMod(x, y) is true.
//
// Pure functions. No errors; the quiet NaN 0xFFF8000000000000 is the only signal.
#pragma once

namespace vmk_scalar::detail {

// x - trunc(x/y)*y, exactly, with the sign of x: vmkFdlibm_fmod(-1, 7) is -1.
// NaN when y is zero, or either is infinite or NaN. Unlike the standard library's fmod, an infinite
// divisor gives NaN and not x.
double vmkFdlibm_fmod(double x, double y);

// x - floor(x/y)*y, with the sign of y: vmkFdlibm_mod(-1, 7) is 6.
// x itself when y is zero; NaN when either is infinite or NaN. A zero result has the sign of y, but
// for x = +-0, which comes back. Where x and y differ in sign, the last step r + y rounds: the
// result can reach y (vmkFdlibm_mod(-1e-20, 7) is 7).
double vmkFdlibm_mod(double x, double y);

// Whether x/y lies within a relative 2^-52 of a whole number and y is no whole number: then a
// computed remainder is an artefact of rounding. (0.3, 0.1) is true; a whole y always gives false.
bool CheckResetTheComputedResultToZeroForRemMod(double x, double y);

}  // namespace vmk_scalar::detail
