// The file of converted time-zone rules: where it is, what it says of itself, and whether it is whole.
//
// It is ICU's zoneinfo64.res. In the comment of its header, which ICU passes over, stands a line:
//
//   plx rules 1; ICU 72; release 2025b; sum 0123456789abcdef; from /usr/share/zoneinfo
//
// The sum is over all bytes of the file, those of itself taken as zeros: any change of neighbouring bytes shows.
// For the host and the converter, which both have to know it; needs the standard library alone.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zones {

// What ICU looks for in a folder of rules.
inline constexpr std::string_view kRulesFile = "zoneinfo64.res";
// Where the system's converted rules are; a user's own are in userRulesFolder().
inline constexpr std::string_view kSystemRulesFolder = "/var/lib/plx/rules";
// plx/rules in XDG_DATA_HOME, or in .local/share of HOME. Empty where neither is known.
std::string userRulesFolder();

struct RulesLabel {
  int icuMajor = 0;     // of the ICU whose own data it completes
  std::string release;  // such as 2025b
  std::string from;     // the folder that was converted
};

// With a place for the sum. `from` keeps what is printable ASCII, and its first 1000 bytes.
std::string commentOf(const RulesLabel& label);
// Puts the sum into a file with such a comment.
void sealRules(std::string& file);

struct CheckedRules {
  RulesLabel label;
  std::string
      problem;  // fit to stand behind the file's name; empty where it is whole and fits this machine
};
// Reads a file's bytes. Whether it fits ICU's version is for the caller to say.
CheckedRules checkRules(std::string_view file);

// What keeps ICU from reading a file that anybody has made: nothing of its rules is looked at, but it is whole where it
// has our sum, and has the length that it tells where it has none. Empty for nothing, else fit to stand behind the
// file's name.
std::string problemForIcu(std::string_view file);

// Whether a release of the time-zone database comes after another: 2025b after 2025a, 1996n and 2024z. False where
// either is no release.
bool isNewer(std::string_view release, std::string_view than);
bool isRelease(std::string_view text);

}  // namespace zones
