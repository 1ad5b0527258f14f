// Where the time-zone rules in use differ from the system's, told for people.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zones/system_zones.h"

namespace plx {

// "America/Mexico_City: from 2023-04-02 on -06:00 (in use: -05:00 in summer)": one zone, or several with the same rules
// in both, and what differs from a second on until the end of 2099. Dates are the system's wall clock's.
struct RulesDifference {
  std::vector<std::string> names;  // the canonical one first
  std::string what;
};

struct RulesDifferences {
  std::vector<RulesDifference> all;
  std::size_t names = 0;    // of zones that differ
  std::size_t earlier = 0;  // names of zones that differ before that second alone
};

// Of these zones, or of all that the system has. Throws zones::BadZones where a file cannot be read, and a Failure of
// Status::unknownName for a name that the system has no file for.
RulesDifferences differences(const zones::SystemZones& system,
                             const std::vector<std::string>& names, std::int64_t from);

}  // namespace plx
