// The walk over the elements of an array by vectors: the same results as the plain walk, bit for
// bit, many times faster. Written once, compiled for several instruction sets, chosen when it runs.
#pragma once

#include <vector>

#include "unzoned/plain_walk.h"

struct InstructionSet {
  const char* name;  // "AVX3", "AVX2", "SSE4", ...: Highway's names
  Walk* walk;
};

// The sets that this processor has and the walk is compiled for, the best one first. Tests and
// benchmarks call each by name.
std::vector<InstructionSet> instructionSets();

// Walks with the best set of this processor, which is found out once.
Walk vectorWalk;
