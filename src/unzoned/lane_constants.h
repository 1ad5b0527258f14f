// The constants of the vector arithmetic: bounds of the domains, calendar origins, reciprocals in place
// of divisors, and a table of leap seconds that needs no search. All are computed at compile time.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "arith/doubledouble.h"
#include "unzoned/leap_seconds.h"

namespace lanes {

// From this many results on, stores bypass the caches: two arrays of 2^19 doubles are 8 MiB, about one
// core's share of the last cache.
inline constexpr std::size_t kPastCaches = 1 << 19;

// ---- Domains ----

// Milliseconds.
inline constexpr double kWholeBound = 0x1p49;  // 562949953421312, some 17,800 years
inline constexpr double kPairBound = 0x1p52;   // 4503599627370496, some 142,700 years

// The arithmetic of whole milliseconds holds this far beyond their bound: wall times are less than a
// day from instants.
inline constexpr double kWholeRoom = kMillisPerDay;

// New values: within these bounds a datetime within 2^49 has a result within 2^52, and a datetime within
// 2^52 a result within 2^53, as leadsNoFurther() shows.
inline constexpr double kYearBound = 0x1p16;
inline constexpr double kQuarterBound = 0x1p18;
inline constexpr double kMonthBound = 0x1p20;
inline constexpr double kWeekBound = 0x1p21;
inline constexpr double kDayBound = 0x1p24;
inline constexpr double kHourBound = 0x1p28;
inline constexpr double kMinuteBound = 0x1p34;
inline constexpr double kSecondsBound = 0x1p40;

// Whether new values up to `bound`, in units of at most `millis` milliseconds, keep the results of whole
// datetimes within 2^52, and so those of pairs within 2^53. Years count from year 0, 719528 days before
// 1970; the old value that any other component takes away is less than that.
constexpr bool leadsNoFurther(double bound, double millis) {
  return kWholeBound + kWholeRoom + bound * millis + 719528.0 * kMillisPerDay < 0x1p52;
}
static_assert(leadsNoFurther(kYearBound, 366.0 * kMillisPerDay));
static_assert(leadsNoFurther(kQuarterBound, 92.0 * kMillisPerDay));
static_assert(leadsNoFurther(kMonthBound, 31.0 * kMillisPerDay));
static_assert(leadsNoFurther(kWeekBound, 7.0 * kMillisPerDay));
static_assert(leadsNoFurther(kDayBound, kMillisPerDay));
static_assert(leadsNoFurther(kHourBound, kMillisPerHour));
static_assert(leadsNoFurther(kMinuteBound, kMillisPerMinute));
static_assert(leadsNoFurther(kSecondsBound, kMillisPerSecond));

// The Julian domain: datetimes at most 96 years of 365.25 days from 2000-01-01, which are those of 1904
// to 2095 and the first moment of 2096, and new values that keep every year on the way between March
// 1900 and February 2100.
inline constexpr double kJulianMiddle = 946684800000.0;  // 2000-01-01
inline constexpr double kJulianReach = 96.0 * 365.25 * kMillisPerDay;
inline constexpr double kJulianMiddleYear = 2000.0;
inline constexpr double kJulianYearReach = 99.0;
inline constexpr double kJulianQuarterBound = 8.0;
inline constexpr double kJulianMonthBound = 24.0;

// ---- Origins ----

inline constexpr double kDaysPer400Years = 146097.0;

// Days count from 360 cycles of 400 years before 0000-03-01 or 0000-01-01, so that every day of either
// domain has a positive number.
inline constexpr double kCycles = 360.0;
inline constexpr double kYearsBefore0 = kCycles * 400.0;
inline constexpr double kDaysFromMarch = 719468.0 + kCycles * kDaysPer400Years;
inline constexpr double kDaysFromJanuary = 719528.0 + kCycles * kDaysPer400Years;
static_assert(kPairBound / kMillisPerDay + 1.0 < kDaysFromMarch);
static_assert(kYearBound + 1.0 < kYearsBefore0);

// In the Julian domain days count from 1888-03-01, or from 1888-01-01, a Saturday, of the calendar in
// which 1900 is a leap year, too. From March 1900 on its dates are the Gregorian ones.
inline constexpr double kJulianYear0 = 1888.0;
inline constexpr double kJulianDaysFromMarch = 29891.0;
inline constexpr double kJulianDaysFromJanuary = kJulianDaysFromMarch + 60.0;
static_assert(kJulianDaysFromMarch == 25508.0 + 3.0 * 1461.0);  // 1900-03-01 and twelve years

// Years added to every month, so that a month far in the past does not lead to a negative year.
inline constexpr double kMoreYears = 250.0 * 400.0;
inline constexpr double kMoreDays = 250.0 * kDaysPer400Years;
static_assert(kMonthBound + 3.0 < 12.0 * kMoreYears && 3.0 * kQuarterBound < kMonthBound);

// Clocks count milliseconds from a midnight that lies more than 2^49 milliseconds before 1970.
inline constexpr double kClockStart = 6600000.0 * kMillisPerDay;
static_assert(kWholeBound + kWholeRoom < kClockStart);

// ---- Factors in place of divisors ----

// The relative excess of x over 1/divisor: computed exactly, and rounded once.
constexpr double excess(double x, std::int64_t divisor) {
  const auto bits = std::bit_cast<std::uint64_t>(x);
  const auto significand = static_cast<__int128>((bits & 0xfffffffffffff) | 0x10000000000000);
  const auto one = static_cast<__int128>(1) << (1075 - static_cast<int>(bits >> 52));
  return static_cast<double>(significand * divisor - one) / static_cast<double>(one);
}

constexpr double neighbour(double x, int places) {
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(x) +
                               static_cast<std::uint64_t>(places));
}

// 1/divisor, rounded up and rounded down.
constexpr double reciprocalAbove(std::int64_t divisor) {
  const double x = 1.0 / static_cast<double>(divisor);
  return excess(x, divisor) >= 0.0 ? x : neighbour(x, 1);
}
constexpr double reciprocalBelow(std::int64_t divisor) {
  const double x = 1.0 / static_cast<double>(divisor);
  return excess(x, divisor) <= 0.0 ? x : neighbour(x, -1);
}

// Whether floor(x * factor) equals floor(x / divisor), or for a factor that is rounded down
// ceil(x * factor) equals ceil(x / divisor), for every whole x from 0 to `largest`. See floorTimes(): the
// error at the last x before a multiple (after one, for ceilings) must be smaller than 1/divisor.
constexpr bool divides(double factor, std::int64_t divisor, double largest) {
  const double quotient = largest / static_cast<double>(divisor) + 1.0;
  const double halfPlace =
      static_cast<double>(std::bit_floor(static_cast<std::uint64_t>(quotient)));
  const double e = excess(factor, divisor);
  return (e < 0.0 ? -e : e) * quotient + halfPlace * 0x1p-53 < 1.0 / static_cast<double>(divisor);
}

// The largest milliseconds, days and years, counted from the origins above.
inline constexpr double kLargestMillis =
    kDaysFromJanuary * kMillisPerDay + kWholeBound + kWholeRoom;
inline constexpr double kLargestClock = kClockStart + kWholeBound + kWholeRoom;
inline constexpr double kLargestDay = kDaysFromJanuary + kPairBound / kMillisPerDay + 1.0;
inline constexpr double kLargestYear = 600000.0;
static_assert(kDaysFromMarch < kDaysFromJanuary && kLargestMillis < 0x1p53);
static_assert(kLargestDay / 365.0 + kMoreYears + kMonthBound / 12.0 < kLargestYear);

inline constexpr double kDaysPerMilli = reciprocalAbove(86400000);
static_assert(divides(kDaysPerMilli, 86400000, kLargestMillis));

// Four times the reciprocals, exactly: floor((4n + 3)/146097) equals floor((n + 3/4) * kCenturiesPerDay).
inline constexpr double kCenturiesPerDay = 4.0 * reciprocalAbove(146097);
static_assert(divides(kCenturiesPerDay / 4.0, 146097, 4.0 * kLargestDay + 3.0));
inline constexpr double kYearsPerDay = 4.0 * reciprocalAbove(1461);
static_assert(divides(kYearsPerDay / 4.0, 1461, 4.0 * kLargestDay + 12000.0));

inline constexpr double kCenturiesPerYear = reciprocalAbove(100);
inline constexpr double kCenturiesPerYearBelow = reciprocalBelow(100);
static_assert(divides(kCenturiesPerYear, 100, kLargestYear));
static_assert(divides(kCenturiesPerYearBelow, 100, kLargestYear));
inline constexpr double kWeeksPerDay = reciprocalAbove(7);
inline constexpr double kWeeksPerDayBelow = reciprocalBelow(7);
static_assert(divides(kWeeksPerDay, 7, kDayBound + 1.0));
static_assert(divides(kWeeksPerDayBelow, 7, kLargestDay));

// Half of 1/divisor, the gap between the quotients x/divisor of neighbouring whole x.
constexpr double halfGap(double divisor) { return 0.5 / divisor; }

// Whether the floor of x * (1/divisor) + (offset + half a gap), rounded, fused or not, equals that of the
// exact x/divisor + offset, where quotient, offset and their sum are at most `largest`: factor, offset,
// product and sum then each add an error of at most 2^-53 of `largest`, and all together less than half a gap.
constexpr bool dividesByGap(double divisor, double largest) {
  return 4.0 * 0x1p-53 * largest < halfGap(divisor);
}
static_assert(dividesByGap(kMillisPerDay, 2.0 * (kJulianDaysFromMarch + 96.0 * 366.0)));
static_assert(dividesByGap(1461.0, 300.0));
static_assert(dividesByGap(153.0, 15.0));
static_assert(dividesByGap(12.0, kLargestYear));

struct Hour {
  static constexpr double kBound = kHourBound;
  static constexpr double kMillis = kMillisPerHour;
  static constexpr double kPerMilli = reciprocalAbove(3600000);
  static constexpr double kLarger = kMillisPerDay;
  static constexpr double kLargerPerMilli = kDaysPerMilli;
};
struct Minute {
  static constexpr double kBound = kMinuteBound;
  static constexpr double kMillis = kMillisPerMinute;
  static constexpr double kPerMilli = reciprocalAbove(60000);
  static constexpr double kLarger = kMillisPerHour;
  static constexpr double kLargerPerMilli = Hour::kPerMilli;
  static constexpr double kLargerPerUnit = reciprocalAbove(60);
};
struct Day {
  static constexpr double kMillis = kMillisPerDay;
  static constexpr double kPerMilli = kDaysPerMilli;
};
static_assert(divides(Hour::kPerMilli, 3600000, kLargestClock));
static_assert(divides(Minute::kPerMilli, 60000, kLargestClock));
static_assert(divides(Minute::kLargerPerUnit, 60, 24.0 * 60.0));

// ---- Leap seconds ----

// Leap seconds by buckets of 300 days; the middle of bucket i lies i * 300 days after 1970. A bucket holds
// the first instant of leapInstantsUTC in or after it, or else the last of all, and the number of instants
// before that one. At most one instant falls into a bucket, so one comparison with the bucket's instant
// tells the leap seconds of a time in it. Times beyond either end count as in the first or last bucket.
//
// Both time scales share the buckets: they are less than a minute apart, and no instant comes closer
// to the end of a bucket than a day. So the bucket of a rounded time, or of a pair's high part alone,
// serves as well.
struct LeapBuckets {
  static constexpr int kCount = 64;
  static constexpr double kMillis = 300.0 * kMillisPerDay;
  static constexpr double kPerMilli = 1.0 / kMillis;

  // For registers: the UTC day that begins with the instant, and the leap seconds before it.
  std::uint16_t days[kCount];
  std::uint16_t before[kCount];
  // For loads: the UTC instant, and the leap seconds before it in the fraction. Instants are whole
  // and below 2^41, and each entry is exact.
  static constexpr double kScale = 32.0;
  double entries[kCount];
};
static_assert(kLeapSeconds <= LeapBuckets::kScale);

constexpr int leapBucketOf(double instant) {
  // NOLINTNEXTLINE(bugprone-incorrect-roundings): not negative, and std::lround is not constexpr
  return static_cast<int>(instant * LeapBuckets::kPerMilli + 0.5);
}

constexpr LeapBuckets leapBuckets() {
  LeapBuckets buckets{};
  std::uint16_t next = 0;
  for (int i = 0; i < LeapBuckets::kCount; ++i) {
    while (next < kLeapSeconds - 1 && leapBucketOf(leapInstantsUTC[next]) < i) ++next;
    buckets.days[i] = static_cast<std::uint16_t>(leapInstantsUTC[next] / kMillisPerDay);
    buckets.before[i] = next;
    buckets.entries[i] = leapInstantsUTC[next] + next / LeapBuckets::kScale;
  }
  return buckets;
}

constexpr bool haveBucketsOfTheirOwn() {
  int before = -1;
  for (const double instant : leapInstantsUTC) {
    const int bucket = leapBucketOf(instant);
    if (bucket <= before || bucket >= LeapBuckets::kCount - 1) return false;
    if (leapBucketOf(instant - kMillisPerDay) != bucket) return false;
    if (leapBucketOf(instant + kMillisPerDay) != bucket) return false;
    before = bucket;
  }
  return true;
}
static_assert(haveBucketsOfTheirOwn());

// Whether the form for registers loses nothing: each instant is a whole day, and on the leap-second scale
// it comes later by the seconds inserted before it.
constexpr bool areDays() {
  for (int i = 0; i < kLeapSeconds; ++i) {
    const auto day = static_cast<std::uint16_t>(leapInstantsUTC[i] / kMillisPerDay);
    if (day * kMillisPerDay != leapInstantsUTC[i]) return false;
    if (leapInstantsElapsed[i] != leapInstantsUTC[i] + i * kMillisPerSecond) return false;
  }
  return true;
}
static_assert(areDays());

alignas(128) inline constexpr LeapBuckets kLeapBuckets = leapBuckets();

}  // namespace lanes
