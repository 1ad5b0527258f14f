#include "unzoned/set_field_utc.h"

#include <cmath>
#include <cstddef>

#include "arith/rounding.h"
#include "entry/field_codes.h"
#include "entry/raise.h"
#include "unzoned/components.h"
#include "unzoned/leap_seconds.h"

namespace {

struct Component {
  DayAndTime (*set)(DayAndTime t, double v);
  bool isWhole;  // the new value must be a whole number
};

Component componentOf(UCalendarDateFields field) {
  switch (static_cast<int>(field)) {
    case UCAL_EXTENDED_YEAR:
      return {setYear, true};
    case kQuarterField:
      return {setQuarter, true};
    case UCAL_MONTH:
      return {setMonth, true};
    case UCAL_WEEK_OF_YEAR:
      return {setWeekOfYear, true};
    case UCAL_DATE:
      return {setDayOfMonth, true};
    case UCAL_DAY_OF_YEAR:
      return {setDayOfYear, true};
    case UCAL_DAY_OF_WEEK:
      return {setDayOfWeek, true};
    case UCAL_HOUR_OF_DAY:
      return {setHour, true};
    case UCAL_MINUTE:
      return {setMinute, true};
    case UCAL_SECOND:
      return {setSecond, false};
    case UCAL_MILLISECONDS_IN_DAY:
      return {setTimeOfDay, false};
    default:
      return {setNothing, true};
  }
}

// One finite datetime with one component set.
doubledouble setOne(const Component& component, const doubledouble& t, double v, bool leapSeconds) {
  if (component.isWhole && floorDouble(v) != v) {
    raise(component_Pelmor::catalog_datetime::key_MustBeInteger());
  }
  const DayAndTime apart = takeApart(leapSeconds ? elapsedToUTC(t) : t);
  const doubledouble set = putTogether(component.set(apart, v));
  return leapSeconds ? utcToElapsed(set) : set;
}

}  // namespace

void setFieldUTC(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
                 paArray* result, bool leapSeconds) {
  const std::size_t n = paGetNumberOfElements(result);
  const double* high = paGetRealData(datetimes);
  const double* low = paIsComplex(datetimes) ? paGetImagData(datetimes) : nullptr;
  const double* value = paGetRealData(values);
  const std::size_t step = paGetNumberOfElements(values) == 1 ? 0 : 1;
  double* resultHigh = paGetRealData(result);
  double* resultLow = paGetImagData(result);

  const Component component = componentOf(field);
  for (std::size_t i = 0; i < n; ++i, value += step) {
    const doubledouble t{high[i], low ? low[i] : 0.0};
    const doubledouble set = std::isfinite(*value) && std::isfinite(t.hi)
                                 ? setOne(component, t, *value, leapSeconds)
                                 : dd::add(*value, t);
    resultHigh[i] = set.hi;
    resultLow[i] = set.lo;
  }
}
