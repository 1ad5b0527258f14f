// The symbol that bears this host's version; modules refer to it and cannot be bound without it.
#include "host/pa_array.h"

const int PA_INTERFACE_SYMBOL = PA_INTERFACE_VERSION;
