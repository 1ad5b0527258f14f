// The eleven components in lanes, in a time zone.
//
// Each says which new values it accepts (kBound) and which of these are near (kNearest), which wall time
// it makes of another one, by either calendar (setWall), and, if it takes fractions, what it sets below a
// millisecond (below). Its wall times count from `kStart` milliseconds before 1970, which are added and
// taken away with the offsets.
#pragma once

#include <type_traits>

#include "unzoned/lane_components-inl.h"
#include "zoned/lane_offsets-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zone_lanes::HWY_NAMESPACE {

// What all components but second and time of day have in common: values are whole.
template <class Component, class Near>
struct OfWhole {
  static constexpr double kBound =
      Component::kBound < kLargest32Bits ? Component::kBound : kLargest32Bits;
  static constexpr bool kTakesFractions = false;
  static constexpr Reach kReach = Near::kReach;

  // A value is near if it lies no further than kNearest from the middle of the near values.
  static HWY_INLINE V fromMiddle(V v) { return v - all(Near::kMiddle); }
  static constexpr double kNearest = Near::kMost;
};

// For dates the near values are those for which the Julian calendar serves; they can lead anywhere.
template <class Date>
struct NearJulian {
  static constexpr Reach kReach = Reach::any;
  static constexpr double kMiddle = Date::kJulianValue, kMost = Date::kJulianBound;
};

template <class Date, class Near = NearJulian<Date>>
struct SetDate : OfWhole<Date, Near> {
  static constexpr double kStart = 0.0;
  using New = typename Date::New;
  template <class Calendar>
  static HWY_INLINE New newOf(V v) {
    return Date::template newOf<Calendar>(v);
  }
  template <class Calendar>
  static HWY_INLINE V setWall(V wall, New set) {
    return OfDate<Date>::template setWhole<Calendar>(wall, set).hi;
  }
};

template <class Unit, class Near>
struct SetClock : OfWhole<Unit, Near> {
  static constexpr double kStart = lanes::kClockStart;
  using New = V;
  template <class>
  static HWY_INLINE V newOf(V v) {
    return v;
  }
  template <class>
  static HWY_INLINE V setWall(V wall, V v) {
    return OfClock<Unit>::setFromStart(wall, v);
  }
};

// Seconds since a unit began; their fraction replaces the datetime's part below a millisecond.
template <class Component>
struct SetSeconds {
  using Unit = typename Component::Unit;
  static constexpr double kBound = Component::kBound;
  static constexpr double kStart = lanes::kClockStart;
  static constexpr bool kTakesFractions = true;
  static constexpr Reach kReach = NearSecond::kReach;

  using New = V;  // milliseconds
  template <class>
  static HWY_INLINE V newOf(V v) {
    return hn::Trunc(v) * all(kMillisPerSecond);
  }
  template <class>
  static HWY_INLINE V setWall(V wall, V millis) {
    return hn::MulAdd(floorTimes(wall, Unit::kPerMilli), all(Unit::kMillis), millis);
  }
  static HWY_INLINE V below(V v) { return (v - hn::Trunc(v)) * all(kMillisPerSecond); }
  static HWY_INLINE V fromMiddle(V v) { return v; }
  static constexpr double kNearest = NearSecond::kMost;
};

struct Second {
  using Unit = lanes::Minute;
  static constexpr double kBound = kLargest32Bits;
};
struct TimeOfDay {
  using Unit = lanes::Day;
  static constexpr double kBound = kLargestSeconds;
};

// In a zone, as in ICU's calendar, a week belongs to the year of its Saturday.
struct SetWeekOfYearOfSaturday : FromJanuary, NearZero, TakesValue {
  static constexpr double kBound = lanes::kWeekBound;
  static constexpr double kJulianBound = kBound;
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, V v) {
    const V week = sundays(n);
    const V january = Calendar::firstOfJanuary(week * all(7.0));  // day 0 was a Saturday
    return (v - (week - sundays(january) + all(1.0))) * all(7.0);
  }
};

// In a zone, as in ICU's calendar, values below 1 stay within the week, too.
struct SetDayWithinWeek : FromJanuary, NearZero {
  static constexpr double kBound = kWeekdayBound;
  static constexpr double kJulianBound = kBound;
  using New = V;  // days after Sunday
  template <class Calendar>
  static HWY_INLINE V newOf(V v) {
    const V from = v + all(kWeekdayStart - 1.0);
    return hn::NegMulAdd(floorTimes(from, lanes::kWeeksPerDay), all(7.0), from);
  }
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, V set) {
    return SetDayOfWeek::daysMoved<Calendar>(n, set);
  }
};

// The distance of kReachMillis for a component, and whether it may move a datetime anywhere.
template <class Component>
constexpr double kReachOf = kReachMillis[static_cast<int>(Component::kReach)];
template <class Component>
constexpr bool kIsFar = Component::kReach == Reach::any;
// Margin that a series keeps from the first and the last edge of its stretches, so that its wall times
// lie in the same stretches; none for components that move datetimes anywhere, whose wall times are
// compared with edges of their own.
template <class Component>
constexpr double kInnerMargin = kIsFar<Component> ? 0.0 : kReachOf<Component>;

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
