// Which rules and tables results go by.
#pragma once

#include <string>

namespace plx {

struct VersionTexts {
  std::string icu;             // "72.1"
  std::string rules;           // the release of the time-zone rules: "2022e"
  std::string rulesFrom;       // "ICU's own", or where they are read
  std::string lastLeapSecond;  // "2012-06-30T23:59:60Z"
};

VersionTexts versionTexts();

}  // namespace plx
