// Settles the results of a zone, by blocks: finds those at a time that a clock shows twice or has skipped, and
// tells what each of them becomes.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <span>

#include "base/calendar_limits.h"
#include "inspect/check.h"
#include "setting/clock_changes.h"
#include "setting/clock_choice.h"

namespace plx {

class ClockSettler {
 public:
  // Zone and checker outlive the settler.
  ClockSettler(const ClockChoice& choice, const Zone& zone, Checker& checker)
      : choice_(choice), zone_(zone), checker_(checker) {}

  // Whether a result can become another one at all.
  bool isNeeded() const { return !choice_.isTheModules() && zone_.isCalendar(); }

  // Calls settleOne(i), in order, for those results that may have to be settled, of all that lie within the
  // calendar's range. Ends where that returns false; whether it never did.
  template <class SettleOne>
  bool forEachNear(std::span<const double> millis, SettleOne settleOne) {
    met_ += millis.size();
    if (!changes_ && met_ >= kRepaysChanges) changes_.emplace(zone_);
    for (std::size_t first = 0; first < millis.size(); first += kTogether) {
      const std::size_t end = std::min(first + kTogether, millis.size());
      if (changes_ && !changes_->areAnyNear(millis.data() + first, end - first)) continue;
      for (std::size_t i = first; i < end; ++i) {
        if (changes_ && !changes_->mayBeNear(millis[i])) continue;
        if (std::fabs(millis[i]) <= kMaxCalendarMillis && !settleOne(i)) return false;
      }
    }
    return true;
  }

  // What becomes of such a result.
  Settled settle(const Setting& setting, const doubledouble& before,
                 const doubledouble& after) const {
    return plx::settle(choice_, checker_, zone_, setting, before, after);
  }

 private:
  // From this many results on the filter pays for itself: it takes as long to make as their exact tests.
  static constexpr std::size_t kRepaysChanges = 512;
  static constexpr std::size_t kTogether = 32;  // results that the filter is asked about at once

  const ClockChoice choice_;
  const Zone& zone_;
  Checker& checker_;
  std::optional<ClockChanges> changes_;  // the filter; empty until it is worth making
  std::size_t met_ = 0;                  // results so far
};

}  // namespace plx
