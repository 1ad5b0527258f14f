// The command `plx get`.
#pragma once

#include <string>
#include <vector>

#include "stream/output.h"

namespace plx {

// Writes a component of every datetime, or of those before the first that is wrong; then throws its
// Failure.
void runGetCommand(const std::vector<std::string>& given, Output& output);

}  // namespace plx
