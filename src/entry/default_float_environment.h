// The default floating-point environment of IEEE 754 for the lifetime of an object: rounding to
// nearest, subnormal numbers in full, no traps. Afterwards modes and traps are those from before; the
// flags of exceptions are left with no meaning.
//
// The double-double transforms are exact in this environment alone. And in any environment they
// raise exceptions that are no errors: sums are inexact, comparisons with a NaN are invalid, and
// lanes of a vector may compute what is thrown away.
//
// The compiler knows nothing of environments and may move arithmetic out of the lifetime, but not
// calls of functions that it does not see into.
#pragma once

#if defined(__x86_64__)
#include <xmmintrin.h>
#else
#include <cfenv>
#endif

class DefaultFloatEnvironment {
 public:
  DefaultFloatEnvironment(const DefaultFloatEnvironment&) = delete;
  DefaultFloatEnvironment& operator=(const DefaultFloatEnvironment&) = delete;

#if defined(__x86_64__)
  // Doubles are computed by SSE, and its control register is all of their environment. To read it
  // takes 1 ns, to write it some 10, and <cfenv>, which has the x87 unit in mind too, hundreds.
  DefaultFloatEnvironment() : before_(_mm_getcsr()) {
    if (!wasDefault()) _mm_setcsr(kDefault);
  }
  ~DefaultFloatEnvironment() {
    if (!wasDefault()) _mm_setcsr(before_);
  }

 private:
  // All exceptions masked. Rounding to nearest is a field of zeros, and so are no flushing to zero
  // and no subnormals taken for zero.
  static constexpr unsigned kDefault = _MM_MASK_MASK;

  bool wasDefault() const { return (before_ & ~unsigned{_MM_EXCEPT_MASK}) == kDefault; }

  const unsigned before_;
#else
  DefaultFloatEnvironment() {
    std::fegetenv(&before_);
    std::fesetenv(FE_DFL_ENV);
  }
  ~DefaultFloatEnvironment() { std::fesetenv(&before_); }

 private:
  std::fenv_t before_;
#endif
};
