#include "zones/own_rules.h"

#include <unicode/putil.h>
#include <unicode/udata.h>
#include <unicode/unistr.h>
#include <unicode/ures.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <span>

namespace zones {

namespace {

using Bundle = icu::LocalUResourceBundlePointer;

void check(UErrorCode status) {
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  if (U_FAILURE(status))
    throw BadZones(std::string("ICU cannot read its time-zone data: ") + u_errorName(status));
}

std::string utf8(const UResourceBundle* text) {
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t length = 0;
  const UChar* units = ures_getString(text, &length, &status);
  check(status);
  std::string all;
  icu::UnicodeString(false, units, length).toUTF8String(all);
  return all;
}

Bundle item(const UResourceBundle* of, const char* key) {
  UErrorCode status = U_ZERO_ERROR;
  Bundle found(ures_getByKey(of, key, nullptr, &status));
  check(status);
  return found;
}

Bundle item(const UResourceBundle* of, std::int32_t index) {
  UErrorCode status = U_ZERO_ERROR;
  Bundle found(ures_getByIndex(of, index, nullptr, &status));
  check(status);
  return found;
}

// Null where there is none.
Bundle itemIfAny(const UResourceBundle* of, const char* key) {
  UErrorCode status = U_ZERO_ERROR;
  Bundle found(ures_getByKey(of, key, nullptr, &status));
  if (status == U_MISSING_RESOURCE_ERROR) return Bundle();
  check(status);
  return found;
}

int wholeNumber(const UResourceBundle* of) {
  UErrorCode status = U_ZERO_ERROR;
  const int number = ures_getInt(of, &status);
  check(status);
  return number;
}

// Empty for none.
std::span<const std::int32_t> numbers(const UResourceBundle* of) {
  if (of == nullptr) return {};
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t length = 0;
  const std::int32_t* all = ures_getIntVector(of, &length, &status);
  check(status);
  return {all, static_cast<std::size_t>(length)};
}

IcuZone readZone(const UResourceBundle* table, const UResourceBundle* rules) {
  IcuZone zone;
  const Bundle types = item(table, "typeOffsets");
  const auto offsets = numbers(types.getAlias());
  for (std::size_t i = 0; i + 1 < offsets.size(); i += 2)
    zone.types.push_back({offsets[i], offsets[i + 1]});

  for (const char* key : {"transPre32", "trans", "transPost32"}) {
    const Bundle bundle = itemIfAny(table, key);
    const auto all = numbers(bundle.getAlias());
    if (std::string_view(key) == "trans") {
      for (const std::int32_t second : all) zone.changes.push_back({second, 0});
      continue;
    }
    for (std::size_t i = 0; i + 1 < all.size(); i += 2) {
      const auto high = static_cast<std::uint64_t>(static_cast<std::uint32_t>(all[i])) << 32;
      zone.changes.push_back(
          {static_cast<std::int64_t>(high | static_cast<std::uint32_t>(all[i + 1])), 0});
    }
  }
  if (const Bundle map = itemIfAny(table, "typeMap"); map.isValid()) {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    const std::uint8_t* bytes = ures_getBinary(map.getAlias(), &length, &status);
    check(status);
    if (static_cast<std::size_t>(length) != zone.changes.size())
      throw BadZones("ICU's time-zone data is damaged");
    for (std::size_t i = 0; i < zone.changes.size(); ++i) zone.changes[i].type = bytes[i];
  }

  if (const Bundle name = itemIfAny(table, "finalRule"); name.isValid()) {
    const Bundle rule = item(rules, utf8(name.getAlias()).c_str());
    const auto parts = numbers(rule.getAlias());
    IcuZone::Final final{};
    if (parts.size() != final.rule.size()) throw BadZones("ICU's time-zone data is damaged");
    std::copy(parts.begin(), parts.end(), final.rule.begin());
    final.raw = wholeNumber(item(table, "finalRaw").getAlias());
    final.year = wholeNumber(item(table, "finalYear").getAlias());
    zone.final = final;
  }
  return zone;
}

OwnRules readFrom(const char* place) {
  UErrorCode status = U_ZERO_ERROR;
  const Bundle all(ures_openDirect(place, "zoneinfo64", &status));
  check(status);
  OwnRules own;
  own.release = utf8(item(all.getAlias(), "TZVersion").getAlias());
  const Bundle names = item(all.getAlias(), "Names"), zones = item(all.getAlias(), "Zones"),
               regions = item(all.getAlias(), "Regions"), rules = item(all.getAlias(), "Rules");
  const std::int32_t count = ures_getSize(names.getAlias());
  if (ures_getSize(zones.getAlias()) != count || ures_getSize(regions.getAlias()) != count)
    throw BadZones("ICU's time-zone data is damaged");
  for (std::int32_t i = 0; i < count; ++i) {
    OwnRules::Zone zone;
    zone.name = utf8(item(names.getAlias(), i).getAlias());
    zone.region = utf8(item(regions.getAlias(), i).getAlias());
    const Bundle entry = item(zones.getAlias(), i);
    if (ures_getType(entry.getAlias()) == URES_INT) {
      zone.alias = static_cast<std::size_t>(wholeNumber(entry.getAlias()));
    } else {
      zone.rules = readZone(entry.getAlias(), rules.getAlias());
    }
    own.zones.push_back(std::move(zone));
  }
  return own;
}

}  // namespace

// By this name ICU takes the bundle for another one than that of its own use, which it will then still look for where
// it is told to.
OwnRules readOwnRules() {
  UErrorCode status = U_ZERO_ERROR;
  const std::string inUse = u_getTimeZoneFilesDirectory(&status);
  u_setTimeZoneFilesDirectory("", &status);
  check(status);
  OwnRules own = readFrom(U_ICUDATA_ALIAS);
  u_setTimeZoneFilesDirectory(inUse.c_str(), &status);
  check(status);
  return own;
}

OwnRules readRulesIn(const std::string& folder) { return readFrom(folder.c_str()); }

}  // namespace zones
