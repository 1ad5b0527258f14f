// The walk over the elements of an array in a time zone by vectors: the same results as the table
// walk, bit for bit, many times faster. Written once, compiled for several instruction sets
// (vector_walk.cc), chosen at run time (best_walk.cc), as the walk without a zone is
// (unzoned/vector_walk.h).
#pragma once

#include <cstddef>
#include <vector>

#include "base/component.h"
#include "base/elements.h"
#include "dispatch/instruction_sets.h"
#include "offsets/offset_table.h"
#include "zoned/calendar_walk.h"
#include "zoned/zone_lookup.h"

struct ZonedCall {
  const OffsetTable& table;
  const zone_lanes::Zone zone;  // made from the table
  const Component component;
  const Elements& elements;
  CalendarWalk& calendar;
};

// Sets elements in order; those that vectors do not claim are set by setByTable() or by the calendar,
// which may raise. The results behind the element that raises are unspecified.
using ZonedWalk = void(const ZonedCall& call);

// The walk as it is compiled for one set of instruction_sets.h.
template <class Set>
void zonedWalkBy(const ZonedCall& call);

using ZonedInstructionSet = CompiledFor<ZonedWalk>;

// The sets that this processor has and the walk is compiled for, the best one first. Tests and
// benchmarks call each by name.
std::vector<ZonedInstructionSet> zonedInstructionSets();

// The walk of the first, and so best, of the sets; the table walk where `sets` is empty.
ZonedWalk* bestZonedWalk(const std::vector<ZonedInstructionSet>& sets);

// The walk of this processor's best set, which is determined in the first call.
ZonedWalk zonedVectorWalk;
