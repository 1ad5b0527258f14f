// Short names of time zones that people use for several of them, and that ICU reads as one.
#pragma once

#include <array>
#include <string_view>

namespace plx {

struct ShortZoneName {
  std::string_view name;
  std::string_view read;    // what it is read as
  std::string_view others;  // identifiers of what else is called so
};

inline constexpr std::array<ShortZoneName, 11> kShortZoneNames = {{
    {"ACT", "Australia/Darwin", "America/Rio_Branco"},
    {"ART", "Africa/Cairo", "America/Argentina/Buenos_Aires"},
    {"AST", "America/Anchorage", "America/Halifax, Asia/Riyadh"},
    {"BST", "Asia/Dhaka", "Europe/London, Pacific/Bougainville"},
    {"CST", "America/Chicago", "Asia/Shanghai, America/Havana"},
    {"ECT", "Europe/Paris", "America/Guayaquil"},
    {"EST", "-05:00 all year", "America/New_York, Australia/Sydney"},
    {"IST", "Asia/Kolkata", "Asia/Jerusalem, Europe/Dublin"},
    {"MST", "-07:00 all year", "America/Denver, Asia/Kuala_Lumpur"},
    {"PST", "America/Los_Angeles", "Asia/Manila"},
    {"SST", "Pacific/Guadalcanal", "Pacific/Pago_Pago"},
}};

}  // namespace plx
