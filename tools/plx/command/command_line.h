// The commands and options of plx, as people type them.
#pragma once

#include <string>
#include <vector>

#include "stream/output.h"

namespace plx {

// Runs the command that the arguments (without the program's name) ask for. Throws a Failure; what
// was appended to `output` before that is still to be flushed.
void runCommandLine(const std::vector<std::string>& arguments, Output& output);

}  // namespace plx
