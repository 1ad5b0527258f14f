#include "unzoned/vector_walk.h"

#include "unzoned/compiled_sets.h"

std::vector<InstructionSet> instructionSets() {
  return supportedSets<Walk>([](auto set) { return &walkBy<decltype(set)>; });
}

Walk* bestWalk(const std::vector<InstructionSet>& sets) { return bestOf(sets, &plainWalk); }
