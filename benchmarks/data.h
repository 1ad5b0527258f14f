// Arrays to measure with: random with a fixed seed, in memory that stays in use.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <vector>

#include "arith/doubledouble.h"
#include "base/field_codes.h"
#include "host/embed.h"
#include "unzoned/plain_walk.h"

// Names by which results are compared from one release to the next.
inline constexpr const char* kComponentNames[] = {
    "year",      "quarter", "month",  "weekOfYear", "dayOfMonth", "dayOfYear",
    "dayOfWeek", "hour",    "minute", "second",     "timeOfDay"};
static_assert(std::size(kComponentNames) == kComponents.size());

// What the elements are like.
struct Kind {
  const char* name;
  bool hasLow;       // a low part, without a fraction all zeros, as results have it
  bool hasFraction;  // in the low part
  bool leapSeconds;
  int specialPercent;  // of datetimes that are NaN or infinite
};

inline constexpr Kind kWhole{"whole", false, false, false, 0};
inline constexpr Kind kZeros{"zeros", true, false, false, 0};
inline constexpr Kind kFraction{"fraction", true, true, false, 0};
inline constexpr Kind kLeap{"leap", true, false, true, 0};
inline constexpr Kind kSpecial1{"special1", false, false, false, 1};
inline constexpr Kind kSpecial10{"special10", false, false, false, 10};

// splitmix64: fast enough to fill millions of elements before each measurement.
class FastRandom {
 public:
  std::uint64_t below(std::uint64_t bound) {
    std::uint64_t z = (state_ += 0x9e3779b97f4a7c15);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
    z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
    return static_cast<std::uint64_t>((static_cast<unsigned __int128>(z ^ (z >> 31)) * bound) >>
                                      64);
  }

 private:
  std::uint64_t state_ = 42;
};

inline double usualValue(FastRandom& random, Component component) {
  const auto from = [&](std::uint64_t first, std::uint64_t last) {
    return static_cast<double>(first + random.below(last - first + 1));
  };
  switch (component) {
    case Component::year:
      return from(1970, 2040);
    case Component::quarter:
      return from(1, 4);
    case Component::month:
      return from(1, 12);
    case Component::weekOfYear:
      return from(1, 53);
    case Component::dayOfMonth:
      return from(1, 31);
    case Component::dayOfYear:
      return from(1, 366);
    case Component::dayOfWeek:
      return from(1, 7);
    case Component::hour:
      return from(0, 23);
    case Component::minute:
      return from(0, 59);
    case Component::second:
      return from(0, 59999) / 1000.0;
    default:
      return from(0, 86399999) / 1000.0;
  }
}

// The arrays of the reference host, for a call of setFieldUTC.
class Arrays {
 public:
  Arrays(const Kind& kind, std::size_t n, bool oneValue, Component component) {
    const std::size_t dims[] = {n, 1}, one[] = {1, 1};
    datetimes = paCreateNumericArray(2, dims, paDOUBLE_CLASS, kind.hasLow ? paCOMPLEX : paREAL);
    values = paCreateNumericArray(2, oneValue ? one : dims, paDOUBLE_CLASS, paREAL);
    result = paCreateNumericArray(2, dims, paDOUBLE_CLASS, paCOMPLEX);
    elements = {.high = paGetRealData(datetimes),
                .low = paGetImagData(datetimes),
                .values = paGetRealData(values),
                .step = oneValue ? std::size_t{0} : 1,
                .resultHigh = paGetRealData(result),
                .resultLow = paGetImagData(result),
                .count = n};
    // Every page is written to, so that it is there.
    std::memset(elements.resultHigh, 1, n * sizeof(double));
    std::memset(elements.resultLow, 1, n * sizeof(double));
    FastRandom random;
    double* high = paGetRealData(datetimes);
    double* low = paGetImagData(datetimes);
    for (std::size_t i = 0; i < n; ++i) {
      high[i] = static_cast<double>(random.below(2208988800000));  // 1970 to 2040
      if (kind.hasFraction) {
        const double fraction = static_cast<double>(1 + random.below(1000000)) * 0x1p-36;
        const doubledouble t = quick_two_sum(high[i] + 1.0, fraction);
        high[i] = t.hi;
        low[i] = t.lo;
      }
      if (kind.specialPercent > 0 &&
          random.below(100) < static_cast<unsigned>(kind.specialPercent)) {
        high[i] = random.below(2) ? HUGE_VAL : NAN;
      }
    }
    double* v = paGetRealData(values);
    for (std::size_t i = 0; i < (oneValue ? 1 : n); ++i) v[i] = usualValue(random, component);
  }
  ~Arrays() {
    paDestroyArray(datetimes);
    paDestroyArray(values);
    paDestroyArray(result);
  }
  Arrays(const Arrays&) = delete;
  Arrays& operator=(const Arrays&) = delete;

  paArray *datetimes, *values, *result;
  Elements elements;
};
