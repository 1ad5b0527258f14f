// A zone in the form that ICU reads from zoneinfo64.res.
//
// ICU keeps an offset as two parts, raw and saving, and its saving is never negative: Dublin's winter, an hour
// less than standard time in the system's file, is ICU's raw offset, and its summer has an hour of saving. A
// yearly rule holds from the beginning of a year (in UTC) on; everything before is a list of changes.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "zones/zone_file.h"

namespace zones {

struct IcuZone {
  struct Type {
    int raw, saving;  // seconds; together the offset

    friend auto operator<=>(const Type&, const Type&) = default;
  };
  // Month (from 0), day, day of the week, second, mode; of the beginning and of the end of saving; then the saving:
  //   day > 0, weekday < 0   the first such weekday on or after the day
  //   day = -1, weekday > 0  the last such weekday of the month
  //   weekday = 0            the day itself
  // Weekdays are 1 (Sunday) to 7; the mode is 0 for a time of the wall clock, which is all that is used here.
  using Rule = std::array<int, 11>;
  struct Final {
    Rule rule;
    int raw;
    int year;  // from whose beginning on the rule holds
  };

  std::vector<Type> types;  // the first is that of the time before all changes
  std::vector<ZoneFile::Change> changes;
  std::optional<Final> final;
};

// The years from 1800 on that explicit changes reach to, of a rule that ICU has no form for.
inline constexpr int kLastListedYear = 2500;

// The offsets are those of the file at every second from 1800 on; of a rule that ICU has no form for, until
// kLastListedYear. Throws BadZones where ICU has no room for the changes.
IcuZone icuZoneOf(const ZoneFile& file);

}  // namespace zones
