#include "datetime/layout_reader.h"

#include <algorithm>

#include "datetime/format.h"

namespace plx {

LayoutReader::LayoutReader(const Notation& notation) : notation_(notation) {
  const bool isWrittenAsRead =
      !notation.to && !notation.toFormat && !notation.exact && !notation.digits;
  const bool isIso = notation.from == Form::recognised || notation.from == Form::calendar;
  if (!isWrittenAsRead || !isIso) return;
  if (notation.formats.empty() || notation.recognisedToo)
    layouts_ = {&Layout::ofIsoDatetimes(), &Layout::ofIsoDates()};
  for (const auto& format : notation.formats) {
    const Layout& layout = format->layout();
    // What looks like a date of ISO 8601 is first tried as one.
    const bool isTriedAsIso = notation.recognisedToo && layout.hasLiteral(4, '-');
    // All formats are tried, as two that differ are an error.
    const bool isAlone = std::ranges::all_of(notation.formats, [&](const auto& other) {
      return other == format || other->layout().refusesAllOf(layout);
    });
    if (layout.isWhole() && !isTriedAsIso && isAlone) layouts_.push_back(&layout);
  }
  if (!layouts_.empty()) last_ = layouts_.front();
}

const Layout* LayoutReader::readOther(std::string_view text, PlainTime& time) {
  for (const Layout* const layout : layouts_) {
    if (layout == last_ || !layout->read(text, time)) continue;
    if (isMissing(text)) return nullptr;
    return last_ = layout;
  }
  return nullptr;
}

}  // namespace plx
