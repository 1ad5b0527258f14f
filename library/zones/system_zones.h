// The folder of the system's time zones: a compiled file for each, as Debian's tzdata has them.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zones/zone_file.h"

namespace zones {

// That of TZDIR, as the C library takes it, or /usr/share/zoneinfo.
std::string systemZonesFolder();

class SystemZones {
 public:
  explicit SystemZones(std::string folder) : folder_(std::move(folder)) {}

  const std::string& folder() const { return folder_; }
  // The release of the time-zone database, such as 2025b: from the first line of tzdata.zi, or from +VERSION. Nothing
  // where the folder does not tell it.
  std::optional<std::string> release() const;
  // Of all files below the folder that are zones', sorted: Europe/Paris. Those below posix/ and right/ are the same
  // ones once more, and localtime and posixrules are choices, not zones. Throws BadZones where the folder, or one in
  // it, cannot be read.
  std::vector<std::string> names() const;
  // The bytes of a zone's file. Nothing where there is none of this name; throws BadZones where it cannot be read.
  std::optional<std::string> bytesOf(std::string_view name) const;
  // The same, read.
  std::optional<ZoneFile> zone(std::string_view name) const;
  // The country that each name of zone.tab lies in, as two letters. Empty without this file.
  std::map<std::string, std::string> countries() const;

 private:
  std::string folder_;
};

}  // namespace zones
