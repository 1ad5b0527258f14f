// The walk over the elements of an array by vectors: the same results as the plain walk, bit for
// bit, many times faster. Written once, compiled for several instruction sets, chosen at run time.
#pragma once

#include <vector>

#include "unzoned/instruction_sets.h"
#include "unzoned/plain_walk.h"

// The walk as it is compiled for one set of instruction_sets.h.
template <class Set>
std::size_t walkBy(Component component, bool leapSeconds, const Elements& elements);

using InstructionSet = CompiledFor<Walk>;

// The sets that this processor has and the walk is compiled for, the best one first. Tests and
// benchmarks call each by name.
std::vector<InstructionSet> instructionSets();

// The walk of the best of the sets; the plain one where there is none.
Walk* bestWalk(const std::vector<InstructionSet>& sets);

// Walks with the best set of this processor, which is found out once (best_walk.cc).
Walk vectorWalk;
