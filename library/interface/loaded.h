// The module that the library works with, loaded once in a process.
#pragma once

#include "module/module.h"

namespace plx {

// Loads the file, or with null the one that plx.h tells. Throws a Wrong where that fails, or another file
// is loaded already.
void load(const char* asked);

// Loads it first where nobody has.
const Module& loadedModule();

}  // namespace plx
