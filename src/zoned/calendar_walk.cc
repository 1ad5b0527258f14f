#include "zoned/calendar_walk.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "arith/doubledouble.h"
#include "base/field_codes.h"
#include "base/raise.h"
#include "icu/checks.h"

namespace {

constexpr std::int32_t kIndefinite = std::numeric_limits<std::int32_t>::min();

// v truncated toward zero; kIndefinite where that leaves the 32-bit range.
std::int32_t truncatedToInt32(double v) {
  return -0x1p31 - 1.0 < v && v < 0x1p31 ? static_cast<std::int32_t>(v) : kIndefinite;
}

// a * b, wrapped to 32 bits.
std::int32_t wrappedProduct(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

// v as a whole number that the calendar can be given.
std::int32_t checkedWhole(Component component, double v) {
  const std::int32_t whole = truncatedToInt32(v);
  if (whole != v) raise(component_Pelmor::catalog_datetime::key_MustBeInteger());
  if (std::fabs(v) > factsOf(component).largestInZone) {
    raise(Pelmor::datetime::plxErrors::RangeError());
  }
  return whole;
}

// 1 Sunday .. 7 Saturday, wrapped into the week. ICU does the same, but overflows at the least
// integer.
std::int32_t weekday(std::int32_t v) {
  const std::int64_t fromSunday = (std::int64_t{v} - 1) % 7;
  return static_cast<std::int32_t>(fromSunday < 0 ? fromSunday + 7 : fromSunday) + 1;
}

// Sets the component in a calendar whose time is the datetime's. `fraction`: the part of the datetime
// below a millisecond. Returns the milliseconds to be added to the calendar's time.
double setComponent(icu::GregorianCalendar& calendar, Component component, double v,
                    double fraction) {
  switch (component) {
    case Component::timeOfDay: {
      const std::int32_t seconds = truncatedToInt32(v);
      calendar.set(UCAL_MILLISECONDS_IN_DAY, wrappedProduct(seconds, 1000));
      return (v - seconds) * 1000.0;
    }
    case Component::second: {
      const std::int32_t seconds = truncatedToInt32(v);
      calendar.set(UCAL_SECOND, seconds);
      calendar.set(UCAL_MILLISECOND, 0);
      return (v - seconds) * 1000.0;
    }
    case Component::quarter:  // the quarter's first month; the day of the month is kept and carries
      calendar.set(UCAL_MONTH, 3 * (checkedWhole(component, v) - 1));
      return fraction;
    case Component::month:
      calendar.set(UCAL_MONTH, checkedWhole(component, v) - 1);  // ICU counts from 0
      return fraction;
    case Component::dayOfWeek:
      calendar.set(UCAL_DAY_OF_WEEK, weekday(checkedWhole(component, v)));
      return fraction;
    case Component::year:
    case Component::weekOfYear:
    case Component::dayOfMonth:
    case Component::dayOfYear:
    case Component::hour:
    case Component::minute:
      calendar.set(fieldOf(component), checkedWhole(component, v));
      return fraction;
    case Component::none:  // no other field may reach ICU
      checkedWhole(component, v);
      break;
  }
  return fraction;
}

// One finite datetime with one component set.
doubledouble setOne(icu::GregorianCalendar& calendar, Component component, const doubledouble& t,
                    double v, UErrorCode& status) {
  const doubledouble floor = dd::Floor(t);
  const double fraction = dd::collapse(dd::subtract(t, floor));
  const double whole = dd::collapse(floor);

  checkICURange(whole);
  calendar.setTime(whole, status);
  checkICUStatus(status, "set calendar time value");

  const double added = setComponent(calendar, component, v, fraction);

  const double millis = calendar.getTime(status);
  checkICUStatus(status, "get calendar time value");
  checkICURange(millis);
  return two_sum(added, millis);
}

}  // namespace

icu::GregorianCalendar& CalendarWalk::calendar() {
  if (calendar_ == nullptr) {
    made_ = make_();
    calendar_ = made_.get();
  }
  return *calendar_;
}

void CalendarWalk::set(std::size_t i) {
  const Elements& e = elements_;
  const doubledouble t{e.high[i], e.low ? e.low[i] : 0.0};
  const double v = e.values[i * e.step];
  const doubledouble set = std::isfinite(v) && std::isfinite(t.hi)
                               ? setOne(calendar(), component_, t, v, status_)
                               : dd::add(v, t);
  e.resultHigh[i] = set.hi;
  e.resultLow[i] = set.lo;
}

void CalendarWalk::setAll() {
  for (std::size_t i = 0; i < elements_.count; ++i) set(i);
}
