#include "inspect/transitions.h"

#include <unicode/tztrans.h>

#include <cstddef>
#include <iterator>
#include <limits>

namespace plx {

namespace {

// Yearly rules never end; whoever asks for so many years has their stretches made anew.
constexpr std::size_t kMostKnown = 4096;

int offsetOf(const icu::TimeZoneRule& rule) {
  return (rule.getRawOffset() + rule.getDSTSavings()) / 1000;  // whole seconds in every zone
}

Transition transitionOf(const icu::TimeZoneTransition& change) {
  return {floorDiv(static_cast<int128>(change.getTime()), 1000).quotient,
          offsetOf(*change.getFrom()), offsetOf(*change.getTo())};
}

// A change of rules may leave the offset as it is; such are passed over.
std::optional<Transition> lastUntil(const icu::BasicTimeZone& rules, int128 second) {
  icu::TimeZoneTransition change;
  double from = static_cast<double>(second) * 1000.0;
  bool inclusive = true;
  while (rules.getPreviousTransition(from, inclusive, change)) {
    const Transition found = transitionOf(change);
    if (found.before != found.after) return found;
    from = change.getTime();
    inclusive = false;
  }
  return std::nullopt;
}

std::optional<Transition> firstAfter(const icu::BasicTimeZone& rules, int128 second) {
  icu::TimeZoneTransition change;
  double from = static_cast<double>(second) * 1000.0;
  while (rules.getNextTransition(from, false, change)) {
    const Transition found = transitionOf(change);
    if (found.before != found.after) return found;
    from = change.getTime();
  }
  return std::nullopt;
}

}  // namespace

const Stretch& Transitions::at(int128 second) {
  auto after = known_.upper_bound(second);
  if (after != known_.begin()) {
    const Stretch& stretch = std::prev(after)->second;
    if (!stretch.end || second < stretch.end->second) return stretch;
  }
  if (known_.size() >= kMostKnown) known_.clear();
  const Stretch stretch = stretchAt(second);
  const int128 first =
      stretch.begin ? stretch.begin->second : int128{std::numeric_limits<std::int64_t>::min()};
  return known_.insert_or_assign(first, stretch).first->second;
}

Stretch Transitions::stretchAt(int128 second) const {
  const icu::BasicTimeZone* rules = zone_.rules();
  if (rules == nullptr) return {{}, {}, zone_.wallTime(second).offsetSeconds};
  return {lastUntil(*rules, second), firstAfter(*rules, second),
          zone_.wallTime(second).offsetSeconds};
}

}  // namespace plx
