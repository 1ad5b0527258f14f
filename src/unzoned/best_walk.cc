#include "base/found_once.h"
#include "unzoned/vector_walk.h"

// A file of its own, so that the module with the plain code, which benchmarks compare with, can be linked
// with another vectorWalk().
std::size_t vectorWalk(Component component, bool leapSeconds, const Elements& elements) {
  static constinit FoundOnce<Walk> best;
  return best.get([] { return bestWalk(instructionSets()); })(component, leapSeconds, elements);
}
