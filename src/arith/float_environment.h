// Refuses to compile where the arithmetic would not be plain IEEE double with every operation
// rounded once: the double-double code has no meaning anywhere else.
#pragma once

#include <cfloat>
#include <limits>

static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<double>::digits == 53,
              "needs IEEE 754 binary64 doubles");
static_assert(FLT_EVAL_METHOD == 0, "needs double expressions evaluated as doubles, not wider");
#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__)
#error "needs value-safe floating point: build without -ffast-math and -ffinite-math-only"
#endif
