// One setting as a person reads it: what was asked, what came out, and why.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "arith/doubledouble.h"
#include "datetime/exact.h"
#include "datetime/zone.h"
#include "inspect/check.h"

namespace plx {

struct Explained {
  const Zone& zone;
  Setting setting;
  std::string asked;           // the value as it was written: "2", "last", "mon"
  doubledouble before, after;  // around the module's call; finite and within the zone's range
  std::size_t digits = 9;      // most digits of a second's fraction
  // What the text of the datetime says where it has no offset: seconds on the clock.
  std::optional<int128> wall = std::nullopt;
  // The field, where it is another than the setting's component, and the whole setting as it was typed,
  // where it is no new value: "month+=1".
  CalendarField field = {};
  std::string typed = {};
  // How wide the text may be: narrower ones have less beside each other. No word is broken.
  std::size_t columns = 78;
};

// Lines, each ending with LF: the title, both datetimes, what happened in words, the edges of a gap
// or overlap, and a calendar where the date changed. At most 80 columns wide but for years of more
// than five digits and fractions of more than eight. With `colour`, ANSI escapes emphasise what changed.
std::string explain(const Explained& explained, bool colour);

}  // namespace plx
