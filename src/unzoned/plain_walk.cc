#include "unzoned/plain_walk.h"

#include <cmath>

#include "arith/doubledouble.h"
#include "arith/rounding.h"
#include "unzoned/components.h"
#include "unzoned/leap_seconds.h"

namespace {

using Setter = DayAndTime(DayAndTime t, double v);

Setter* setterOf(Component component) {
  switch (component) {
    case Component::year:
      return setYear;
    case Component::quarter:
      return setQuarter;
    case Component::month:
      return setMonth;
    case Component::weekOfYear:
      return setWeekOfYear;
    case Component::dayOfMonth:
      return setDayOfMonth;
    case Component::dayOfYear:
      return setDayOfYear;
    case Component::dayOfWeek:
      return setDayOfWeek;
    case Component::hour:
      return setHour;
    case Component::minute:
      return setMinute;
    case Component::second:
      return setSecond;
    case Component::timeOfDay:
      return setTimeOfDay;
    case Component::none:
      break;
  }
  return setNothing;
}

// One finite datetime with one component set.
doubledouble setOne(Setter* setter, const doubledouble& t, double v, bool leapSeconds) {
  const DayAndTime apart = takeApart(leapSeconds ? elapsedToUTC(t) : t);
  const doubledouble set = putTogether(setter(apart, v));
  return leapSeconds ? utcToElapsed(set) : set;
}

bool setByPlainCode(Setter* setter, bool isWhole, bool leapSeconds, const Elements& e,
                    std::size_t i) {
  const doubledouble t{e.high[i], e.low ? e.low[i] : 0.0};
  const double v = e.values[i * e.step];
  doubledouble set;
  if (std::isfinite(v) && std::isfinite(t.hi)) {
    if (isWhole && floorDouble(v) != v) return false;
    set = setOne(setter, t, v, leapSeconds);
  } else {
    set = dd::add(v, t);
  }
  e.resultHigh[i] = set.hi;
  e.resultLow[i] = set.lo;
  return true;
}

}  // namespace

bool setByPlainCode(Component component, bool leapSeconds, const Elements& elements,
                    std::size_t i) {
  return setByPlainCode(setterOf(component), !factsOf(component).takesFractions, leapSeconds,
                        elements, i);
}

std::size_t plainWalk(Component component, bool leapSeconds, const Elements& elements) {
  Setter* const setter = setterOf(component);
  const bool isWhole = !factsOf(component).takesFractions;
  for (std::size_t i = 0; i < elements.count; ++i) {
    if (!setByPlainCode(setter, isWhole, leapSeconds, elements, i)) return i;
  }
  return elements.count;
}
