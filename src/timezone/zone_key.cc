#include "timezone/zone_key.h"

#include <utility>

#include "host/pa_text.h"
#include "icu/life.h"
#include "icu/locale.h"

std::optional<ZoneKey> zoneKeyOf(const paArray* tz) {
  std::size_t length = 0;
  const unsigned short* const units = get_pachar_ptr_and_len(tz, length);
  if (length > RememberedZones::kLongestText) return std::nullopt;
  const std::uint64_t life = icuLife();
  if (life == 0) return std::nullopt;
  std::string locale = hostLocaleName();
  if (locale.size() > RememberedZones::kLongestLocale) return std::nullopt;
  return ZoneKey{{units, length}, std::move(locale), life};
}
