// What `plx --version` tells.
#pragma once

#include <string>

#include "module/module.h"

namespace plx {

// plx, the module, ICU, the time-zone data and the last leap second known.
std::string versionText(const Module& module);

}  // namespace plx
