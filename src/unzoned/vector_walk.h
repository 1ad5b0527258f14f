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

// The walk of the first, and so best, of the sets; plainWalk where `sets` is empty.
Walk* bestWalk(const std::vector<InstructionSet>& sets);

// The walk of this processor's best set, which is determined in the first call (best_walk.cc).
Walk vectorWalk;
