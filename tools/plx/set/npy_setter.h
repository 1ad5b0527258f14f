// Sets components of every datetime in an .npy file and writes the file anew: same type, byte order,
// shape, order of elements and version of the format.
//
// The datetimes are milliseconds since 1970 (complex128, float64) or counts of their unit
// (datetime64), all of them instants: of UTC in a time zone, counting inserted seconds on the
// leap-second scale, on a plain calendar without a zone. What is below a millisecond stays exactly as
// it is, unless a setting of the second or the time of day replaces it.
//
// NaN and NaT stay, and a value of NaN makes them. A result that the type cannot hold is refused, but the
// result of a value with a fraction is rounded by as much as that value may be off as a double: 30.1
// is written as 30100 ms, though the double is not quite 30.1.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/component.h"
#include "module/module.h"
#include "npy/npy_file.h"
#include "setting/clock_choice.h"

namespace plx {

class Zone;

struct NpySetting {
  Component component;
  double value = 0;       // for all datetimes, where there is no file; or kLast
  std::string file = {};  // the path of an .npy file of values
};

// Takes the next bytes of the new file; valid until it returns.
using WriteBytes = std::function<void(std::string_view)>;

// Applies the settings in their order to every datetime. The values
// of a file are a single one, or as many as the datetimes and of the same shape; its elements may
// stand in another order. `jobs`: threads, of which each has in memory one chunk of some hundred KiB
// and what of the files is mapped.
//
// Returns whether a result on the leap-second scale lies after the end of the table of leap seconds.
//
// Throws a Failure for the first element that is wrong, after all before its chunk were written.
bool setNpy(Module& module, NpyFile& datetimes, const std::vector<NpySetting>& settings,
            const Zone& zone, const ClockChoice& clock, std::size_t jobs, const WriteBytes& write);

}  // namespace plx
