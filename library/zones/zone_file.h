// A compiled zone file of the system, as zic writes it and RFC 8536 describes it (TZif, versions 1 to 4).
//
// Of versions 2 and above the second block is read, whose seconds have 64 bits, and the rule behind it. Seconds
// count from 1970-01-01T00:00:00Z, without leap seconds; offsets are in seconds east of UTC.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "zones/yearly_rule.h"

namespace zones {

// What is wrong with a file or a folder of zones, fit to stand behind its name.
class BadZones : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ZoneFile {
  struct Type {
    int offset;
    // As the file has it: Dublin's winter is saving, by an hour less than its standard time.
    bool isSaving;

    friend bool operator==(const Type&, const Type&) = default;
  };
  struct Change {
    std::int64_t second;
    std::uint8_t type;  // index of the type from there on
  };

  std::vector<Type> types;         // at least one; the first is that of the time before all changes
  std::vector<Change> changes;     // in order
  std::optional<YearlyRule> rule;  // from the last change on; without one, the last type goes on

  // The offset that the zone's clocks show at a second, within 2^60 of 1970 here as below.
  int offsetAt(std::int64_t second) const;

  // The first at `from` or later and before `until`. Nothing where there is none.
  std::optional<OffsetChange> nextOffsetChange(std::int64_t from, std::int64_t until) const;
};

// Throws BadZones for what is no such file, is cut short, contradicts itself, or counts leap seconds.
ZoneFile readZoneFile(std::string_view bytes);

}  // namespace zones
