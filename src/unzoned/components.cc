#include "unzoned/components.h"

#include "arith/civil.h"
#include "arith/remainder.h"

namespace {

using vmk_scalar::detail::CheckResetTheComputedResultToZeroForRemMod;
using vmk_scalar::detail::vmkFdlibm_fmod;
using vmk_scalar::detail::vmkFdlibm_mod;

struct Clock {
  double hour, minute, second;
};

DayAndTime withDate(DayAndTime t, const Date& date) {
  t.days = ymd2days(date.year, date.month, date.day);
  return t;
}

Clock clockOf(const DayAndTime& t) {
  const doubledouble seconds = dd::divide(t.msOfDay, kMillisPerSecond);
  Clock clock;
  secs2hms(dd::collapse(dd::Floor(seconds)), clock.hour, clock.minute, clock.second);
  return clock;
}

}  // namespace

DayAndTime takeApart(const doubledouble& t) {
  DayAndTime apart;
  apart.msOfDay = dd::DivMod(t, kMillisPerDay, apart.days);
  return apart;
}

doubledouble putTogether(const DayAndTime& t) {
  return dd::add(two_prod(t.days, kMillisPerDay), t.msOfDay);
}

DayAndTime setYear(DayAndTime t, double v) {
  Date date = dateOf(t.days);
  date.year = v;
  return withDate(t, date);
}

DayAndTime setQuarter(DayAndTime t, double v) { return setMonth(t, (v - 1.0) * 3.0 + 1.0); }

DayAndTime setMonth(DayAndTime t, double v) {
  Date date = dateOf(t.days);
  date.month = v;
  return withDate(t, date);
}

DayAndTime setWeekOfYear(DayAndTime t, double v) {
  Date date = dateOf(t.days);
  const double week = weekOfYear(t.days, date.year, date.month, date.day);
  date.day = date.day + (v - week) * 7.0;
  return withDate(t, date);
}

DayAndTime setDayOfMonth(DayAndTime t, double v) {
  Date date = dateOf(t.days);
  date.day = v;
  return withDate(t, date);
}

DayAndTime setDayOfYear(DayAndTime t, double v) {
  Date date = dateOf(t.days);
  const double before = daysBeforeMonth(date.year, date.month);
  date.day = (v - (before + date.day)) + date.day;  // in this order, which decides the rounding
  return withDate(t, date);
}

DayAndTime setDayOfWeek(DayAndTime t, double v) {
  Date date = dateOf(t.days);
  const double target = vmkFdlibm_fmod(v - 1.0, 7.0) + 1.0;  // keeps the sign of v - 1
  const double x = t.days + 4.0;                             // 1970-01-01 was a Thursday
  const double current =
      (CheckResetTheComputedResultToZeroForRemMod(x, 7.0) ? 0.0 : vmkFdlibm_mod(x, 7.0)) + 1.0;
  date.day = date.day + (target - current);
  return withDate(t, date);
}

DayAndTime setHour(DayAndTime t, double v) {
  t.msOfDay = dd::add(t.msOfDay, (v - clockOf(t).hour) * kMillisPerHour);
  return t;
}

DayAndTime setMinute(DayAndTime t, double v) {
  t.msOfDay = dd::add(t.msOfDay, (v - clockOf(t).minute) * kMillisPerMinute);
  return t;
}

DayAndTime setSecond(DayAndTime t, double v) {
  const Clock clock = clockOf(t);
  const double base = (clock.hour * 3600.0 + clock.minute * 60.0) * 1000.0;
  t.msOfDay = two_sum(v * kMillisPerSecond, base);
  return t;
}

DayAndTime setTimeOfDay(DayAndTime t, double v) {
  t.msOfDay = {v * kMillisPerSecond, 0.0};
  return t;
}

DayAndTime setNothing(DayAndTime t, double) { return withDate(t, dateOf(t.days)); }
