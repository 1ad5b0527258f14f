// The datetimes of tasks, read in their zones.
#pragma once

#include <optional>
#include <string>
#include <string_view>

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

// What a text without an offset says of the clock of a zone, in seconds; nothing for other texts.
std::optional<int128> wallOf(const Reading& reading);

// Takes note of a zone by a short name that means several, to be told of at the end of the run. Any thread may.
void noteShortZone(std::string_view name);
// Tells on standard error of those that were noted.
void tellShortZones();

class TaskReader {
 public:
  // Throws a Failure of Status::unknownName for the zone.
  explicit TaskReader(const ReadingOptions& options);

  // Nothing, and a trouble of kind datetime or zone whose task is left to the caller, where the text
  // is wrong. Zones stay where they are until the next trim.
  std::optional<Reading> read(const Task& task, Trouble& trouble);

  // In which a task is read and written.
  const Notation& notationOf(const Task& task) const {
    return task.notation != nullptr ? *task.notation : options_.notation;
  }

  // Between batches: drops zones where there are too many. Whether it did.
  bool trim() { return zones_.trim(); }

 private:
  bool settleClock(Reading& reading, Complaint& complaint) const;

  const ReadingOptions& options_;
  std::optional<Zone> zone_;  // of all
  Zones zones_;
};

}  // namespace plx
