// The command `plx explain`.
#pragma once

#include <string>
#include <vector>

#include "stream/output.h"

namespace plx {

// COMPONENT VALUE DATETIME and options. Throws a Failure, as `plx set` does for the same setting.
void runExplainCommand(const std::vector<std::string>& given, Output& output);

// Whether somebody looks at a descriptor who can see colours, and has not asked for none.
bool takesColour(int descriptor);

}  // namespace plx
