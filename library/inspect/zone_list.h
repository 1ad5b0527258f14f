// The time zones that can be named.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "datetime/exact.h"

namespace plx {

// The identifiers that ICU knows, aliases among them, and the special names local and
// UTCLeapSeconds; sorted.
std::vector<std::string> zoneNames();

// Whether a name matches a pattern: all of it one with *, ? or [, a part of it any other; in any
// letter case, and a space for an underscore.
bool matches(const std::string& name, const std::string& pattern);

// "America/New_York  -04:00  2014-11-02T01:00:00-05:00": the offset at a second, the first moment
// after it that has another one, as the clock then shows it, or "-"; and for an alias "= " and the
// identifier that it stands for. Each with LF at the end.
std::string zoneTable(const std::vector<std::string>& names, int128 second);

}  // namespace plx
