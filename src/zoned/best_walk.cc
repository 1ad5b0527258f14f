#include "base/found_once.h"
#include "dispatch/compiled_sets.h"
#include "zoned/table_walk.h"
#include "zoned/vector_walk.h"

namespace {

void walkByTable(const ZonedCall& call) {
  tableWalk(call.table, call.component, call.elements, call.calendar);
}

}  // namespace

std::vector<ZonedInstructionSet> zonedInstructionSets() {
  return supportedSets<ZonedWalk>([](auto set) { return &zonedWalkBy<decltype(set)>; });
}

ZonedWalk* bestZonedWalk(const std::vector<ZonedInstructionSet>& sets) {
  return bestOf(sets, &walkByTable);
}

void zonedVectorWalk(const ZonedCall& call) {
  static constinit FoundOnce<ZonedWalk> best;
  best.get([] { return bestZonedWalk(zonedInstructionSets()); })(call);
}
