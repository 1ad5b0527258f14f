// A floating-point type of 113 significant bits or more, in which products of two doubles, and sums of two that
// are not too far apart, are exact.
#pragma once

#include <cfloat>

#if LDBL_MANT_DIG >= 113
using quad = long double;
#elif defined(__SIZEOF_FLOAT128__)
using quad = __float128;
#else
#error "these tests need a type of 113 bits: neither long double nor __float128 is one here"
#endif
