#include "setting/clock_choice.h"

#include <span>

#include "inspect/wall.h"

namespace plx {

std::optional<plxFold> foldNamed(std::string_view name) {
  if (name == "later") return plxFOLD_LATER;
  if (name == "earlier") return plxFOLD_EARLIER;
  if (name == "same") return plxFOLD_SAME;
  if (name == "error") return plxFOLD_ERROR;
  return std::nullopt;
}

std::optional<plxGap> gapNamed(std::string_view name) {
  if (name == "shift") return plxGAP_SHIFT;
  if (name == "error") return plxGAP_ERROR;
  if (name == "start") return plxGAP_START;
  if (name == "end") return plxGAP_END;
  return std::nullopt;
}

Settled settle(const ClockChoice& choice, Checker& checker, const Zone& zone,
               const Setting& setting, const doubledouble& before, const doubledouble& after) {
  using enum Settled::Kind;
  const int128 second = secondOf(after);
  const Stretch stretch = zone.stretchAt(second);
  const int128 shown = second + stretch.offset;
  if (!stretch.begin) return {};
  const Transition& begin = *stretch.begin;
  const auto finding = [&] { return checker.check(before, after, std::span(&setting, 1)); };
  if (!begin.isGap()) {
    if (shown >= begin.wallBefore()) return {};
    if (choice.fold == plxFOLD_ERROR) return {refused, after, finding()};
    const bool isFirst = choice.fold == plxFOLD_EARLIER ||
                         (choice.fold == plxFOLD_SAME &&
                          zone.wallTime(secondOf(before)).offsetSeconds == begin.before);
    if (!isFirst) return {};
    return {moved, firstOfTwo(after, begin), {}};
  }
  const bool isBehindGap = shown < begin.wallAfter() + (begin.after - begin.before);
  if (choice.gap == plxGAP_SHIFT || !isBehindGap) return {};
  const Finding found = finding();
  if (!found.shifted || !found.gap) return {};
  if (choice.gap == plxGAP_ERROR) return {refused, after, found};
  return {edge, {static_cast<double>(edgeOf(choice.gap, *found.gap)) * 1000.0, 0.0}, found};
}

}  // namespace plx
