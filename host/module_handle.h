// A loaded module.
#pragma once

#include "host/embed.h"
#include "host/module.h"

struct paModule {
  void* library;  // the dynamic linker's handle
  decltype(&plxFunction) function;
  paModule* next;  // in the list of those that are not given back
};
