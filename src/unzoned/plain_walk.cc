#include "unzoned/plain_walk.h"

#include <cmath>

#include "arith/doubledouble.h"
#include "arith/rounding.h"
#include "unzoned/components.h"
#include "unzoned/leap_seconds.h"

namespace {

struct Setter {
  DayAndTime (*set)(DayAndTime t, double v);
  bool isWhole;  // the new value must be a whole number
};

Setter setterOf(Component component) {
  switch (component) {
    case Component::year:
      return {setYear, true};
    case Component::quarter:
      return {setQuarter, true};
    case Component::month:
      return {setMonth, true};
    case Component::weekOfYear:
      return {setWeekOfYear, true};
    case Component::dayOfMonth:
      return {setDayOfMonth, true};
    case Component::dayOfYear:
      return {setDayOfYear, true};
    case Component::dayOfWeek:
      return {setDayOfWeek, true};
    case Component::hour:
      return {setHour, true};
    case Component::minute:
      return {setMinute, true};
    case Component::second:
      return {setSecond, false};
    case Component::timeOfDay:
      return {setTimeOfDay, false};
    case Component::none:
      break;
  }
  return {setNothing, true};
}

// One finite datetime with one component set.
doubledouble setOne(const Setter& setter, const doubledouble& t, double v, bool leapSeconds) {
  const DayAndTime apart = takeApart(leapSeconds ? elapsedToUTC(t) : t);
  const doubledouble set = putTogether(setter.set(apart, v));
  return leapSeconds ? utcToElapsed(set) : set;
}

bool setElement(const Setter& setter, bool leapSeconds, const Elements& e, std::size_t i) {
  const doubledouble t{e.high[i], e.low ? e.low[i] : 0.0};
  const double v = e.values[i * e.step];
  doubledouble set;
  if (std::isfinite(v) && std::isfinite(t.hi)) {
    if (setter.isWhole && floorDouble(v) != v) return false;
    set = setOne(setter, t, v, leapSeconds);
  } else {
    set = dd::add(v, t);
  }
  e.resultHigh[i] = set.hi;
  e.resultLow[i] = set.lo;
  return true;
}

}  // namespace

bool setElement(Component component, bool leapSeconds, const Elements& elements, std::size_t i) {
  return setElement(setterOf(component), leapSeconds, elements, i);
}

std::size_t plainWalk(Component component, bool leapSeconds, const Elements& elements) {
  const Setter setter = setterOf(component);
  for (std::size_t i = 0; i < elements.count; ++i) {
    if (!setElement(setter, leapSeconds, elements, i)) return i;
  }
  return elements.count;
}
