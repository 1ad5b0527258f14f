#include "zones/converter.h"

#include <unicode/uvernum.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "zones/icu_zone.h"
#include "zones/resource_bundle.h"
#include "zones/rules_file.h"

namespace zones {

namespace {

constexpr std::string_view kNoRegion = "001";

struct Name {
  std::string name, region;
  const OwnRules::Zone* own = nullptr;  // null for one that ICU does not know
  std::optional<std::string> bytes;     // the system's file
  std::optional<std::size_t> alias;     // the name whose rules it shares
  IcuZone rules;                        // otherwise
};

std::size_t placeOf(const std::vector<Name>& names, std::string_view name) {
  const auto found = std::lower_bound(names.begin(), names.end(), name,
                                      [](const Name& a, std::string_view b) { return a.name < b; });
  if (found == names.end() || found->name != name)
    throw BadZones("ICU's time-zone data is damaged");
  return static_cast<std::size_t>(found - names.begin());
}

std::vector<Name> allNames(const SystemZones& system, const OwnRules& own) {
  std::map<std::string, Name> all;
  for (const OwnRules::Zone& zone : own.zones)
    all[zone.name] = {zone.name, zone.region, &zone, {}, {}, {}};
  const auto countries = system.countries();
  const std::vector<std::string> ofSystem = system.names();
  if (ofSystem.empty()) throw BadZones("has no zone files");
  for (const std::string& name : ofSystem) {
    Name& entry = all[name];
    entry.bytes = system.bytesOf(name);
    if (entry.own != nullptr) continue;
    entry.name = name;
    const auto country = countries.find(name);
    entry.region = country == countries.end() ? kNoRegion : country->second;
  }
  // What is none of a zone's files is passed over, but where one is missing by damage ICU's old rules must not stand in,
  // and a zone of the table of countries must not stay unknown.
  std::set<std::string> expected;
  for (const OwnRules::Zone& zone : own.zones) expected.insert(zone.name);
  for (const auto& [name, country] : countries) expected.insert(name);
  for (const std::string& name : expected) {
    const auto found = all.find(name);
    if ((found == all.end() || !found->second.bytes) && system.bytesOf(name))
      throw BadZones(name + ": not a zone file");
  }
  std::vector<Name> names;
  names.reserve(all.size());
  for (auto& [name, entry] : all) names.push_back(std::move(entry));
  return names;
}

// To a name that has rules of its own.
void shareRules(std::vector<Name>& names, const OwnRules& own) {
  std::map<std::string, std::size_t> firstWith;  // of those that ICU has rules for
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i].own != nullptr && !names[i].own->alias && names[i].bytes)
      firstWith.try_emplace(*names[i].bytes, i);
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    Name& name = names[i];
    if (name.own == nullptr) {
      const auto [first, isNew] = firstWith.try_emplace(*name.bytes, i);
      if (!isNew) name.alias = first->second;
    } else if (name.own->alias) {
      if (*name.own->alias >= own.zones.size()) throw BadZones("ICU's time-zone data is damaged");
      const std::size_t target = placeOf(names, own.zones[*name.own->alias].name);
      if (!name.bytes || name.bytes == names[target].bytes) name.alias = target;
    }
  }
  for (const Name& name : names) {
    if (name.alias && names[*name.alias].alias) throw BadZones("ICU's time-zone data is damaged");
  }
}

IcuZone rulesOf(const Name& name) {
  if (!name.bytes) return name.own->rules;
  try {
    return icuZoneOf(readZoneFile(*name.bytes));
  } catch (const BadZones& bad) {
    throw BadZones(name.name + ": " + bad.what());
  }
}

// ----------------------------------------------------------------------------------------- The bundle

// Each rule once, by the name that zones refer to it with.
class Rules {
 public:
  explicit Rules(const std::vector<Name>& names) {
    for (const Name& name : names) {
      if (!name.alias && name.rules.final) names_.try_emplace(name.rules.final->rule);
    }
    std::size_t number = 0;
    for (auto& [rule, name] : names_) name = "Rule" + std::to_string(++number);
  }

  const std::map<IcuZone::Rule, std::string>& names() const { return names_; }
  const std::string& nameOf(const IcuZone::Rule& rule) const { return names_.at(rule); }

 private:
  std::map<IcuZone::Rule, std::string> names_;
};

ResourceBundle::Resource tableOf(const IcuZone& zone, const std::vector<std::int32_t>& links,
                                 const Rules& rules, ResourceBundle& bundle) {
  ResourceBundle::Table items;
  std::vector<std::int32_t> types, before, within, after;
  for (const IcuZone::Type& type : zone.types) types.insert(types.end(), {type.raw, type.saving});
  std::string map;
  for (const ZoneFile::Change& change : zone.changes) {
    map += static_cast<char>(change.type);
    const auto high = static_cast<std::int32_t>(change.second >> 32);
    const auto low = static_cast<std::int32_t>(static_cast<std::uint32_t>(change.second));
    if (change.second == low) {
      within.push_back(low);
    } else {
      auto& list = change.second < 0 ? before : after;
      list.insert(list.end(), {high, low});
    }
  }
  items["typeOffsets"] = bundle.numbers(types);
  if (!before.empty()) items["transPre32"] = bundle.numbers(before);
  if (!within.empty()) items["trans"] = bundle.numbers(within);
  if (!after.empty()) items["transPost32"] = bundle.numbers(after);
  if (!map.empty()) items["typeMap"] = bundle.bytes(map);
  if (links.size() > 1) items["links"] = bundle.numbers(links);
  if (zone.final) {
    items["finalRule"] = bundle.text(rules.nameOf(zone.final->rule));
    items["finalRaw"] = ResourceBundle::number(zone.final->raw);
    items["finalYear"] = ResourceBundle::number(zone.final->year);
  }
  return bundle.table(items);
}

std::string bundleOf(const std::vector<Name>& names, const RulesLabel& label) {
  const Rules rules(names);
  std::set<std::string> keys = {"Names",      "Regions",     "Rules",     "TZVersion",  "Zones",
                                "finalRaw",   "finalRule",   "finalYear", "links",      "trans",
                                "transPre32", "transPost32", "typeMap",   "typeOffsets"};
  for (const auto& [rule, name] : rules.names()) keys.insert(name);
  ResourceBundle bundle(keys);

  std::vector<std::vector<std::int32_t>> links(names.size());
  for (std::size_t i = 0; i < names.size(); ++i)
    links[names[i].alias.value_or(i)].push_back(static_cast<std::int32_t>(i));

  std::vector<ResourceBundle::Resource> ids, zones, regions;
  for (std::size_t i = 0; i < names.size(); ++i) {
    ids.push_back(bundle.text(names[i].name));
    regions.push_back(bundle.text(names[i].region));
    zones.push_back(names[i].alias ? ResourceBundle::number(static_cast<int>(*names[i].alias))
                                   : tableOf(names[i].rules, links[i], rules, bundle));
  }
  ResourceBundle::Table ruleTable;
  for (const auto& [rule, name] : rules.names())
    ruleTable[name] = bundle.numbers(std::vector<std::int32_t>(rule.begin(), rule.end()));
  std::string file = bundle.file({{"Names", bundle.array(ids)},
                                  {"Regions", bundle.array(regions)},
                                  {"Rules", bundle.table(ruleTable)},
                                  {"TZVersion", bundle.text(label.release)},
                                  {"Zones", bundle.array(zones)}},
                                 commentOf(label));
  sealRules(file);
  return file;
}

}  // namespace

Converted convert(const SystemZones& system, const OwnRules& own) {
  std::vector<Name> names = allNames(system, own);
  const auto release = system.release();
  if (!release)
    throw BadZones("does not tell its release: there is neither tzdata.zi nor +VERSION in it");
  shareRules(names, own);
  for (Name& name : names) {
    if (!name.alias) name.rules = rulesOf(name);
  }
  Converted converted;
  converted.file = bundleOf(names, {U_ICU_VERSION_MAJOR_NUM, *release, system.folder()});
  converted.release = *release;
  converted.names = names.size();
  converted.added = static_cast<std::size_t>(std::count_if(
      names.begin(), names.end(), [](const Name& name) { return name.own == nullptr; }));
  return converted;
}

}  // namespace zones
