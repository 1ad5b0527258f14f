#include "datetime/rules_in_use.h"

#include <fmt/format.h>
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

std::string bytesOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// The first second in [from, until) at which a zone's rules in use are not the system's.
std::optional<std::int64_t> firstOther(const std::string& name, std::int64_t from,
                                       std::int64_t until, const zones::SystemZones& system) {
  const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(unicodeText(name)));
  const auto* rules = dynamic_cast<const icu::BasicTimeZone*>(zone.get());
  const auto file = system.zone(name);
  if (rules == nullptr || !file) return std::nullopt;
  const auto found = zones::firstDifferent(*rules, *file, from, until);
  return found ? std::optional(found->second) : std::nullopt;
}

std::optional<std::int64_t> firstOther(const std::string& name, const Range& range,
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

std::string dayTextOf(std::int64_t second) {
  DatetimeText form;
  form.separator = 'T';
  std::string text;
  writeDatetime(text, form, {second, false, OffsetForm::z, 0}, "");
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
  const auto checked = zones::checkRules(bytesOf(folder + '/' + std::string(zones::kRulesFile)));
  if (checked.problem.empty() && checked.label.release == rules.release) {
    rules.converted = checked.label.from;
    rules.where += ", from " + escapeText(rules.converted);
  }
  return rules;
}

void RulesWatch::begin() {
  const zones::SystemZones system(zones::systemZonesFolder());
  const auto release = system.release();
  if (!release) return;
  const RulesInUse rules = rulesInUse();
  isWatching = rules.converted != system.folder() || rules.release != *release;
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
      const auto second = firstOther(name, range, system);
      if (!second) continue;
      if (!first.empty()) {
        ++others;
        continue;
      }
      first = fmt::format("{} from {} on", name, dayTextOf(*second));
    } catch (const zones::BadZones&) {
      // A file that cannot be read is for `plx rules` to tell.
    }
  }
  watched.clear();
  if (first.empty()) return first;
  if (others > 0) first += fmt::format(", and for {} more", others);
  const RulesInUse rules = rulesInUse();
  const std::string release = system.release().value_or("of no known release");
  // Converted ones may be of other files of the same release.
  const bool helps = zones::isNewer(release, rules.release) ||
                     (release == rules.release && !rules.converted.empty());
  return fmt::format("the time-zone rules in use ({}, {}) and the system's ({}) differ for {}; {}",
                     rules.release, rules.where, release, first,
                     isChosen() ? "ICU_TIMEZONE_FILES_DIR chooses the former"
                     : helps    ? "plx rules update takes the system's"
                                : "the system's are not newer, and so not taken into use");
}

}  // namespace plx
