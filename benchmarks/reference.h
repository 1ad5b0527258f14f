// What the walks are measured beside: a copy of the same bytes, other calendars, and what the
// compiler makes of plain loops for several instruction sets.
#pragma once

#include "unzoned/plain_walk.h"

// Reads and writes what setting a component reads and writes, with ordinary stores.
void copyElements(const Elements& elements);

// The month of whole milliseconds, each with the calendar of a library.
void setMonthChrono(const Elements& elements);
void setMonthDate(const Elements& elements);
void setMonthCctz(const Elements& elements);

// Month and hour of whole milliseconds in loops without branches, left to the compiler's
// vectoriser and its versions of a function for several instruction sets. They test no domain.
void setMonthAutoVectorised(const Elements& elements);
void setHourAutoVectorised(const Elements& elements);

// The version of these loops, and of the copy, that this processor runs: the one that the resolver
// of the compiler's versions chooses.
const char* autoVersion();
