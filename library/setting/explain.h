// One setting of one datetime in the caller's memory, explained in words.
#pragma once

#include <string>
#include <string_view>

#include "setting/job.h"

namespace plx {

// The text of inspect/explain.h for the only element and the only setting of a job; `asked` is the value as it was
// written. Throws a Wrong.
std::string explain(const SetJob& job, std::string_view asked, bool colour);

}  // namespace plx
