#include "datetime/system_clock.h"

#include <unicode/tztrans.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <utility>

#include "arith/civil.h"
#include "messages/icu.h"

namespace plx {

namespace {

constexpr double kMillis = 1000.0, kMostMillis = 0x1p52;

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
bool SystemClock::areAlike(std::int64_t first, std::int64_t last) const {
  for (std::int64_t second = first; second < last; second += kDay) {
    if (!areAlikeAt(second)) return false;
  }
  if (!areAlikeAt(last)) return false;
  icu::TimeZoneTransition next;
  double millis = static_cast<double>(first) * kMillis;
  while (rules_->getNextTransition(millis, false, next) &&
         next.getTime() <= static_cast<double>(last) * kMillis) {
    millis = next.getTime();
    const std::int64_t second = secondOf(millis);
    if (!areAlikeAt(second - 1) || !areAlikeAt(second)) return false;
  }
  return true;
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
  least.fill(kMostMillis);
  most.fill(-kMostMillis);
  const auto take = [&](std::size_t chain, double x) {
    least[chain] = x < least[chain] ? x : least[chain];  // not NaN
    most[chain] = x > most[chain] ? x : most[chain];
  };
  std::size_t i = 0;
  for (; i + 4 <= millis.size(); i += 4)
    for (std::size_t chain = 0; chain < 4; ++chain) take(chain, millis[i + chain]);
  for (; i < millis.size(); ++i) take(0, millis[i]);
  const double first = std::max(*std::min_element(least.begin(), least.end()), -kMostMillis);
  const double last = std::min(*std::max_element(most.begin(), most.end()), kMostMillis);
  constexpr std::int64_t kFew = 1024;
  const std::int64_t from = secondOf(first) >> kBits, until = (secondOf(last) >> kBits) + 1;
  if (until - from <= kFew) {
    std::int64_t number = from;
    while (number < until && isAlike(number)) ++number;
    if (number >= until) return std::nullopt;
  }
  for (std::size_t k = 0; k < millis.size(); ++k) {
    if (std::fabs(millis[k]) <= kMostMillis && !agrees(secondOf(millis[k]))) return k;
  }
  return std::nullopt;
}

SystemClock::Difference SystemClock::differenceAt(std::int64_t second) const {
  // A moment of difference within the two days on either side ...
  std::int64_t differs = second - kNear;
  while (differs < second + kNear && areAlikeAt(differs)) differs += 900;
  // ... then back by days to one of agreement, but not through centuries ...
  constexpr std::int64_t kFarthest = 200 * 366 * kDay;
  std::int64_t alike = differs;
  while (!areAlikeAt(alike) && differs - alike < kFarthest) alike -= kDay;
  // ... and between the two to the second.
  if (areAlikeAt(alike)) {
    differs = std::min(differs, alike + kDay);
    while (alike + 1 < differs) {
      const std::int64_t middle = alike + (differs - alike) / 2;
      (areAlikeAt(middle) ? alike : differs) = middle;
    }
  }
  return {differs, systemOffset(differs), icuOffset(differs)};
}

}  // namespace plx
