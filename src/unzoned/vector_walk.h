// The walk over the elements of an array without a zone by vectors: the same results as the plain walk,
// bit for bit, many times faster. Written once, compiled for several instruction sets (vector_walk.cc),
// chosen at run time (best_walk.cc), as the walk in a zone is (zoned/vector_walk.h).
#pragma once

#include <vector>

#include "dispatch/instruction_sets.h"
#include "unzoned/plain_walk.h"

// The walk as it is compiled for one set of instruction_sets.h.
template <class Set>
std::size_t unzonedWalkBy(Component component, bool leapSeconds, const Elements& elements);

using UnzonedInstructionSet = CompiledFor<UnzonedWalk>;

// The sets that this processor has and the walk is compiled for, the best one first. Tests and
// benchmarks call each by name.
std::vector<UnzonedInstructionSet> unzonedInstructionSets();

// The walk of the first, and so best, of the sets; plainWalk where `sets` is empty.
UnzonedWalk* bestUnzonedWalk(const std::vector<UnzonedInstructionSet>& sets);

// The walk of this processor's best set, which is determined in the first call.
UnzonedWalk unzonedVectorWalk;
