#include "datetime/offsets.h"

#include <unicode/tzrule.h>
#include <unicode/tztrans.h>

namespace plx {

namespace {

constexpr double kMillis = 1000.0;
constexpr std::int64_t kDay = 86400;

std::int32_t offsetOf(const icu::TimeZoneRule& rule) {
  return (rule.getRawOffset() + rule.getDSTSavings()) / 1000;
}

}  // namespace

Offsets::Offsets(const icu::BasicTimeZone& zone) : zone_(zone) {
  stretches_.fill({-1, 0, 0, 0});
  stretches_.back().number = 0;  // no number is in its place
}

std::optional<int> Offsets::ask(std::int64_t second) const {
  std::int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone_.getOffset(static_cast<double>(second) * kMillis, false, raw, saving, status);
  if (U_FAILURE(status) || (raw + saving) % 1000 != 0) return std::nullopt;
  return (raw + saving) / 1000;
}

Offsets::Stretch Offsets::look(std::int64_t number) const {
  // No offset reaches a day: what a wall clock shows as this stretch lies within two days of it.
  const std::int64_t start = number * kLength;
  const std::int64_t first = start - 2 * kDay, end = start + kLength + 2 * kDay;
  const std::optional<int> before = ask(first), after = ask(end - 1);
  const auto key = static_cast<std::int32_t>(number);
  const Stretch unknown = {key, kUnknown, 0, 0};
  if (!before || !after) return unknown;
  Stretch stretch = {key, kNever, *before, *after};

  icu::TimeZoneTransition next;
  double millis = static_cast<double>(first) * kMillis;
  int changes = 0;
  while (zone_.getNextTransition(millis, false, next) &&
         next.getTime() < static_cast<double>(end) * kMillis) {
    millis = next.getTime();
    const std::int32_t from = offsetOf(*next.getFrom()), to = offsetOf(*next.getTo());
    if (from == to) continue;
    const auto second = static_cast<std::int64_t>(millis / kMillis);
    if (++changes > 1 || from != *before || to != *after || ask(second - 1) != before ||
        ask(second) != after || static_cast<double>(second) * kMillis != millis)
      return unknown;
    stretch.change = static_cast<std::int32_t>(second - start);
  }
  return changes == 1 || *before == *after ? stretch : unknown;
}

}  // namespace plx
