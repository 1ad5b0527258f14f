// Floor and ceiling of a double: IEEE's, for every input. Whole numbers, infinities and NaN come
// back as they are, the sign of zero is kept, and ceilDouble of a value in (-1, 0) is -0.0.
#pragma once

#include <cmath>

#include "arith/float_environment.h"

inline double floorDouble(double x) { return std::floor(x); }
inline double ceilDouble(double x) { return std::ceil(x); }
