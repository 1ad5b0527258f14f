// `plx set` on an .npy file.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "command/text_command.h"
#include "module/module.h"
#include "set/npy_setter.h"
#include "stream/output.h"

namespace plx {

// Whether one of the inputs is an array, by its name in any letter case or by its first bytes.
bool namesArray(const std::vector<std::string>& inputs);

// Sets an array. Throws a Failure of Status::usage for options that have to do with text alone.
void runNpy(const TextOptions& options, const std::vector<NpySetting>& settings, bool checks,
            const std::optional<std::string>& modulePath, Output& standard);

}  // namespace plx
