// Wall times that a clock shows twice or skips: which instant is meant.
#pragma once

#include <optional>
#include <string_view>

#include "arith/doubledouble.h"
#include "datetime/zone.h"
#include "inspect/check.h"
#include "plx/plx.h"

namespace plx {

// The defaults are the module's rule.
struct ClockChoice {
  plxFold fold = plxFOLD_LATER;
  plxGap gap = plxGAP_SHIFT;

  bool isTheModules() const { return fold == plxFOLD_LATER && gap == plxGAP_SHIFT; }
};

// By their names: later, earlier, same, error; shift, error, start, end. Nothing for any other text.
std::optional<plxFold> foldNamed(std::string_view name);
std::optional<plxGap> gapNamed(std::string_view name);
inline constexpr std::string_view kAcceptedFolds = "later, earlier, same or error";
inline constexpr std::string_view kAcceptedGaps = "shift, error, start or end";

// For messages about a time that was refused.
inline constexpr std::string_view kAcceptedForFolds =
    "times that come once, or --fold earlier, later or same";
inline constexpr std::string_view kAcceptedForGaps =
    "times that the clock shows, or --gap shift, start or end";

// The second that stands for all times of a gap: the last before it, or the first after it.
inline int128 edgeOf(plxGap gap, const Transition& change) {
  return gap == plxGAP_START ? change.second - 1 : change.second;
}

// The first of two instants that show the same wall time, given the second.
inline doubledouble firstOfTwo(const doubledouble& second, const Transition& change) {
  return dd::subtract(second, 1000.0 * (change.before - change.after));
}

// What a result of the module becomes.
struct Settled {
  enum class Kind {
    kept,     // as it is
    moved,    // to the first of two instants
    edge,     // to a whole second beside a gap
    refused,  // for what the finding tells
  };
  Kind kind = Kind::kept;
  doubledouble result{};
  Finding finding = {};
};

// What becomes of the result `after` of setting `before`, both within a calendar's range.
Settled settle(const ClockChoice& choice, Checker& checker, const Zone& zone,
               const Setting& setting, const doubledouble& before, const doubledouble& after);

}  // namespace plx
