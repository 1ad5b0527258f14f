/* Every file that includes this header refers to the symbol that bears the version of the interface
 * it was compiled against: a module built against another version cannot be bound, and so is
 * refused before any of its code runs. Plain C. */
#ifndef PLX_HOST_INTERFACE_H
#define PLX_HOST_INTERFACE_H

#include "host/pa_array.h"

/* For what nothing refers to and no optimisation may drop, at linking neither. */
#if defined(__has_attribute) && __has_attribute(retain)
#define PA_KEPT __attribute__((used, retain))
#else
#define PA_KEPT __attribute__((used))
#endif

static const int* const paInterfaceReference PA_KEPT = &PA_INTERFACE_SYMBOL;

#endif
