// The command `plx set`.
#pragma once

#include <string>
#include <vector>

#include "stream/output.h"

namespace plx {

// Writes all results, or those before the first datetime that is wrong; then throws its Failure.
void runSetCommand(const std::vector<std::string>& given, Output& output);

}  // namespace plx
