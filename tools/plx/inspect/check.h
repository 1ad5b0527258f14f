// What became of a setting: whether the datetime that came out has the value that was asked for.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "arith/doubledouble.h"
#include "datetime/zone.h"
#include "inspect/transitions.h"
#include "set/components.h"

namespace plx {

// A component and the number it was set to, `last` and other names resolved.
struct Setting {
  const Component* component;
  double value;
};

struct Finding {
  // A component is not what it was set to, as with month 13 or day 31 in April: the value carried
  // into larger units. The setting itself, and what the component then was before any gap.
  std::optional<Setting> carried;
  double readBack = 0;
  // The day of the month changed although nothing set it: there is no 29 February in the new year,
  // or no 31st in the new month. The day that was kept.
  std::optional<double> lostDay;
  // The wall time that came out is skipped by this change of the clock, and another took its place.
  // Without a transition: it was on the way, in an earlier one of several settings.
  bool shifted = false;
  std::optional<Transition> gap;
  // The result is the second of two instants that show the same wall time.
  std::optional<Transition> overlap;
  // It was the first one before: nothing but the instant has moved.
  bool moved = false;

  // Not what was asked for in plain words. An overlap alone counts as well: which of the two was
  // meant is not known.
  bool any() const { return carried || lostDay || shifted || overlap; }
};

class Checker {
 public:
  // The zone must outlive this object. Not to be shared between threads.
  explicit Checker(const Zone& zone) : zone_(zone), transitions_(zone) {}

  // The pairs before and after the settings, which were applied in their order, each through the
  // module. Both are finite and, in a calendar, within its range.
  Finding check(const doubledouble& before, const doubledouble& after,
                std::span<const Setting> settings);

  // One line for messages, as in "there is no 31 April 2014: carried to 2014-05-01". Empty where
  // nothing was found.
  std::string describe(const Finding& finding, const doubledouble& after) const;

 private:
  const Zone& zone_;
  Transitions transitions_;
};

}  // namespace plx
