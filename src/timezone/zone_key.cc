#include "timezone/zone_key.h"

#include <span>
#include <string>
#include <utility>

#include "host/pa_text.h"
#include "icu/life.h"
#include "icu/locale.h"
#include "icu/unique_ptr.h"

namespace {

std::optional<ZoneKey> zoneKeyOf(std::span<const std::uint16_t> text) {
  if (text.size() > RememberedZones::kLongestText) return std::nullopt;
  const std::uint64_t life = icuLife();
  if (life == 0) return std::nullopt;
  std::string locale = hostLocaleName();
  if (locale.size() > RememberedZones::kLongestLocale) return std::nullopt;
  return ZoneKey{text, std::move(locale), life};
}

}  // namespace

std::optional<ZoneKey> zoneKeyOf(const paArray* tz) {
  std::size_t length = 0;
  const unsigned short* const units = get_pachar_ptr_and_len(tz, length);
  return zoneKeyOf(std::span(units, length));
}

std::optional<ZoneKey> zoneKeyOf(const icu::TimeZone& zone, std::vector<std::uint16_t>& units) {
  if (!OffsetTable::isForClassOf(zone)) return std::nullopt;
  icu::UnicodeString name;
  zone.getID(name);
  units.assign(name.getBuffer(), name.getBuffer() + name.length());
  return zoneKeyOf(units);
}

bool isOfItsName(const icu::TimeZone& zone) {
  icu::UnicodeString name;
  zone.getID(name);
  const boost::unique_ptr<icu::TimeZone> made(icu::TimeZone::createTimeZone(name));
  // ICU's comparison asks for the class, too. It is made's that is asked, which is ICU's own. Any two zones
  // of ICU's data without transitions are equal to it: these have one offset each.
  return made && *made == zone && made->getRawOffset() == zone.getRawOffset();
}
