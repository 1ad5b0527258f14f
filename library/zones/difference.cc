#include "zones/difference.h"

#include <unicode/tztrans.h>

#include <algorithm>
#include <new>

namespace zones {

namespace {

constexpr double kMillis = 1000.0;

int offsetAt(const icu::BasicTimeZone& zone, std::int64_t second) {
  std::int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(static_cast<double>(second) * kMillis, false, raw, saving, status);
  if (U_FAILURE(status)) throw std::bad_alloc();
  return (raw + saving) / 1000;
}

// The second of ICU's next transition, or `until`.
std::int64_t nextOfIcu(const icu::BasicTimeZone& zone, std::int64_t second, std::int64_t until) {
  icu::TimeZoneTransition next;
  if (!zone.getNextTransition(static_cast<double>(second) * kMillis, false, next)) return until;
  return std::min(until, static_cast<std::int64_t>(next.getTime() / kMillis));
}

template <class IsMeant>
std::optional<Offsets> firstOf(const icu::BasicTimeZone& icu, const ZoneFile& system,
                               std::int64_t from, std::int64_t until, IsMeant isMeant) {
  for (std::int64_t second = from; second < until;) {
    const Offsets offsets{second, offsetAt(icu, second), system.offsetAt(second)};
    if (isMeant(offsets)) return offsets;
    const auto change = system.nextOffsetChange(second + 1, until);
    second = nextOfIcu(icu, second, change ? change->second : until);
  }
  return std::nullopt;
}

}  // namespace

std::optional<Offsets> firstDifferent(const icu::BasicTimeZone& icu, const ZoneFile& system,
                                      std::int64_t from, std::int64_t until) {
  return firstOf(icu, system, from, until, [](const Offsets& at) { return !at.areEqual(); });
}

std::optional<Offsets> firstEqual(const icu::BasicTimeZone& icu, const ZoneFile& system,
                                  std::int64_t from, std::int64_t until) {
  return firstOf(icu, system, from, until, [](const Offsets& at) { return at.areEqual(); });
}

std::optional<Offsets> firstOtherwise(const icu::BasicTimeZone& icu, const ZoneFile& system,
                                      const Offsets& from, std::int64_t until) {
  return firstOf(icu, system, from.second, until,
                 [&](const Offsets& at) { return at.system - at.icu != from.system - from.icu; });
}

}  // namespace zones
