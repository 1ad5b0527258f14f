// The command `plx set`.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "stream/output.h"

namespace plx {

struct SetOptions {
  std::string component, value;
  std::vector<std::string> inputs;  // datetimes, files, "-"; none for standard input
  std::string zone;                 // empty: each datetime has its own
  std::optional<std::string> module;
  bool exact = false;
};

// Writes all results, or those before the first datetime that is wrong; then throws its Failure.
void runSet(const SetOptions& options, Output& output);

}  // namespace plx
