#include "elements/time_scale.h"

#include <array>
#include <cstddef>

#include "arith/civil.h"

namespace plx {

namespace {

constexpr int128 kMillisOfDay = 86'400'000;
constexpr int128 kMostMillis = kMaxDays * kMillisOfDay;

// What a unit is: months, or milliseconds, or one of several parts of a millisecond.
struct UnitSize {
  std::int32_t months;
  std::int64_t millis;
  std::int64_t partsPerMilli;
};
// In the order of TimeUnit.
constexpr std::array<UnitSize, 13> kUnitSizes = {{{12, 0, 1},                       // Y
                                                  {1, 0, 1},                        // M
                                                  {0, 604'800'000, 1},              // W
                                                  {0, 86'400'000, 1},               // D
                                                  {0, 3'600'000, 1},                // h
                                                  {0, 60'000, 1},                   // m
                                                  {0, 1'000, 1},                    // s
                                                  {0, 1, 1},                        // ms
                                                  {0, 0, 1'000},                    // us
                                                  {0, 0, 1'000'000},                // ns
                                                  {0, 0, 1'000'000'000},            // ps
                                                  {0, 0, 1'000'000'000'000},        // fs
                                                  {0, 0, 1'000'000'000'000'000}}};  // as

// More years than 2^52 days have, so that beyond them no day number is needed to refuse.
constexpr int128 kMostMonths = int128{12'400'000'000'000} * 12;

// The milliseconds of the first instant of a month; month 0 is January 1970.
int128 millisOfMonth(int128 month) {
  const auto [year, monthOfYear] = floorDiv(month, 12);
  const double days =
      ymd2days(static_cast<double>(year + 1970), static_cast<double>(monthOfYear + 1), 1);
  return static_cast<int128>(days) * kMillisOfDay;
}

// The month that begins at an instant; nothing where none does.
std::optional<int128> monthBeginningAt(int128 millis) {
  const auto [days, millisOfDay] = floorDiv(millis, kMillisOfDay);
  if (millisOfDay != 0) return std::nullopt;
  const auto [year, month, day] = dateOf(static_cast<double>(days));
  if (day != 1) return std::nullopt;
  return (static_cast<int128>(year) - 1970) * 12 + static_cast<int128>(month) - 1;
}

}  // namespace

TimeScale::TimeScale(TimeUnit unit, std::int32_t multiple) : multiple_(multiple) {
  const UnitSize& size = kUnitSizes[static_cast<std::size_t>(unit)];
  monthsPerCount_ = size.months;
  millisPerCount_ = size.millis * multiple;
  partsPerMilli_ = size.partsPerMilli;
}

// A count has 64 bits, a multiple 31, the months of a year 4 and the milliseconds of a week 30: all
// products below fit into 128 bits.
std::optional<Instant> TimeScale::instantOf(std::int64_t count) const {
  Instant instant{0, 0};
  if (monthsPerCount_ != 0) {
    const int128 months = int128{count} * multiple_ * monthsPerCount_;
    if (months < -kMostMonths || months > kMostMonths) return std::nullopt;
    instant.millis = millisOfMonth(months);
  } else if (millisPerCount_ != 0) {
    instant.millis = int128{count} * millisPerCount_;
  } else {
    const auto [millis, rest] = floorDiv(int128{count} * multiple_, partsPerMilli_);
    instant = {millis, static_cast<std::int64_t>(rest)};
  }
  if (instant.millis < -kMostMillis || instant.millis > kMostMillis) return std::nullopt;
  return instant;
}

std::optional<std::int64_t> TimeScale::countOf(const Instant& instant) const {
  if (partsPerMilli_ > 1) {
    // An instant of more milliseconds than this has no count. Up to it, the parts have at most 96 bits.
    const int128 most = (int128{1} << 63) * multiple_ / partsPerMilli_ + 1;
    if (instant.millis < -most || instant.millis > most) return std::nullopt;
    return wholeCount(instant.millis * partsPerMilli_ + instant.parts, multiple_);
  }
  if (monthsPerCount_ == 0) return wholeCount(instant.millis, millisPerCount_);
  const auto month = monthBeginningAt(instant.millis);
  if (!month) return std::nullopt;
  return wholeCount(*month, int128{multiple_} * monthsPerCount_);
}

std::optional<std::int64_t> TimeScale::wholeCount(int128 number, int128 perCount) const {
  const int128 count = number / perCount;
  if (count * perCount != number) return std::nullopt;
  if (count <= kNaT || count > std::numeric_limits<std::int64_t>::max()) return std::nullopt;
  return static_cast<std::int64_t>(count);
}

}  // namespace plx
