// Every zone that ICU lists, and where something changes in one.
#pragma once

#include <unicode/basictz.h>
#include <unicode/strenum.h>
#include <unicode/tztrans.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/length.h"

inline std::vector<std::string> everyZone() {
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> ids(icu::TimeZone::createEnumeration(status));
  std::vector<std::string> all;
  while (const char* id = U_SUCCESS(status) ? ids->next(nullptr, status) : nullptr) {
    if (std::string(id) != "Etc/Unknown") all.emplace_back(id);
  }
  if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
  return all;
}

// Every zone, but in a short run (length.h) every eighth.
inline std::vector<std::string> everyUsualZone() {
  const std::vector<std::string> all = everyZone();
  if (!testsAreShort()) return all;
  std::vector<std::string> some;
  for (std::size_t i = 0; i < all.size(); i += kShortPart) some.push_back(all[i]);
  return some;
}

// Every zone in a whole run; else every tenth, in a short one every eightieth, and those whose rules are like no other's.
inline std::vector<std::string> zonesOfThisRun() {
  const std::vector<std::string>& all = everyZone();
  if (testsAreWhole()) return all;
  std::vector<std::string> some{"Africa/Casablanca", "Africa/El_Aaiun",     "America/Nuuk",
                                "Antarctica/Troll",  "Asia/Gaza",           "Asia/Tehran",
                                "Europe/Dublin",     "Australia/Lord_Howe", "Pacific/Apia"};
  for (std::size_t i = 0; i < all.size(); i += testsAreShort() ? 10 * kShortPart : 10)
    some.push_back(all[i]);
  return some;
}

inline std::unique_ptr<icu::BasicTimeZone> zoneOf(const std::string& id) {
  auto* zone = dynamic_cast<icu::BasicTimeZone*>(icu::TimeZone::createTimeZone(
      icu::UnicodeString(id.data(), static_cast<int32_t>(id.size()), US_INV)));
  if (zone == nullptr) throw std::runtime_error("no zone with rules: " + id);
  return std::unique_ptr<icu::BasicTimeZone>(zone);
}

// The transitions of a zone from 1800 to 2200, as ICU walks them.
struct Change {
  double instant, before, after;  // offsets in milliseconds
};

inline std::vector<Change> changesOf(const icu::BasicTimeZone& zone) {
  constexpr double k1800 = -5364662400000.0, k2200 = 7258118400000.0;
  const auto offset = [](const icu::TimeZoneRule& rule) {
    return static_cast<double>(rule.getRawOffset()) + rule.getDSTSavings();
  };
  std::vector<Change> all;
  icu::TimeZoneTransition next;
  for (double t = k1800; zone.getNextTransition(t, false, next) && next.getTime() < k2200;) {
    t = next.getTime();
    all.push_back({t, offset(*next.getFrom()), offset(*next.getTo())});
  }
  return all;
}
