// The versions: of the library, and of the interface. Modules refer to the symbol that bears this
// host's version, and cannot be bound without it.
#include "host/embed.h"

const int PA_INTERFACE_SYMBOL = PA_INTERFACE_VERSION;

const char* paVersion(void) { return PLX_VERSION; }
