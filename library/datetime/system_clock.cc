#include "datetime/system_clock.h"

#include <unicode/tztrans.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <utility>

#include "arith/civil.h"
#include "base/calendar_limits.h"
#include "messages/icu.h"

namespace plx {

namespace {

constexpr double kMillis = 1000.0;

std::int64_t secondOf(double millis) {
  return static_cast<std::int64_t>(std::floor(millis / kMillis));
}

}  // namespace

int systemOffset(std::int64_t second) {
  const std::time_t time = second;
  std::tm wall{};
  // No year within the range is too large for it.
  if (::localtime_r(&time, &wall) == nullptr) return 0;
  const double days = ymd2days(wall.tm_year + 1900.0, wall.tm_mon + 1.0, wall.tm_mday);
  const std::int64_t secondOfDay = wall.tm_hour * 3600 + wall.tm_min * 60 + wall.tm_sec;
  return static_cast<int>(static_cast<std::int64_t>(days) * 86400 + secondOfDay - second);
}

SystemClock::SystemClock(std::unique_ptr<icu::BasicTimeZone> rules) : rules_(std::move(rules)) {
  ::tzset();  // localtime_r need not ask for TZ
  stretches_.fill({-1, false});
  stretches_.back().number = 0;  // no number is in its place
}

int SystemClock::icuOffset(std::int64_t second) const {
  std::int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  rules_->getOffset(static_cast<double>(second) * kMillis, false, raw, saving, status);
  checkICU(status);
  return (raw + saving) / 1000;
}

// ICU tells its changes, and the C library is asked on both sides of each. Changes of its own show on the
// days after them: no zone has ever had two within a day (four days in Freetown, 1939, were the fewest).
std::optional<std::int64_t> SystemClock::differenceWithin(std::int64_t first,
                                                          std::int64_t last) const {
  std::int64_t day = first;
  while (day < last && areAlikeAt(day)) day += kDay;
  day = std::min(day, last);
  icu::TimeZoneTransition next;
  double millis = static_cast<double>(first) * kMillis;
  while (rules_->getNextTransition(millis, false, next) &&
         next.getTime() <= static_cast<double>(day) * kMillis) {
    millis = next.getTime();
    const std::int64_t second = secondOf(millis);
    for (const std::int64_t beside : {second - 1, second}) {
      if (!areAlikeAt(beside)) return beside;
    }
  }
  return areAlikeAt(day) ? std::nullopt : std::optional(day);
}

SystemClock::Stretch SystemClock::look(std::int64_t number) const {
  const std::int64_t start = number * (std::int64_t{1} << kBits);
  return {static_cast<std::int32_t>(number),
          areAlike(start - kNear, start + (std::int64_t{1} << kBits) + kNear)};
}

std::optional<std::size_t> SystemClock::firstDiffering(std::span<const double> millis) {
  // Most arrays lie within a few years: then their ends say enough. Four chains of comparisons, since
  // one would wait for its own results.
  std::array<double, 4> least, most;
  least.fill(kMaxCalendarMillis);
  most.fill(-kMaxCalendarMillis);
  const auto take = [&](std::size_t chain, double x) {
    least[chain] = x < least[chain] ? x : least[chain];  // not NaN
    most[chain] = x > most[chain] ? x : most[chain];
  };
  std::size_t i = 0;
  for (; i + 4 <= millis.size(); i += 4)
    for (std::size_t chain = 0; chain < 4; ++chain) take(chain, millis[i + chain]);
  for (; i < millis.size(); ++i) take(0, millis[i]);
  const double first = std::max(*std::min_element(least.begin(), least.end()), -kMaxCalendarMillis);
  const double last = std::min(*std::max_element(most.begin(), most.end()), kMaxCalendarMillis);
  constexpr std::int64_t kFew = 1024;
  const std::int64_t from = secondOf(first) >> kBits, until = (secondOf(last) >> kBits) + 1;
  if (until - from <= kFew) {
    std::int64_t number = from;
    while (number < until && isAlike(number)) ++number;
    if (number >= until) return std::nullopt;
  }
  for (std::size_t k = 0; k < millis.size(); ++k) {
    if (std::fabs(millis[k]) <= kMaxCalendarMillis && !agrees(secondOf(millis[k]))) return k;
  }
  return std::nullopt;
}

SystemClock::Difference SystemClock::differenceAt(std::int64_t second) {
  const std::int64_t differs = differenceWithin(second - kNear, second + kNear).value_or(second);
  // Back by days to agreement, but not through centuries, and through no day twice: a million datetimes
  // may be refused for the same difference.
  auto before = differences_.upper_bound(differs);
  Differences* const known = before == differences_.begin() ? nullptr : &(--before)->second;
  constexpr std::int64_t kFarthest = 200 * 366 * kDay;
  std::int64_t day = differs;
  while (differs - day < kFarthest && !areAlikeAt(day)) {
    if (known != nullptr && day <= known->until) {
      known->until = std::max(known->until, differs);
      return known->first;
    }
    day -= kDay;
  }
  // Between agreement and difference, to the second.
  std::int64_t from = areAlikeAt(day) ? std::min(differs, day + kDay) : day;
  for (std::int64_t alike = day; alike + 1 < from;) {
    const std::int64_t middle = alike + (from - alike) / 2;
    (areAlikeAt(middle) ? alike : from) = middle;
  }
  const Difference first{from, systemOffset(from), icuOffset(from)};
  differences_.emplace(from, Differences{differs, first});
  return first;
}

}  // namespace plx
