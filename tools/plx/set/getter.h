// Reads a component of datetimes in text.
#pragma once

#include "inspect/calendar_field.h"
#include "set/cell_work.h"
#include "set/task_reader.h"

namespace plx {

class Getter : public CellWork {
 public:
  // The options outlive the getter. Throws a Failure of Status::unknownName for the zone.
  Getter(const CalendarField& field, const ReadingOptions& options);

  void work(std::span<const Task> tasks, Batch& batch) override;

 private:
  const CalendarField field_;
  TaskReader reader_;
};

}  // namespace plx
