#include "base/found_once.h"
#include "dispatch/compiled_sets.h"
#include "unzoned/vector_walk.h"

std::vector<UnzonedInstructionSet> unzonedInstructionSets() {
  return supportedSets<UnzonedWalk>([](auto set) { return &unzonedWalkBy<decltype(set)>; });
}

UnzonedWalk* bestUnzonedWalk(const std::vector<UnzonedInstructionSet>& sets) {
  return bestOf(sets, &plainWalk);
}

std::size_t unzonedVectorWalk(Component component, bool leapSeconds, const Elements& elements) {
  static constinit FoundOnce<UnzonedWalk> best;
  return best.get([] { return bestUnzonedWalk(unzonedInstructionSets()); })(component, leapSeconds,
                                                                            elements);
}
