// The time-zone rules that ICU has built in, read from its resource bundles.
//
// ICU can be told to read rules from elsewhere (ICU_TIMEZONE_FILES_DIR), and keeps in a process what it read first.
// Its own are read here beside those, and change nothing about which are in use. Not to be called while another thread
// uses ICU.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "zones/icu_zone.h"

namespace zones {

struct OwnRules {
  struct Zone {
    std::string name;
    std::string region;  // two letters, or 001
    // Either the zone that this is another name of, or rules.
    std::optional<std::size_t> alias;
    IcuZone rules;
  };

  std::string release;      // such as 2022e
  std::vector<Zone> zones;  // by name, as std::string compares
};

// Throws BadZones where ICU's data cannot be read.
OwnRules readOwnRules();
// The same of the file zoneinfo64.res in a folder, whatever rules ICU is told to use.
OwnRules readRulesIn(const std::string& folder);

}  // namespace zones
