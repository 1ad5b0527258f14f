#include "set/task_reader.h"

#include "datetime/number_text.h"
#include "inspect/check.h"
#include "inspect/wall.h"

namespace plx {

std::optional<int128> wallOf(const Reading& reading) {
  const DatetimeText& text = reading.text;
  const bool isNumber = isCount(text.form) || text.form == Form::pair;
  if (reading.missing || isNumber || !reading.zone->isCalendar() ||
      text.offset != OffsetForm::none || !text.suffix.zone.empty())
    return std::nullopt;
  return int128{text.day} * 86400 + text.secondOfDay;
}

TaskReader::TaskReader(const ReadingOptions& options) : options_(options), zones_(options.weeks) {
  if (!options.zone) return;
  zone_ = Zone::named(*options.zone);
  zone_->setWeeks(options.weeks);
}

std::optional<Reading> TaskReader::read(const Task& task, Trouble& trouble) {
  const Zone* zone = zone_ ? &*zone_ : nullptr;
  if (options_.zoneOfTask && !task.zone.empty()) {
    trouble.kind = Trouble::Kind::zone;
    zone = zones_.named(task.zone, trouble.complaint);
    if (zone == nullptr) return std::nullopt;
  }
  trouble.kind = Trouble::Kind::datetime;
  auto reading = plx::read(task.text, notationOf(task), zone, zones_, trouble.complaint);
  if (reading && !options_.clock.isTheModules() && !settleClock(*reading, trouble.complaint))
    return std::nullopt;
  return reading;
}

// Which of two equal times a datetime is makes no difference to its components: none is refused here.
bool TaskReader::settleClock(Reading& reading, Complaint& complaint) const {
  const auto wall = wallOf(reading);
  if (!wall) return true;
  const auto change = Checker(*reading.zone).doubtOf(*wall, secondOf(reading.pair));
  if (!change) return true;
  const ClockChoice& choice = options_.clock;
  if (!change->isGap()) {
    if (choice.fold == plxFOLD_EARLIER) reading.pair = firstOfTwo(reading.pair, *change);
    return true;
  }
  if (choice.gap == plxGAP_ERROR) {
    complaint = {Checker::describeGap(*wall, *change), kAcceptedForGaps};
    return false;
  }
  if (choice.gap != plxGAP_SHIFT) reading.pair = pairOf(edgeOf(choice.gap, *change), {});
  return true;
}

}  // namespace plx
