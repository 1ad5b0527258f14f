// The sets that this build is compiled for. Only the sources that list them include this header, so that
// choosing other sets recompiles no other source.
#pragma once

#include "dispatch/instruction_sets.h"

namespace instruction_sets {

// The sets of this build, the best one first.
using Compiled = List<PLX_INSTRUCTION_SETS>;

}  // namespace instruction_sets

// The entry functions of the sets that this processor has and this build is compiled for, the best one
// first; empty where the processor has none of these sets.
template <class Walk, class EntryOf>
std::vector<CompiledFor<Walk>> supportedSets(EntryOf entryOf) {
  return instruction_sets::Compiled::supported<Walk>(entryOf);
}
