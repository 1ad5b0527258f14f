#include "inspect/zone_names.h"

#include <unicode/tzfmt.h>

#include <algorithm>
#include <memory>

#include "messages/message.h"

namespace plx {

namespace {

// An abbreviation is listed where it is commonly used: CET in Britain, AEST in Australia.
constexpr const char* kLocales[] = {"en_US", "en_GB", "en_AU", "en_CA", "en_IN", "en_ZA"};

// "GMT+1" and the like only repeat the offset.
bool isOffset(const std::string& name) {
  return std::any_of(name.begin(), name.end(), [](char c) { return '0' <= c && c <= '9'; });
}

std::string abbreviationIn(const char* locale, const icu::TimeZone& zone, double millis) {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::TimeZoneFormat> format(
      icu::TimeZoneFormat::createInstance(icu::Locale(locale), status));
  std::string name;
  if (U_FAILURE(status)) return name;
  icu::UnicodeString text;
  format->format(UTZFMT_STYLE_SPECIFIC_SHORT, zone, millis, text);
  text.toUTF8String(name);
  return name;
}

}  // namespace

std::string abbreviation(const Zone& zone, int128 second) {
  if (zone.rules() == nullptr) return {};
  for (const char* locale : kLocales) {
    std::string name = abbreviationIn(locale, *zone.rules(), static_cast<double>(second) * 1000.0);
    if (!name.empty() && !isOffset(name)) return name;
  }
  return {};
}

std::string titleOf(const Zone& zone) {
  if (zone.text().empty()) return "plain calendar time";
  if (zone.countsLeapSeconds()) return "UTC with leap seconds";
  return escapeText(zone.text());
}

}  // namespace plx
