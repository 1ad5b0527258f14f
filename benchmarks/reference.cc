#include "reference.h"

#include <cctz/civil_time.h>
#include <date/date.h>

#include <chrono>
#include <cmath>

#include "unzoned/lane_constants.h"

namespace {

#ifdef __x86_64__
#define VERSIONS __attribute__((target_clones("arch=x86-64-v4", "arch=x86-64-v3", "default")))
#else
#define VERSIONS
#endif

// The month set with a calendar in the style of std::chrono, which the date library began.
template <class Calendar>
void setMonthWith(const Elements& e, Calendar setMonthOfDay) {
  for (std::size_t i = 0; i < e.count; ++i) {
    const double day = std::floor(e.high[i] / kMillisPerDay);
    const double msOfDay = e.high[i] - day * kMillisPerDay;
    const int newDay = setMonthOfDay(static_cast<int>(day), static_cast<int>(e.values[i * e.step]));
    e.resultHigh[i] = newDay * kMillisPerDay + msOfDay;
    e.resultLow[i] = 0.0;
  }
}

VERSIONS void copyThree(const double* __restrict high, const double* __restrict low,
                        const double* __restrict values, double* __restrict resultHigh,
                        double* __restrict resultLow, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    resultHigh[i] = high[i];
    resultLow[i] = low[i] + values[i];
  }
}

VERSIONS void copyTwo(const double* __restrict high, const double* __restrict values,
                      double* __restrict resultHigh, double* __restrict resultLow, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    resultHigh[i] = high[i];
    resultLow[i] = values[i];
  }
}

VERSIONS void copyOne(const double* __restrict high, double value, double* __restrict resultHigh,
                      double* __restrict resultLow, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    resultHigh[i] = high[i];
    resultLow[i] = value;
  }
}

VERSIONS void monthLoop(const double* __restrict high, const double* __restrict values,
                        double* __restrict resultHigh, double* __restrict resultLow,
                        std::size_t count) {
  using namespace lanes;
  for (std::size_t i = 0; i < count; ++i) {
    const double n = std::floor((high[i] + kDaysFromMarch * kMillisPerDay) * kDaysPerMilli);
    const double from = n + 0.75;
    const double julian = from + std::ceil(std::floor(from * kCenturiesPerDay) * 0.75);
    const double year = std::floor(julian * kYearsPerDay);
    const double dayOfYear = julian - std::floor(year * 365.25);
    const double month = std::floor(dayOfYear * (5.0 / 153.0) + (2.5 - 3.75) / 153.0);
    const double day = dayOfYear - std::floor(month * 30.6 + 0.5);
    const double months = values[i] + (12.0 * kMoreYears - 3.0);
    const double years = std::floor(months * (1.0 / 12.0) + halfGap(12.0));
    const double newMonth = months - years * 12.0;
    const double newYear = (year + (dayOfYear >= 306.0 ? 1.0 : 0.0)) + years;
    const double first =
        std::floor(newYear * 365.25) - std::ceil(std::floor(newYear * kCenturiesPerYear) * 0.75);
    const double moved =
        ((first + std::floor(newMonth * 30.6 + 0.5)) + day) - (n + (kMoreDays + 0.75));
    resultHigh[i] = high[i] + moved * kMillisPerDay;
    resultLow[i] = 0.0;
  }
}

VERSIONS void hourLoop(const double* __restrict high, const double* __restrict values,
                       double* __restrict resultHigh, double* __restrict resultLow,
                       std::size_t count) {
  using namespace lanes;
  for (std::size_t i = 0; i < count; ++i) {
    const double from = high[i] + kClockStart;
    const double rest = from - std::floor(from * kDaysPerMilli) * kMillisPerDay;
    const double hour = std::floor(rest * Hour::kPerMilli);
    resultHigh[i] = (from + (values[i] - hour) * kMillisPerHour) - kClockStart;
    resultLow[i] = 0.0;
  }
}

// The single value is added, so that both loops with low parts compute as little.
VERSIONS void copyTwoAndValue(const double* __restrict high, const double* __restrict low,
                              double value, double* __restrict resultHigh,
                              double* __restrict resultLow, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    resultHigh[i] = high[i];
    resultLow[i] = low[i] + value;
  }
}

}  // namespace

void copyElements(const Elements& e) {
  if (e.low && !e.step) {
    copyTwoAndValue(e.high, e.low, e.values[0], e.resultHigh, e.resultLow, e.count);
  } else if (e.low) {
    copyThree(e.high, e.low, e.values, e.resultHigh, e.resultLow, e.count);
  } else if (e.step) {
    copyTwo(e.high, e.values, e.resultHigh, e.resultLow, e.count);
  } else {
    copyOne(e.high, e.values[0], e.resultHigh, e.resultLow, e.count);
  }
}

void setMonthChrono(const Elements& e) {
  using namespace std::chrono;
  setMonthWith(e, [](int day, int newMonth) {
    const year_month_day old{sys_days{days{day}}};
    const sys_days first{old.year() / month{static_cast<unsigned>(newMonth)} / 1};
    return static_cast<int>(first.time_since_epoch().count() +
                            static_cast<int>(static_cast<unsigned>(old.day())) - 1);
  });
}

void setMonthDate(const Elements& e) {
  using namespace date;
  setMonthWith(e, [](int day, int newMonth) {
    const year_month_day old{sys_days{days{day}}};
    const sys_days first{old.year() / month{static_cast<unsigned>(newMonth)} / 1};
    return static_cast<int>(first.time_since_epoch().count() +
                            static_cast<int>(static_cast<unsigned>(old.day())) - 1);
  });
}

void setMonthCctz(const Elements& e) {
  const cctz::civil_day epoch(1970, 1, 1);
  setMonthWith(e, [epoch](int day, int newMonth) {
    const cctz::civil_day old = epoch + day;
    return static_cast<int>(cctz::civil_day(old.year(), newMonth, old.day()) - epoch);
  });
}

void setMonthAutoVectorised(const Elements& e) {
  monthLoop(e.high, e.values, e.resultHigh, e.resultLow, e.count);
}

void setHourAutoVectorised(const Elements& e) {
  hourLoop(e.high, e.values, e.resultHigh, e.resultLow, e.count);
}

const char* autoVersion() {
#ifdef __x86_64__
  if (__builtin_cpu_supports("x86-64-v4")) return "x86-64-v4";
  if (__builtin_cpu_supports("x86-64-v3")) return "x86-64-v3";
#endif
  return "the default";
}
