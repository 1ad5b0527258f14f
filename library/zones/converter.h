// From the system's compiled time zones to the file that ICU reads in place of its own rules.
//
// A name that the system has a file for gets the rules of that file. All names that ICU knows stay: what the system
// has no file for is another name of what it was another name of, or keeps ICU's own rules (ACT, Etc/Unknown).
// Names that are new to ICU are added. Names whose files are equal share rules where ICU takes them for the same
// zone, or does not know one of them.
#pragma once

#include <string>

#include "zones/own_rules.h"
#include "zones/system_zones.h"

namespace zones {

struct Converted {
  std::string file;          // the bytes of zoneinfo64.res
  std::string release;       // such as 2025b
  std::size_t names, added;  // how many names it has, and of them those that ICU did not know
};

// Throws BadZones for a folder without zones or a release, and for a zone that cannot be read, whose name the
// message has.
Converted convert(const SystemZones& system, const OwnRules& own);

}  // namespace zones
