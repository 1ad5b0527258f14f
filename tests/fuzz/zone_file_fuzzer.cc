// Any bytes as a compiled zone file: refused, or a zone whose changes are those of its offsets, and which keeps its
// offsets in ICU's form.

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string_view>

#include "fuzz/input.h"
#include "zones/icu_zone.h"
#include "zones/zone_file.h"

namespace {

using zones::IcuZone;
using zones::ZoneFile;

constexpr std::int64_t k1800 = -5364662400, k2501 = 16756761600;

// As ICU reads such a zone before its final rule.
int offsetIn(const IcuZone& zone, std::int64_t second) {
  const auto after = std::upper_bound(
      zone.changes.begin(), zone.changes.end(), second,
      [](std::int64_t s, const ZoneFile::Change& change) { return s < change.second; });
  const IcuZone::Type& type =
      zone.types[after == zone.changes.begin() ? 0 : std::prev(after)->type];
  return type.raw + type.saving;
}

void requireSteps(const ZoneFile& file) {
  std::int64_t from = k1800;
  for (int i = 0; i < 100; ++i) {
    const auto step = file.nextOffsetChange(from, k2501);
    if (!step) break;
    require(step->second >= from && step->second < k2501, "a step lies where it was looked for");
    require(file.offsetAt(step->second) == step->offset, "a step has the offset that follows");
    require(file.offsetAt(step->second - 1) != step->offset, "and another one before");
    from = step->second + 1;
  }
}

void requireEqual(const ZoneFile& file, const IcuZone& zone) {
  std::int64_t end = k2501;
  if (zone.final) end = std::min(end, zones::dayNumber(zone.final->year, 1, 1) * 86400);
  require(zone.types.size() <= 256 && !zone.types.empty(), "ICU has room for 256 types");
  for (const IcuZone::Type& type : zone.types) require(type.saving >= 0, "no saving is negative");
  std::int64_t from = k1800;
  for (int i = 0; i < 100 && from < end; ++i) {
    require(offsetIn(zone, from) == file.offsetAt(from), "the same offset in ICU's form");
    const auto step = file.nextOffsetChange(from + 1, end);
    if (!step) break;
    from = step->second;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ZoneFile file;
  try {
    file = zones::readZoneFile({reinterpret_cast<const char*>(data), size});
  } catch (const zones::BadZones&) {
    return 0;
  }
  requireSteps(file);
  try {
    requireEqual(file, zones::icuZoneOf(file));
  } catch (const zones::BadZones&) {
    return 0;
  }
  return 0;
}
