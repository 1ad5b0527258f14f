// One setting as a person reads it: what was asked, what came out, and why.
#pragma once

#include <string>

#include "arith/doubledouble.h"
#include "datetime/zone.h"
#include "inspect/check.h"

namespace plx {

struct Explained {
  const Zone& zone;
  Setting setting;
  std::string asked;           // the value as it was written: "2", "last", "mon"
  doubledouble before, after;  // around the module's call
};

// Some lines, each ending with LF and at most 80 columns wide in plain zones' names; with `colour`,
// ANSI escapes emphasise what changed.
std::string explain(const Explained& explained, bool colour);

}  // namespace plx
