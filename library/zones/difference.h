// Where ICU's idea of a zone and the system's file of it differ.
#pragma once

#include <unicode/basictz.h>

#include <cstdint>
#include <optional>

#include "zones/zone_file.h"

namespace zones {

// The offsets of both at a second, in seconds east of UTC.
struct Offsets {
  std::int64_t second;
  int icu, system;

  bool areEqual() const { return icu == system; }
};

// The first second in [from, until) at which the two differ, or, for `firstEqual`, at which they do not. Seconds within
// 2^43 of 1970, some 278,000 years.
std::optional<Offsets> firstDifferent(const icu::BasicTimeZone& icu, const ZoneFile& system,
                                      std::int64_t from, std::int64_t until);
std::optional<Offsets> firstEqual(const icu::BasicTimeZone& icu, const ZoneFile& system,
                                  std::int64_t from, std::int64_t until);
// The first second in (from.second, until) at which they differ by another amount than at `from`.
std::optional<Offsets> firstOtherwise(const icu::BasicTimeZone& icu, const ZoneFile& system,
                                      const Offsets& from, std::int64_t until);

}  // namespace zones
