// The versions: of the library, and of the interface. The symbol that bears this host's version; modules refer to it and cannot be bound without it.
#include "host/embed.h"

const int PA_INTERFACE_SYMBOL = PA_INTERFACE_VERSION;

const char* paVersion(void) { return PLX_VERSION; }
