#include "arith/civil.h"

#include "arith/float_environment.h"
#include "arith/remainder.h"
#include "arith/rounding.h"

namespace {

using vmk_scalar::detail::CheckResetTheComputedResultToZeroForRemMod;
using vmk_scalar::detail::vmkFdlibm_fmod;
using vmk_scalar::detail::vmkFdlibm_mod;

// The largest count that the integer paths take, as a double.
constexpr double kLargestInt = 2147483647.0;

// Day 1 is 0000-01-01 when counted by 719529; 0000-03-01 is 61 days later.
constexpr double kDaysTo1970 = 719529.0;
constexpr double kDaysToMarch = 61.0;

constexpr int kDaysPer400Years = 146097;
constexpr int kDaysPerCentury = 36524;
constexpr int kDaysPer4Years = 1461;
constexpr int kDaysPerYear = 365;

constexpr double daysInMonth[12] = {31, 28, 31, 30, 31, 30,
                                    31, 31, 30, 31, 30, 31};  // a common year

// A date in a year that begins on 1 March: month 0 is March, 11 is February.
struct MarchDate {
  double year;
  double month;
  double day;  // from 1
};

// The date n days after 0000-03-01, for any n.
//
// Cycles of 400, 100, 4 and 1 years are divided off in turn. From March on, five months have 153 days in
// the pattern 31, 30, 31, 30, 31, so that month m begins floor((153m + 2)/5) days into the year, and day n
// of the year is in month floor((5n + 2)/153). Month m + 2 is computed, by 308 = 2 + 2 * 153; what is
// subtracted for the month, floor(153(m + 4)/5), is then 122 too much.
MarchDate marchDate(double n) {
  const double q400 = floorDouble(n / kDaysPer400Years);
  n = n + q400 * -kDaysPer400Years;  // [0, 146096]
  double century = floorDouble(n / kDaysPerCentury);
  if (!(century <= 3.0)) century = 3.0;  // the 29 February that closes the 400 years
  n = n + century * -kDaysPerCentury;    // [0, 36524]
  const double q4 = floorDouble(n / kDaysPer4Years);
  n = n + q4 * -kDaysPer4Years;  // [0, 1460]
  double year = floorDouble(n / kDaysPerYear);
  if (!(year <= 3.0)) year = 3.0;  // the 29 February that closes the 4 years
  n = n + year * -kDaysPerYear;    // [0, 365]
  const double month = floorDouble((n * 5.0 + 308.0) / 153.0) + -2.0;  // [0, 11]
  return {((q4 * 4.0 + q400 * 400.0) + century * 100.0) + year, month,
          ((n - floorDouble(((month + 4.0) * 153.0) / 5.0)) + 122.0) + 1.0};
}

// The compiler makes a multiplication of a division by a constant; std::div is a call and a division.
struct Division {
  int quot, rem;
};
constexpr Division divide(int n, int divisor) { return {n / divisor, n % divisor}; }

// The same in integers, where multiplications are faster than a double's division and floor. A fraction of n
// was dropped on the way here; callers pass whole numbers.
MarchDate marchDate(int n) {
  const Division by400 = divide(n, kDaysPer400Years);
  Division byCentury = divide(by400.rem, kDaysPerCentury);
  if (byCentury.quot > 3) byCentury = {3, by400.rem - 3 * kDaysPerCentury};
  const Division by4 = divide(byCentury.rem, kDaysPer4Years);
  Division byYear = divide(by4.rem, kDaysPerYear);
  if (byYear.quot > 3) byYear = {3, by4.rem - 3 * kDaysPerYear};
  const int month = (5 * byYear.rem + 308) / 153;              // [2, 13]
  const int day = byYear.rem + 123 - (month * 153 + 306) / 5;  // [1, 31]
  return {static_cast<double>(by400.quot * 400 + byCentury.quot * 100 + by4.quot * 4 + byYear.quot),
          static_cast<double>(month - 2), static_cast<double>(day)};
}

}  // namespace

void days2ymd(double days, double& year, double& month, double& day) {
  const double n = (days + kDaysTo1970) + -kDaysToMarch;
  const bool fitsInt = 0.0 <= n && n <= kLargestInt;  // false for NaN
  const MarchDate date = fitsInt ? marchDate(static_cast<int>(n)) : marchDate(n);
  year = date.year;
  day = date.day;
  if (date.month <= 9.0) {
    month = (date.month + 2.0) + 1.0;  // March..December
  } else {
    year = year + 1.0;
    month = (date.month + 2.0) + -11.0;  // January and February of the next civil year
  }
}

double ymd2days(double year, double month, double day) {
  if (month < 1.0 || month > 12.0) {
    const double fromJanuary = month - 1.0;
    const double years = floorDouble(fromJanuary / 12.0);
    year = year + years;
    month = (fromJanuary + years * -12.0) + 1.0;
  }
  if (month < 3.0) {
    month = month + 9.0;
    year = year - 1.0;
  } else {
    month = month - 3.0;
  }
  const double daysBeforeYear = (365.0 * year + floorDouble(0.25 * year)) -
                                floorDouble(year / 100.0) + floorDouble(year / 400.0);
  return (((daysBeforeYear + floorDouble((month * 153.0 + 2.0) / 5.0)) + day) + 60.0) + -719529.0;
}

void secs2hms(double secs, double& hour, double& minute, double& second) {
  if (0.0 <= secs && secs <= kLargestInt) {
    const Division byHour = divide(static_cast<int>(secs), 3600);
    const Division byMinute = divide(byHour.rem, 60);
    hour = byHour.quot;
    minute = byMinute.quot;
    second = byMinute.rem;
  } else {
    hour = floorDouble(secs / 3600.0);
    const double rest = secs + hour * -3600.0;
    minute = floorDouble(rest / 60.0);
    second = rest + minute * -60.0;
  }
}

bool isLeapYear(double year) {
  return vmkFdlibm_fmod(year, 4.0) == 0.0 &&
         (vmkFdlibm_fmod(year, 100.0) != 0.0 || vmkFdlibm_fmod(year, 400.0) == 0.0);
}

double daysBeforeMonth(double year, double month) {
  double days = 0.0;
  // The bound of 12 keeps astronomically large day numbers, whose month is meaningless, in the
  // table.
  for (int i = 0; i < 12 && i < month - 1.0; ++i) days += daysInMonth[i];
  return month > 2.0 && isLeapYear(year) ? days + 1.0 : days;
}

double weekOfYear(double days, double year, double month, double day) {
  const double dayOfYear = daysBeforeMonth(year, month) + day;
  const double firstOfJanuary = (days - dayOfYear) + 1.0;
  const double x = firstOfJanuary + 4.0;  // 1970-01-01 was a Thursday
  const double weekday =                  // Sunday 0 .. Saturday 6
      CheckResetTheComputedResultToZeroForRemMod(x, 7.0) ? 0.0 : vmkFdlibm_mod(x, 7.0);
  return ceilDouble(((dayOfYear + (weekday + 1.0)) + -1.0) / 7.0);
}
