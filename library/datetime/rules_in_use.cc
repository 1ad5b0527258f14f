#include "datetime/rules_in_use.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unicode/basictz.h>
#include <unicode/putil.h>
#include <unicode/ures.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "datetime/datetime_text.h"
#include "datetime/for_processors.h"
#include "datetime/local_zone.h"
#include "messages/icu.h"
#include "messages/message.h"
#include "zones/difference.h"
#include "zones/rules_file.h"
#include "zones/system_zones.h"

namespace plx {

namespace {

struct Range {
  double least, most;  // milliseconds
};

std::atomic<bool> isWatching = false;
// When the rules in use were converted from the system's, in nanoseconds as below: only files that were changed since
// can differ. Of other rules, any may. Found out for the first zone that is looked at, as most runs have none.
constexpr std::int64_t kNeverConverted = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kNotLookedAt = std::numeric_limits<std::int64_t>::max();
std::atomic<std::int64_t> conversion = kNotLookedAt;
std::mutex mutex;
std::map<std::string, Range> watched;  // by zone

// ICU takes its own rules without a word where it cannot read those of a folder.
bool areReadFrom(const std::string& folder) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::LocalUResourceBundlePointer bundle(
      ures_openDirect(folder.c_str(), "zoneinfo64", &status));
  checkMemory(status);
  return U_SUCCESS(status);
}

// By whoever started the program.
bool isChosen() {
  const char* const folder = std::getenv("ICU_TIMEZONE_FILES_DIR");
  return folder != nullptr && *folder != '\0';
}

std::int64_t nanoseconds(const timespec& time) {
  return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

// Since when a zone's file stands in the system's folder as it is: packages put times of their own into files, but not
// this one. The beginning of time for a name without a file.
std::int64_t changeOfFile(const std::string& zone) {
  struct stat info;
  return ::stat((zones::systemZonesFolder() + '/' + zone).c_str(), &info) == 0
             ? nanoseconds(info.st_ctim)
             : std::numeric_limits<std::int64_t>::min();
}

std::string fileOfRules(const std::string& folder) {
  return folder + '/' + std::string(zones::kRulesFile);
}

std::string bytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The zone whose rules ICU gives to a name, such as Africa/Cairo to Egypt; empty for a name that has its own.
std::string zoneBehind(const std::string& name) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::LocalUResourceBundlePointer all(ures_openDirect(nullptr, "zoneinfo64", &status)),
      names(ures_getByKey(all.getAlias(), "Names", nullptr, &status)),
      zones(ures_getByKey(all.getAlias(), "Zones", nullptr, &status));
  const icu::UnicodeString id = unicodeText(name);
  const auto nameAt = [&](std::int32_t at) {
    return icu::ures_getUnicodeStringByIndex(names.getAlias(), at, &status);
  };
  const std::int32_t count = U_SUCCESS(status) ? ures_getSize(names.getAlias()) : 0;
  std::int32_t at = 0;
  while (at < count && nameAt(at) != id) ++at;
  std::string behind;
  if (at < count) {
    const icu::LocalUResourceBundlePointer zone(
        ures_getByIndex(zones.getAlias(), at, nullptr, &status));
    if (U_SUCCESS(status) && ures_getType(zone.getAlias()) == URES_INT)
      nameAt(ures_getInt(zone.getAlias(), &status)).toUTF8String(behind);
  }
  checkMemory(status);
  return U_SUCCESS(status) ? behind : std::string();
}

// What an update takes a zone's rules from. Names that are ICU's alone have no file of their own, and those of a package
// that is not installed, such as tzdata-legacy, none now.
std::optional<zones::ZoneFile> fileOf(const std::string& name, const zones::SystemZones& system) {
  auto file = system.zone(name);
  return file ? file : system.zone(zoneBehind(name));
}

std::int64_t findConversion() {
  const zones::SystemZones system(zones::systemZonesFolder());
  const RulesInUse rules = rulesInUse();
  if (rules.converted != system.folder() || rules.release != system.release())
    return kNeverConverted;
  struct stat info;
  UErrorCode status = U_ZERO_ERROR;
  return ::stat(fileOfRules(u_getTimeZoneFilesDirectory(&status)).c_str(), &info) == 0
             ? nanoseconds(info.st_mtim)
             : kNeverConverted;
}

// Two threads that ask at once find the same.
std::int64_t convertedAt() {
  std::int64_t at = conversion;
  if (at == kNotLookedAt) conversion = at = findConversion();
  return at;
}

// The first second in [from, until) at which a zone's rules in use are not the system's.
std::optional<zones::Offsets> firstOther(const std::string& name, std::int64_t from,
                                         std::int64_t until, const zones::SystemZones& system) {
  if (changeOfFile(name) < convertedAt()) return std::nullopt;
  const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(unicodeText(name)));
  const auto* rules = dynamic_cast<const icu::BasicTimeZone*>(zone.get());
  const auto file = fileOf(name, system);
  if (rules == nullptr || !file) return std::nullopt;
  return zones::firstDifferent(*rules, *file, from, until);
}

std::optional<zones::Offsets> firstOther(const std::string& name, const Range& range,
                                         const zones::SystemZones& system) {
  constexpr double kMost = 0x1p52;
  const double least = std::max(range.least, -kMost), most = std::min(range.most, kMost);
  if (!(least <= most)) return std::nullopt;
  return firstOther(name, static_cast<std::int64_t>(std::floor(least / 1000)),
                    static_cast<std::int64_t>(std::floor(most / 1000)) + 1, system);
}

// Lists of changes end in 2087 at the latest. Behind it, 28 years of a yearly rule have every kind of year in them.
bool differsAtAnyTime(const std::string& name) {
  constexpr std::int64_t k1800 = -5364662400, k2130 = 5049129600;
  try {
    return firstOther(name, k1800, k2130, zones::SystemZones(zones::systemZonesFolder()))
        .has_value();
  } catch (const zones::BadZones&) {
    return false;
  }
}

// As the data have it, which are read by the rules in use.
std::string dayTextOf(const zones::Offsets& at) {
  DatetimeText form;
  form.separator = 'T';
  std::string text;
  writeDatetime(text, form, {int128{at.second} + at.icu, false, OffsetForm::z, 0}, "");
  return text.substr(0, text.find('T'));
}

// Chains of comparisons, since one would wait for its own results; as many as fill four of the widest vectors.
constexpr std::size_t kChains = 32;

// The least and the most of numbers, and of those that are given; NaN is passed over. A multiple of the chains.
PLX_FOR_PROCESSORS void extend(std::span<const double> numbers, double& least, double& most) {
  std::array<double, kChains> leasts, mosts;
  leasts.fill(least);
  mosts.fill(most);
  for (std::size_t i = 0; i < numbers.size(); i += kChains) {
    for (std::size_t chain = 0; chain < kChains; ++chain) {
      const double x = numbers[i + chain];
      leasts[chain] = x < leasts[chain] ? x : leasts[chain];
      mosts[chain] = x > mosts[chain] ? x : mosts[chain];
    }
  }
  least = *std::min_element(leasts.begin(), leasts.end());
  most = *std::max_element(mosts.begin(), mosts.end());
}

}  // namespace

RulesInUse rulesInUse() {
  RulesInUse rules{timeZoneData(), "ICU's own", {}};
  UErrorCode status = U_ZERO_ERROR;
  const std::string folder = u_getTimeZoneFilesDirectory(&status);
  if (folder.empty() || !areReadFrom(folder)) return rules;
  rules.where = (isChosen() ? "ICU_TIMEZONE_FILES_DIR, " : "") + escapeText(folder);
  const auto checked = zones::checkRules(bytesOf(fileOfRules(folder)));
  if (checked.problem.empty() && checked.label.release == rules.release) {
    rules.converted = checked.label.from;
    rules.where += ", from " + escapeText(rules.converted);
  }
  return rules;
}

void RulesWatch::begin() {
  conversion = kNotLookedAt;
  isWatching = true;
}

bool RulesWatch::isOn() { return isWatching.load(std::memory_order_relaxed); }

void RulesWatch::take(std::span<const double> millis) {
  if (!differs_) differs_ = differsAtAnyTime(zone_);
  if (!*differs_) return;
  const std::size_t together = millis.size() / kChains * kChains;
  extend(millis.first(together), least_, most_);
  for (const double x : millis.subspan(together)) take(x);
}

RulesWatch::~RulesWatch() {
  if (!(least_ <= most_)) return;
  const std::lock_guard lock(mutex);
  const auto [found, isNew] = watched.try_emplace(zone_, Range{least_, most_});
  found->second.least = std::min(found->second.least, least_);
  found->second.most = std::max(found->second.most, most_);
}

std::string otherRules() {
  const std::lock_guard lock(mutex);
  const zones::SystemZones system(zones::systemZonesFolder());
  std::string first;
  std::size_t others = 0;
  for (const auto& [name, range] : watched) {
    try {
      const auto other = firstOther(name, range, system);
      if (!other) continue;
      if (!first.empty()) {
        ++others;
        continue;
      }
      first = fmt::format("{} from {} on", name, dayTextOf(*other));
    } catch (const zones::BadZones&) {
      // A file that cannot be read is for `plx rules` to tell.
    }
  }
  watched.clear();
  if (first.empty()) return first;
  if (others > 0) first += fmt::format(", and for {} more", others);
  const RulesInUse rules = rulesInUse();
  const auto known = system.release();
  const std::string release = known.value_or("of no known release");
  // Converted ones may be of other files of the same release.
  const bool helps = zones::isNewer(release, rules.release) ||
                     (release == rules.release && !rules.converted.empty());
  return fmt::format("the time-zone rules in use ({}, {}) and the system's ({}) differ for {}; {}",
                     rules.release, rules.where, release, first,
                     isChosen() ? "ICU_TIMEZONE_FILES_DIR chooses the former"
                     : helps    ? "plx rules update takes the system's"
                     : known    ? "the system's are not newer, and so not taken into use"
                                : "the system's do not tell their release, and so are not "
                                  "taken into use");
}

}  // namespace plx
