// The command `plx zones`.
#pragma once

#include <string>
#include <vector>

#include "stream/output.h"

namespace plx {

// [PATTERN] [--at DATETIME]. Throws a Failure; of Status::unknownName where no zone matches.
void runZonesCommand(const std::vector<std::string>& given, Output& output);

}  // namespace plx
