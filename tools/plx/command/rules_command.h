// plx rules: the time-zone rules in use and the system's, where they differ, and how the system's come into use.
#pragma once

#include <string>
#include <vector>

#include "stream/output.h"

namespace plx {

// Throws a Failure of any status.
void runRulesCommand(const std::vector<std::string>& given, Output& output);

// Before anything else uses a time zone: has ICU use the rules that `plx rules update` has converted, where they are
// newer than its own. Tells on standard error what stands against it.
void useSystemRules();

// Tells on standard error where data were worked on for which the rules in use are not the system's.
void tellOtherRules();

}  // namespace plx
