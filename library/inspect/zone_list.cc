#include "inspect/zone_list.h"

#include <fmt/format.h>
#include <fnmatch.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>

#include "datetime/datetime_text.h"
#include "datetime/zone.h"
#include "messages/icu.h"

namespace plx {

namespace {

// Empty for a name that is canonical or none of ICU's.
std::string aliasOf(const std::string& name) {
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString id;
  icu::TimeZone::getCanonicalID(unicodeText(name), id, status);
  std::string canonical;
  if (U_SUCCESS(status)) id.toUTF8String(canonical);
  return canonical == name ? std::string() : canonical;
}

// The other names of a zone, by which ICU has the same rules.
std::vector<std::string> sameRulesAs(const std::string& name) {
  const icu::UnicodeString id = unicodeText(name);
  std::vector<std::string> names;
  const int count = icu::TimeZone::countEquivalentIDs(id);
  for (int i = 0; i < count; ++i)
    icu::TimeZone::getEquivalentID(id, i).toUTF8String(names.emplace_back());
  return names;
}

std::string nextChange(const Zone& zone, int128 second) {
  const auto change = zone.stretchAt(second).end;
  if (!change) return "-";
  DatetimeText form;
  form.separator = 'T';
  std::string text;
  writeDatetime(text, form, zone.wallTime(change->second), "");
  return text;
}

// What a zone's clock shows at a second.
struct Clock {
  std::string offset, change;
};

Clock clockOf(const Zone& zone, int128 second) {
  Clock clock;
  writeOffset(clock.offset, zone.wallTime(second).offsetSeconds);
  clock.change = nextChange(zone, second);
  return clock;
}

}  // namespace

std::vector<std::string> zoneNames() {
  std::vector<std::string> names = {"UTCLeapSeconds", "local"};
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> ids(
      icu::TimeZone::createTimeZoneIDEnumeration(UCAL_ZONE_TYPE_ANY, nullptr, nullptr, status));
  checkICU(status);
  while (const char* id = ids->next(nullptr, status)) {
    if (std::string_view(id) != "Etc/Unknown") names.emplace_back(id);
  }
  checkICU(status);
  std::ranges::sort(names);
  return names;
}

bool matches(const std::string& name, const std::string& pattern) {
  std::string glob = pattern;
  std::ranges::replace(glob, ' ', '_');
  if (glob.find_first_of("*?[") == std::string::npos) {
    std::string escaped;
    for (const char c : glob) {
      if (c == '\\') escaped += '\\';
      escaped += c;
    }
    glob = '*' + escaped + '*';
  }
  return ::fnmatch(glob.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
}

std::string zoneTable(const std::vector<std::string>& names, int128 second) {
  std::size_t width = 0;
  for (const std::string& name : names) width = std::max(width, name.size());
  std::map<std::string, Clock, std::less<>> clocks;
  std::string table;
  for (const std::string& name : names) {
    auto known = clocks.find(name);
    if (known == clocks.end()) {
      known = clocks.emplace(name, clockOf(Zone::named(name), second)).first;
      for (const std::string& same : sameRulesAs(name)) clocks.emplace(same, known->second);
    }
    const auto& [offset, change] = known->second;
    const std::string alias = aliasOf(name);
    table += fmt::format("{:{}}  {:9}  ", name, width, offset);
    if (alias.empty()) {
      table += change + '\n';
    } else {
      table += fmt::format("{:25}  = {}\n", change, alias);
    }
  }
  return table;
}

}  // namespace plx
