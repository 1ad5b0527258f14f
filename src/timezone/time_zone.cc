#include "timezone/time_zone.h"

#include "base/raise.h"
#include "icu/memory.h"
#include "icu/text.h"
#include "icu/unique_ptr.h"
#include "timezone/iso_offset.h"
#include "timezone/text_constants.h"

namespace {

using brel::i18n::lcctype;
using brel::i18n::ustring;

bool textEquals(const paArray* tz, const ustring& name) {
  std::size_t length = 0;
  const unsigned short* units = get_pachar_ptr_and_len(tz, length);
  const bool isEmpty = units == nullptr || length == 0;
  if (isEmpty || name.empty()) return isEmpty && name.empty();
  try {
    return lcctype::compare(units, length, name.data(), name.size(),
                            brel::i18n::case_insensitive) == 0;
  } catch (...) {
    brel::i18n::dispatch_char_exception();  // should this come back, the text is not that name
    return false;
  }
}

[[noreturn]] void raiseUnknownTimeZone(const paArray* tz) {
  raise(component_Pelmor::catalog_datetime::key_UnknownTimeZone(paArray2String(tz)));
}

}  // namespace

ZoneKind zoneKindOf(const paArray* tz) {
  if (paIsEmpty(tz)) return ZoneKind::none;
  if (textEquals(tz, kUtcName)) return ZoneKind::none;
  if (textEquals(tz, kUtcLeapSecondsName)) return ZoneKind::leapSeconds;
  // ICU knows its unknown zone by name, and it takes the same name for any text it does not know.
  if (textEquals(tz, kUnknownZoneName)) raiseUnknownTimeZone(tz);
  return textEquals(tz, kLocalName) ? ZoneKind::local : ZoneKind::named;
}

icu::TimeZone* makeTimeZone(const paArray* tz, ZoneKind kind) {
  if (kind == ZoneKind::local) return checkICUMemory(icu::TimeZone::createDefault());
  if (kind != ZoneKind::named) return nullptr;
  if (!fitsICUText(tz)) raiseUnknownTimeZone(tz);

  boost::unique_ptr<icu::TimeZone> zone(checkICUMemory(icu::TimeZone::createTimeZone(icuText(tz))));
  if (*zone != icu::TimeZone::getUnknown()) return zone.release();
  zone.reset(parseISOTimeZone(tz));
  if (!zone) raiseUnknownTimeZone(tz);
  return zone.release();
}

icu::TimeZone* getTimeZone(const paArray* tz, bool& leapSeconds) {
  leapSeconds = false;
  const ZoneKind kind = zoneKindOf(tz);
  leapSeconds = kind == ZoneKind::leapSeconds;
  return makeTimeZone(tz, kind);
}
