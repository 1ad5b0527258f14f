#include "unzoned/components.h"

#include <gtest/gtest.h>

#include <chrono>

#include "support/bits.h"
#include "support/cases.h"
#include "support/exact.h"
#include "support/integer_calendar.h"
#include "support/random.h"

namespace {

using Setter = DayAndTime (*)(DayAndTime, double);

doubledouble set(Setter setter, const doubledouble& t, double v) {
  return putTogether(setter(takeApart(t), v));
}

// Milliseconds of a date and a time of day.
double ms(int year, unsigned month, unsigned day, double timeOfDay = 0.0) {
  using namespace std::chrono;
  const sys_days days{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}};
  return static_cast<double>(days.time_since_epoch().count()) * 86400000.0 + timeOfDay;
}

constexpr double at(double hour, double minute, double second) {
  return ((hour * 60 + minute) * 60 + second) * 1000;
}

TEST(Components, Rows) {
  const double clock = at(8, 30, 15.25);
  const struct {
    Setter setter;
    double t, v, expected;
    const char* why;
  } rows[] = {
      {setMonth, ms(2014, 5, 10, clock), 13, ms(2015, 1, 10, clock),
       "month 13 is the next January"},
      {setMonth, ms(2014, 5, 10, clock), 0, ms(2013, 12, 10, clock),
       "month 0 is the December before"},
      {setMonth, ms(2014, 5, 31), 2, ms(2014, 3, 3), "31 February is 3 March"},
      {setDayOfMonth, ms(2014, 5, 10, clock), 0, ms(2014, 4, 30, clock),
       "day 0 ends the month before"},
      {setDayOfMonth, ms(2014, 5, 10, clock), 32, ms(2014, 6, 1, clock), "day 32 begins the next"},
      {setDayOfYear, ms(2001, 5, 10), 60, ms(2001, 3, 1), "day 60 of a common year"},
      {setDayOfYear, ms(2000, 5, 10), 60, ms(2000, 2, 29), "and of a leap year"},
      {setDayOfYear, ms(1900, 5, 10), 60, ms(1900, 3, 1), "1900 is no leap year"},
      {setDayOfYear, ms(2000, 2, 29), 366, ms(2000, 12, 31), "the last day of a leap year"},
      {setDayOfYear, ms(2000, 1, 31), 0, ms(1999, 12, 31), "day 0"},
      {setDayOfWeek, ms(2015, 1, 1), 1, ms(2014, 12, 28), "a Thursday goes back 4 days to Sunday"},
      {setDayOfWeek, ms(2015, 1, 1), 8, ms(2014, 12, 28), "8 is that Sunday too"},
      {setDayOfWeek, ms(2015, 1, 1), 14, ms(2015, 1, 3), "14 is Saturday of the same week"},
      {setDayOfWeek, ms(2015, 1, 1), 0, ms(2014, 12, 27), "0 is the Saturday before"},
      {setDayOfWeek, ms(2015, 1, 1), -6, ms(2014, 12, 28), "-6 is Sunday of the same week"},
      {setDayOfWeek, ms(2014, 12, 28), 7, ms(2015, 1, 3), "from Sunday to Saturday"},
      {setQuarter, ms(2014, 11, 20, clock), 2, ms(2014, 4, 20, clock),
       "the first month of the quarter"},
      {setQuarter, ms(2014, 11, 30), 5, ms(2015, 1, 30), "quarter 5 is the next year's first"},
      {setQuarter, ms(2014, 5, 31), 2, ms(2014, 5, 1), "31 April is 1 May"},
      {setYear, ms(2012, 2, 29, clock), 2013, ms(2013, 3, 1, clock),
       "29 February of a common year"},
      {setYear, ms(2014, 5, 10), 0, ms(0, 5, 10), "year 0 exists"},
      {setYear, ms(2014, 5, 10), -44, ms(-44, 5, 10), "and years before it"},
      {setWeekOfYear, ms(2012, 1, 3, clock), 2, ms(2012, 1, 10, clock), "the weekday stays"},
      {setWeekOfYear, ms(2012, 12, 31), 1, ms(2012, 1, 2), "31 December is in week 53 of its year"},
      {setWeekOfYear, ms(2014, 5, 10), 60, ms(2014, 5, 10) + 41 * 7 * 86400000.0,
       "week 60 carries"},
      {setHour, ms(2014, 5, 10, clock), 0, ms(2014, 5, 10, at(0, 30, 15.25)), "midnight"},
      {setHour, ms(2014, 5, 10, clock), 25, ms(2014, 5, 11, at(1, 30, 15.25)), "hour 25 carries"},
      {setHour, ms(2014, 5, 10, clock), -1, ms(2014, 5, 9, at(23, 30, 15.25)), "hour -1 too"},
      {setMinute, ms(2014, 5, 10, clock), 59, ms(2014, 5, 10, at(8, 59, 15.25)), "minute"},
      {setMinute, ms(2014, 5, 10, clock), 60, ms(2014, 5, 10, at(9, 0, 15.25)),
       "minute 60 carries"},
      {setSecond, ms(2014, 5, 10, clock), 30.25, ms(2014, 5, 10, at(8, 30, 30.25)),
       "with its fraction"},
      {setSecond, ms(2014, 5, 10, clock), 0, ms(2014, 5, 10, at(8, 30, 0)),
       "the old one is dropped"},
      {setSecond, ms(2014, 5, 10, clock), -0.5, ms(2014, 5, 10, at(8, 29, 59.5)), "below zero"},
      {setTimeOfDay, ms(2014, 5, 10, clock), 3600, ms(2014, 5, 10, at(1, 0, 0)), "one o'clock"},
      {setTimeOfDay, ms(2014, 5, 10, clock), 86400, ms(2014, 5, 11), "the next midnight"},
      {setTimeOfDay, ms(1969, 5, 10, clock), -0.5, ms(1969, 5, 9, at(23, 59, 59.5)), "below zero"},
      {setNothing, ms(2014, 5, 10, clock), 99, ms(2014, 5, 10, clock), "nothing changes"},
      {setNothing, ms(-9999, 2, 28, clock), 99, ms(-9999, 2, 28, clock), "nothing changes"},
  };
  for (const auto& r : rows) {
    EXPECT_SAME_BITS(set(r.setter, {r.t, 0.0}, r.v), (doubledouble{r.expected, 0.0})) << r.why;
  }
}

// What is below the component stays, whatever is set: the fraction of a date's or an hour's value.
TEST(Components, FractionsStay) {
  const doubledouble t = two_sum(ms(2014, 5, 10, at(8, 30, 15)), 0.1);
  const struct {
    Setter setter;
    double v;
  } setters[] = {{setYear, 2014},     {setQuarter, 2},     {setMonth, 5},     {setWeekOfYear, 19},
                 {setDayOfMonth, 10}, {setDayOfYear, 130}, {setDayOfWeek, 7}, {setHour, 8},
                 {setMinute, 30},     {setNothing, 0}};
  for (const auto& s : setters)
    EXPECT_SAME_BITS(set(s.setter, t, s.setter == setQuarter ? 2 : s.v),
                     s.setter == setQuarter ? set(setMonth, t, 4) : t);
}

// A plain oracle in integers, for whole milliseconds, where the arithmetic must be exact.
double expectedMillis(Setter setter, std::int64_t t, std::int64_t v) {
  using namespace integer_calendar;
  constexpr Int kDay = 86400000;
  const Int day = floorDiv(t, kDay), time = t - day * kDay;
  const Date date = dateOf(day);
  const auto onDay = [&](Int newDay) { return static_cast<double>(newDay * kDay + time); };
  const auto at = [](Int millis) { return static_cast<double>(millis); };
  if (setter == setYear) return onDay(firstOfMonth(v, date.month) + date.day - 1);
  if (setter == setQuarter) return onDay(firstOfMonth(date.year, 3 * (v - 1) + 1) + date.day - 1);
  if (setter == setMonth) return onDay(firstOfMonth(date.year, v) + date.day - 1);
  if (setter == setDayOfMonth) return onDay(firstOfMonth(date.year, date.month) + v - 1);
  if (setter == setDayOfYear) return onDay(firstOfYear(date.year) + v - 1);
  if (setter == setWeekOfYear) {
    const Int sunday = firstOfYear(date.year) - weekday(firstOfYear(date.year));
    return onDay(day + 7 * (v - 1 - floorDiv(day - sunday, 7)));
  }
  if (setter == setDayOfWeek) return onDay(day - weekday(day) + (v - 1) % 7);  // % keeps the sign
  if (setter == setHour) return at(t + (v - time / 3600000) * 3600000);
  if (setter == setMinute) return at(t + (v - time / 60000 % 60) * 60000);
  if (setter == setSecond) return at(t - time % 60000 + v * 1000);
  if (setter == setTimeOfDay) return at(day * kDay + v * 1000);
  return at(t);
}

TEST(Components, WholeMillisecondsAgreeWithIntegerArithmetic) {
  const struct {
    Setter setter;
    std::int64_t range;  // of new values
  } setters[] = {{setYear, 20000},        {setQuarter, 10000},        {setMonth, 30000},
                 {setWeekOfYear, 9000},   {setDayOfMonth, 90000},     {setDayOfYear, 90000},
                 {setDayOfWeek, 90000},   {setHour, 1000000},         {setMinute, 50000000},
                 {setSecond, 1000000000}, {setTimeOfDay, 1000000000}, {setNothing, 10}};
  Random random(1);
  Cases cases(12 * 50000);
  for (const auto& s : setters) {
    for (int i = 0; i < 50000; ++i) {
      // Years -9000 to 9000; half of the times at a second's, a day's or a month's edge.
      std::int64_t t = random.whole(-346000000000000, 221000000000000);
      if (random.oneIn(2)) t -= t % (random.oneIn(2) ? 86400000 : 1000);
      if (random.oneIn(4)) --t;
      const std::int64_t v =
          random.oneIn(2) ? random.whole(-s.range, s.range) : random.whole(-2, 70);
      ASSERT_SAME_BITS(set(s.setter, {static_cast<double>(t), 0.0}, static_cast<double>(v)),
                       (doubledouble{expectedMillis(s.setter, t, v), 0.0}))
          << "setter " << &s - setters << " of " << t << " to " << v;
      ++cases;
    }
  }
}

// With a fraction, everything but the second and the time of day moves by whole milliseconds, and
// the fraction's bits survive as far as a double-double holds them.
TEST(Components, FractionsMoveByWholeMilliseconds) {
  const struct {
    Setter setter;
    std::int64_t range;
  } setters[] = {{setYear, 4000},      {setQuarter, 100},     {setMonth, 300},
                 {setWeekOfYear, 900}, {setDayOfMonth, 9000}, {setDayOfYear, 9000},
                 {setDayOfWeek, 900},  {setHour, 1000},       {setMinute, 5000}};
  Random random(2);
  Cases cases(9 * 20000);
  for (const auto& s : setters) {
    for (int i = 0; i < 20000; ++i) {
      const std::int64_t whole = random.whole(-62000000000000, 100000000000000);
      // A fraction of 40 bits: the sum of whole and fraction then has at most 87.
      const double fraction =
          std::ldexp(static_cast<double>(random.whole(0, (1LL << 40) - 1)), -40);
      const doubledouble t = two_sum(static_cast<double>(whole), fraction);
      const std::int64_t v = random.whole(-s.range, s.range);
      const Rational expected = exactly(expectedMillis(s.setter, whole, v)) + exactly(fraction);
      const doubledouble result = set(s.setter, t, static_cast<double>(v));
      ASSERT_EQ(exactly(result), expected)
          << "setter " << &s - setters << " of " << t << " to " << v;
      ASSERT_EQ(result.hi, result.hi + result.lo) << "normalised";
      ++cases;
    }
  }
}

TEST(Components, AnythingFiniteIsSafe) {
  const Setter setters[] = {setYear,       setQuarter,   setMonth,     setWeekOfYear,
                            setDayOfMonth, setDayOfYear, setDayOfWeek, setHour,
                            setMinute,     setSecond,    setTimeOfDay, setNothing};
  Random random(3);
  Cases cases(12 * 20000);
  for (const Setter setter : setters) {
    for (int i = 0; i < 20000; ++i) {
      const double hi = std::isfinite(random.anyBits()) ? random.ofExponent(-1070, 1020) : 0.0;
      const double v = std::floor(random.ofExponent(-1, 1020));
      const doubledouble result = set(setter, {hi, random.anyBits()}, v);
      ASSERT_FALSE(std::isnan(result.lo));
      ++cases;
    }
  }
}

}  // namespace
