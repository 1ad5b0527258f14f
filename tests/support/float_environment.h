// Floating-point environments that a host may have.
#pragma once

#include <cfenv>
#include <cfloat>
#include <ostream>
#include <vector>
#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

struct FloatEnvironment {
  const char* name;
  int rounding = FE_TONEAREST;
  int traps = 0;                   // exceptions that end the process
  bool flushesSubnormals = false;  // results to zero, and operands taken for zero

  bool operator==(const FloatEnvironment& other) const {
    return rounding == other.rounding && traps == other.traps &&
           flushesSubnormals == other.flushesSubnormals;
  }
};

inline std::ostream& operator<<(std::ostream& out, const FloatEnvironment& e) {
  return out << e.name << ": rounding " << e.rounding << ", traps " << e.traps
             << (e.flushesSubnormals ? ", flushes subnormals" : "");
}

#if defined(__SSE2__)
inline constexpr bool kCanFlush = true;
inline constexpr unsigned kFlushBits = 0x8040;
inline bool flushesSubnormals() { return (_mm_getcsr() & kFlushBits) == kFlushBits; }
inline void flushSubnormals(bool flush) {
  _mm_setcsr((_mm_getcsr() & ~kFlushBits) | (flush ? kFlushBits : 0));
}
#else
inline constexpr bool kCanFlush = false;
inline bool flushesSubnormals() { return false; }
inline void flushSubnormals(bool) {}
#endif

inline FloatEnvironment floatEnvironmentNow() {
  return {"now", std::fegetround(), fegetexcept(), flushesSubnormals()};
}

inline void enter(const FloatEnvironment& environment) {
  fedisableexcept(FE_ALL_EXCEPT);
  std::feclearexcept(FE_ALL_EXCEPT);
  std::fesetround(environment.rounding);
  flushSubnormals(environment.flushesSubnormals && kCanFlush);
  feenableexcept(environment.traps);
}

// Runs something in an environment, and comes back to the one before. Returns the environment that
// it was left in. What runs is to be a call into another file: the compiler may move arithmetic of
// this one.
template <class Run>
FloatEnvironment runIn(const FloatEnvironment& environment, Run run) {
  const FloatEnvironment before = floatEnvironmentNow();
  enter(environment);
  run();
  const FloatEnvironment after = floatEnvironmentNow();
  enter(before);
  return after;
}

// The four roundings, with subnormals and without.
inline std::vector<FloatEnvironment> roundings() {
  std::vector<FloatEnvironment> all = {
      {"to nearest"}, {"down", FE_DOWNWARD}, {"up", FE_UPWARD}, {"toward zero", FE_TOWARDZERO}};
  if (kCanFlush) {
    for (const int i : {0, 1, 2, 3}) {
      all.push_back(all[static_cast<std::size_t>(i)]);
      all.back().flushesSubnormals = true;
    }
  }
  return all;
}
