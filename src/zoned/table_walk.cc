#include "zoned/table_walk.h"

#include <cmath>

#include "arith/doubledouble.h"
#include "base/calendar_limits.h"
#include "base/wall_setting.h"

namespace {

bool accepts(const ComponentFacts& facts, double v) {
  if (facts.takesFractions) {
    return std::fabs(v) <
           (facts.component == Component::second ? kLargest32Bits : kLargestSeconds) + 1.0;
  }
  return facts.component != Component::none && v == std::trunc(v) && -kLargest32Bits - 1.0 <= v &&
         v <= kLargest32Bits && std::fabs(v) <= facts.largestInZone;
}

bool isInRange(double ms) { return std::fabs(ms) <= kMaxCalendarMillis; }

}  // namespace

bool setByTable(const OffsetTable& table, Component component, const Elements& e, std::size_t i) {
  const doubledouble t{e.high[i], e.low ? e.low[i] : 0.0};
  const double v = e.values[i * e.step];
  const ComponentFacts& facts = factsOf(component);
  doubledouble result;
  if (!std::isfinite(v) || !std::isfinite(t.hi)) {
    result = dd::add(v, t);
  } else {
    const doubledouble floor = dd::Floor(t);
    const double whole = dd::collapse(floor);
    if (!isInRange(whole) || !accepts(facts, v)) return false;

    const double local = whole + offsetAt(table.instants(), whole);
    const double day = floorDivide(local, kMillisPerDay);
    const double ms = local - day * kMillisPerDay;
    // Second and time of day replace what is below a millisecond; elsewhere it stays.
    const double seconds = std::trunc(v);
    const double added =
        facts.takesFractions ? (v - seconds) * 1000.0 : dd::collapse(dd::subtract(t, floor));
    const WallClock<1000> set = wallClockWith<1000>(component, {day, ms}, seconds);
    const double wall = set.day * kMillisPerDay + set.time;
    const double millis = wall - offsetAt(table.walls(), wall);
    if (!isInRange(millis)) return false;
    result = two_sum(added, millis);
  }
  e.resultHigh[i] = result.hi;
  e.resultLow[i] = result.lo;
  return true;
}

void setByTableOrCalendar(const OffsetTable& table, Component component, const Elements& elements,
                          std::size_t i, CalendarWalk& calendar) {
  if (!setByTable(table, component, elements, i)) calendar.set(i);
}

void tableWalk(const OffsetTable& table, Component component, const Elements& elements,
               CalendarWalk& calendar) {
  for (std::size_t i = 0; i < elements.count; ++i)
    setByTableOrCalendar(table, component, elements, i, calendar);
}
