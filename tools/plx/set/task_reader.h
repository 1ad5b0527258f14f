// The datetimes of tasks, read in their zones.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "datetime/layout_reader.h"
#include "datetime/notation.h"
#include "datetime/reading.h"
#include "datetime/zone.h"
#include "datetime/zones.h"
#include "set/cell_work.h"
#include "setting/clock_choice.h"

namespace plx {

struct ReadingOptions {
  Notation notation;
  std::optional<std::string> zone;  // of all datetimes; nothing where each has its own
  bool zoneOfTask = false;          // a task names its zone
  ClockChoice clock;                // of results, and of datetimes without an offset
  // One rule for all zones, so that in a column with Z and +00:00 weeks do not differ.
  Weeks weeks;
};

// The wall time, in seconds, that a text without an offset gives; nothing for other texts.
std::optional<int128> wallOf(const Reading& reading);

// Notes the use of a short zone name that means several zones, for tellShortZones(). Any thread may call it.
void noteShortZone(std::string_view name);
// Reports the noted names on standard error, at the end of the run.
void tellShortZones();

// A datetime whose text is read, and can be written, by the places of its parts.
struct PlacedReading {
  const Layout* layout = nullptr;
  const Zone* zone = nullptr;
  PlainTime time;  // what the text says
  doubledouble pair{0.0, 0.0};
};

class TaskReader {
 public:
  // Throws a Failure of Status::unknownName for the zone.
  explicit TaskReader(const ReadingOptions& options);

  // Nothing, and a trouble of kind datetime or zone, where the text is wrong; the caller fills in the
  // trouble's task. The zone of a reading lives until the next trim.
  std::optional<Reading> read(const Task& task, Trouble& trouble);

  // The same of a task that can be read by the places of its parts; false for one that is left to `read`.
  bool readByPlaces(const Task& task, PlacedReading& reading) {
    if (!readsByPlaces_) return false;
    reading.layout = layoutsOf(notationOf(task)).read(task.text, reading.time);
    if (reading.layout == nullptr) return false;
    reading.zone = zone_ ? &*zone_ : zoneOfPlaced(reading.time);
    // Where midnight comes twice or not at all, a date alone does not tell all.
    const bool isDateInZone = reading.layout == isoDates_ && reading.zone->isCalendar();
    if (isDateInZone || reading.zone->countsLeapSeconds()) return false;
    const std::int64_t millis = reading.zone->secondOf(reading.time) * 1000;
    reading.pair = {static_cast<double>(millis), 0.0};
    return reading.zone->isRight(reading.pair, complaint_);
  }

  // The notation in which a task is read and written.
  const Notation& notationOf(const Task& task) const {
    return task.notation != nullptr ? *task.notation : options_.notation;
  }

  // To be called between batches: drops the zones where there are too many, and returns whether it did.
  bool trim() {
    const bool dropped = zones_.trim();
    if (dropped) placedZone_ = nullptr;
    return dropped;
  }

 private:
  LayoutReader& layoutsOf(const Notation& notation) {
    if (layoutsNotation_ != &notation) findLayouts(notation);
    return *lastLayouts_;
  }
  void findLayouts(const Notation& notation);
  // The zone that an offset tells, which always is one.
  const Zone* zoneOfPlaced(const PlainTime& time) {
    const bool isLast =
        placedZone_ != nullptr && placedForm_ == time.offset && placedOffset_ == time.offsetSeconds;
    if (!isLast) findZoneOfPlaced(time);
    return placedZone_;
  }
  void findZoneOfPlaced(const PlainTime& time);
  bool settleReading(Reading& reading, Complaint& complaint) const;

  const ReadingOptions& options_;
  std::optional<Zone> zone_;  // the one for all datetimes
  Zones zones_;
  // What was meant by texts that name no zone. To find that out takes as long as thousands of rows.
  static constexpr std::size_t kMostNearZones = 100;
  std::map<std::string, std::string> nearZones_;

  std::map<const Notation*, LayoutReader> layouts_;
  const Notation* layoutsNotation_ = nullptr;  // of the last task, and its layouts
  LayoutReader* lastLayouts_ = nullptr;
  const Layout* const isoDates_ = &Layout::ofIsoDates();
  bool readsByPlaces_;
  Complaint complaint_;  // what is told of a task that is left to `read`, which tells it again
  // The zone of the last one, without one for all, and by which offset.
  const Zone* placedZone_ = nullptr;
  OffsetForm placedForm_ = OffsetForm::none;
  int placedOffset_ = 0;
};

}  // namespace plx
