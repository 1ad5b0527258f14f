#include "base/found_once.h"
#include "unzoned/vector_walk.h"

// A file to itself: a program that measures the calls puts another walk in its place when it is
// linked.
std::size_t vectorWalk(Component component, bool leapSeconds, const Elements& elements) {
  static constinit FoundOnce<Walk> best;
  return best.get([] { return bestWalk(instructionSets()); })(component, leapSeconds, elements);
}
