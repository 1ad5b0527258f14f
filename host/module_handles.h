// The handles of loaded modules.
//
// A handle is not an address. It holds the number of a place in a table, and how many handles the
// place has given before: so one that was given back, or that never was one, is told from all others
// and never read from. Calls look at their place without a lock. A place takes 24 bytes, and there
// are as many as modules were loaded at once.
#pragma once

#include "host/embed.h"
#include "host/module.h"

namespace host {

struct LoadedModule {
  void* library = nullptr;  // the dynamic linker's handle
  decltype(&plxFunction) function = nullptr;
};

// Throws std::bad_alloc, also where a million modules are loaded.
paModule* addHandle(const LoadedModule& module);

// What the module's entry point is; null for what is no handle, or no longer.
decltype(&plxFunction) functionOf(const paModule* handle);

// Ends a handle and tells its library; null for what is no handle, or no longer.
void* removeHandle(const paModule* handle);

}  // namespace host
