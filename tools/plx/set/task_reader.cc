#include "set/task_reader.h"

#include <fmt/format.h>

#include <cstdio>
#include <mutex>
#include <set>

#include "datetime/rules_in_use.h"
#include "datetime/scanner.h"
#include "inspect/check.h"
#include "inspect/wall.h"
#include "set/short_zone_names.h"
#include "set/zone_named.h"

namespace plx {

std::optional<int128> wallOf(const Reading& reading) {
  if (reading.clock == nullptr || !reading.clock->isCalendar() || reading.zone->countsLeapSeconds())
    return std::nullopt;
  return int128{reading.text.day} * 86400 + reading.text.secondOfDay;
}

namespace {

std::mutex shortZonesMutex;
std::set<std::string_view> shortZones;

// A date as people write it in places, which only a format tells how to read: 10/05/2014, 10.05.14.
bool needsFormat(std::string_view text) {
  Scanner scan(text);
  const std::string_view first = scan.digits();
  const char mark = scan.oneOf("/.");
  const std::string_view second = scan.digits();
  const bool isDate = mark != 0 && scan.skip(mark) && isDigit(scan.next());
  return isDate && !first.empty() && first.size() <= 4 && !second.empty() && second.size() <= 2;
}

}  // namespace

void noteShortZone(std::string_view name) {
  constexpr std::size_t kLength = 3;
  if (name.size() != kLength || !RulesWatch::isOn()) return;
  for (const ShortZoneName& zone : kShortZoneNames) {
    if (zone.name != name) continue;
    const std::lock_guard lock(shortZonesMutex);
    shortZones.insert(zone.name);
  }
}

void tellShortZones() {
  for (const ShortZoneName& zone : kShortZoneNames) {
    if (shortZones.count(zone.name) == 0) continue;
    const std::string text =
        fmt::format("plx: time zone {} was read as {}; if another was meant: {}\n", zone.name,
                    zone.read, zone.others);
    std::fputs(text.c_str(), stderr);
  }
}

TaskReader::TaskReader(const ReadingOptions& options)
    : options_(options),
      zones_(options.weeks),
      readsByPlaces_(!options.zoneOfTask && options.clock.isTheModules()) {
  if (!options.zone) return;
  zone_ = zoneNamed(*options.zone);
  noteShortZone(*options.zone);
  zone_->setWeeks(options.weeks);
}

std::optional<Reading> TaskReader::read(const Task& task, Trouble& trouble) {
  const Zone* zone = zone_ ? &*zone_ : nullptr;
  if (options_.zoneOfTask && !task.zone.empty()) {
    trouble.kind = Trouble::Kind::zone;
    zone = zones_.named(task.zone, trouble.complaint);
    if (zone == nullptr) {
      if (nearZones_.size() > kMostNearZones) nearZones_.clear();
      const auto [near, isNew] = nearZones_.try_emplace(std::string(task.zone));
      if (isNew) near->second = zoneMeant(task.zone);
      trouble.complaint.what += near->second;
      return std::nullopt;
    }
    noteShortZone(task.zone);
  }
  trouble.kind = Trouble::Kind::datetime;
  auto reading = plx::read(task.text, notationOf(task), zone, zones_, trouble.complaint);
  if (!reading && notationOf(task).formats.empty() && needsFormat(task.text))
    trouble.complaint.what += ", unless --format tells how it is written";
  if (reading && !reading->text.suffix.zone.empty()) noteShortZone(reading->text.suffix.zone);
  if (reading && !options_.clock.isTheModules() && !settleReading(*reading, trouble.complaint))
    return std::nullopt;
  return reading;
}

void TaskReader::findLayouts(const Notation& notation) {
  lastLayouts_ = &layouts_.try_emplace(&notation, notation).first->second;
  layoutsNotation_ = &notation;
}

void TaskReader::findZoneOfPlaced(const PlainTime& time) {
  DatetimeText text;
  text.offset = time.offset;
  text.offsetSeconds = time.offsetSeconds;
  placedZone_ = zones_.of(text, complaint_);
  placedForm_ = time.offset;
  placedOffset_ = time.offsetSeconds;
}

// Which of two equal times a datetime is makes no difference to its components: none is refused here.
bool TaskReader::settleReading(Reading& reading, Complaint& complaint) const {
  const auto wall = wallOf(reading);
  if (!wall) return true;
  const auto change = Checker(*reading.clock).doubtOf(*wall, secondOf(reading.pair));
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
  if (choice.gap == plxGAP_SHIFT) return true;
  reading.pair = pairOf(edgeOf(choice.gap, *change), {});
  reading.keepsDigits = false;
  return true;
}

}  // namespace plx
