#include "inspect/rules_difference.h"

#include <fmt/format.h>
#include <unicode/basictz.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "datetime/datetime_text.h"
#include "messages/icu.h"
#include "messages/message.h"
#include "zones/difference.h"

namespace plx {

namespace {

constexpr std::int64_t kDay = 86400;
constexpr std::int64_t kEnd = 4102444800;     // 2100-01-01
constexpr std::int64_t kFirst = -5364662400;  // 1800-01-01
// Where differences come and go as often as this, no more than so many days apart, they do so every year.
constexpr std::size_t kYearly = 20;
constexpr std::int64_t kYear = 400 * kDay;
constexpr std::int64_t kSeason = 60 * kDay;
// The end of a spell that goes on.
constexpr zones::Offsets kNever{kEnd, 0, 0};

// A stretch of time in which the two differ throughout.
struct Spell {
  zones::Offsets begin;
  zones::Offsets end;  // where they agree again; kNever for one that goes on
};

// Of one that goes on: apart where the two differ by another amount, since the offset that holds at its beginning may
// not be the one of today. Whole where that comes back every year.
std::vector<Spell> partsOf(const zones::Offsets& first, const icu::BasicTimeZone& zone,
                           const zones::ZoneFile& file) {
  std::vector<Spell> parts;
  auto begin = std::optional(first);
  while (begin && parts.size() < kYearly) {
    const auto next = zones::firstOtherwise(zone, file, *begin, kEnd);
    parts.push_back({*begin, next.value_or(kNever)});
    begin = next;
  }
  if (begin) parts.assign(1, {first, kNever});
  return parts;
}

std::vector<Spell> spellsOf(const icu::BasicTimeZone& zone, const zones::ZoneFile& file,
                            std::int64_t from) {
  std::vector<Spell> all;
  while (const auto begin = zones::firstDifferent(zone, file, from, kEnd)) {
    const auto end = zones::firstEqual(zone, file, begin->second, kEnd);
    if (!end) {
      const std::vector<Spell> parts = partsOf(*begin, zone, file);
      all.insert(all.end(), parts.begin(), parts.end());
      break;
    }
    all.push_back({*begin, *end});
    from = end->second;
  }
  return all;
}

std::string offsetText(int offset) {
  std::string text;
  writeOffset(text, offset);
  return text;
}

// The day that the system's clock shows at a second, or before it.
std::string dayTextOf(std::int64_t second, int offset) {
  DatetimeText form;
  form.separator = 'T';
  std::string text;
  writeDatetime(text, form, {int128{second} + offset, false, OffsetForm::z, 0}, "");
  return text.substr(0, text.find('T'));
}

std::string offsetsOf(const zones::Offsets& offsets) {
  return fmt::format("{} (in use: {})", offsetText(offsets.system), offsetText(offsets.icu));
}

// How many of the spells, from the front, come to an end; those behind them go on, or come back every year.
std::size_t countOfPast(const std::vector<Spell>& spells) {
  std::size_t count = spells.size();
  std::int64_t next = kEnd;
  while (count > 0 && next - spells[count - 1].end.second < kYear)
    next = spells[--count].begin.second;
  const bool isYearly = spells.size() - count >= kYearly;
  if (isYearly) return count;
  return spells.back().end.second == kEnd ? spells.size() - 1 : spells.size();
}

// Of spells that come back, the first one.
std::string yearly(const Spell& spell, const std::string& date) {
  const zones::Offsets& begin = spell.begin;
  if (spell.end.second - begin.second < kSeason)
    return fmt::format("from {} on for some days or weeks a year {}", date, offsetsOf(begin));
  // It ends as one of the two changes its offset by the season.
  const bool isOfSystem = spell.end.system != begin.system;
  const bool isSaving = (begin.system > begin.icu) == isOfSystem;
  const std::string season = isSaving ? " in summer" : " in winter";
  return fmt::format("from {} on {}{} (in use: {}{})", date, offsetText(begin.system),
                     isOfSystem ? season : "", offsetText(begin.icu), isOfSystem ? "" : season);
}

std::string describe(const std::vector<Spell>& spells, std::int64_t from) {
  const auto dateOfBegin = [](const Spell& spell) {
    return dayTextOf(spell.begin.second, spell.begin.system);
  };
  const auto dateOfEnd = [](const Spell& spell) {
    return dayTextOf(spell.end.second - 1, spell.begin.system);
  };
  std::string text;
  const std::size_t past = countOfPast(spells);
  if (past > 0) {
    const Spell& first = spells.front();
    // What begins before the time that is looked at ends within it.
    const std::string begin =
        first.begin.second == from ? "until" : fmt::format("from {} to", dateOfBegin(first));
    text = fmt::format("{} {} {}", begin, dateOfEnd(first), offsetsOf(first.begin));
    if (past == 2) text += fmt::format("; once more until {}", dateOfEnd(spells[1]));
    if (past > 2)
      text += fmt::format("; {} more times until {}", past - 1, dateOfEnd(spells[past - 1]));
  }
  if (past == spells.size()) return text;
  if (past > 0) text += "; ";
  const Spell& lasting = spells[past];
  if (spells.size() - past >= kYearly) return text + yearly(lasting, dateOfBegin(lasting));
  return text + fmt::format("from {} on {}", dateOfBegin(lasting), offsetsOf(lasting.begin));
}

// Null for a zone that ICU does not know.
std::unique_ptr<icu::BasicTimeZone> zoneInUse(const std::string& name) {
  const icu::UnicodeString id = unicodeText(name);
  std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(id));
  icu::UnicodeString got;
  if (!zone || zone->getID(got) != id) return nullptr;
  auto* rules = dynamic_cast<icu::BasicTimeZone*>(zone.get());
  if (rules != nullptr) (void)zone.release();
  return std::unique_ptr<icu::BasicTimeZone>(rules);
}

bool isCanonical(const std::string& name) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::UnicodeString id = unicodeText(name);
  icu::UnicodeString canonical;
  icu::TimeZone::getCanonicalID(id, canonical, status);
  return U_SUCCESS(status) && canonical == id;
}

}  // namespace

RulesDifferences differences(const zones::SystemZones& system,
                             const std::vector<std::string>& names, std::int64_t from) {
  RulesDifferences found;
  // By the system's file and by what differs, so that other names of a zone stand beside it.
  std::map<std::pair<std::string, std::string>, std::size_t> known;
  const std::vector<std::string> asked = names.empty() ? system.names() : names;
  if (asked.empty()) throw zones::BadZones("has no zone files");
  for (const std::string& name : asked) {
    const auto bytes = system.bytesOf(name);
    if (!bytes) {
      throw Failure{
          Status::unknownName,
          plx::describe(
              "ZONE", {"the system has no such zone", "an identifier such as Europe/Paris"}, name)};
    }
    std::string what = "unknown to the rules in use";
    if (const auto zone = zoneInUse(name)) {
      const auto file = system.zone(name);
      const auto spells = spellsOf(*zone, *file, from);
      if (spells.empty()) {
        if (from > kFirst && zones::firstDifferent(*zone, *file, kFirst, from)) ++found.earlier;
        continue;
      }
      what = describe(spells, from);
    }
    const auto [place, isNew] = known.try_emplace({*bytes, what}, found.all.size());
    if (isNew) found.all.push_back({{}, what});
    auto& group = found.all[place->second].names;
    if (std::ranges::find(group, name) != group.end()) continue;
    group.push_back(name);
    ++found.names;
  }
  for (RulesDifference& one : found.all)
    std::stable_partition(one.names.begin(), one.names.end(), isCanonical);
  std::ranges::sort(found.all, {}, [](const RulesDifference& one) { return one.names.front(); });
  return found;
}

}  // namespace plx
