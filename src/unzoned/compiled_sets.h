// The sets that this build is compiled for. Only the sources that list them include this header, so that
// another choice of sets compiles no others anew.
#pragma once

#include "unzoned/instruction_sets.h"

namespace instruction_sets {

// The sets of this build, the best one first.
using Compiled = List<PLX_INSTRUCTION_SETS>;

}  // namespace instruction_sets

// The entries of the sets that this processor has and this build is compiled for, the best one first;
// none where it has none of them.
template <class Walk, class EntryOf>
std::vector<CompiledFor<Walk>> supportedSets(EntryOf entryOf) {
  return instruction_sets::Compiled::supported<Walk>(entryOf);
}
