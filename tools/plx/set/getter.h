// Reads a component of datetimes in text.
#pragma once

#include "base/component.h"
#include "set/cell_work.h"
#include "set/task_reader.h"

namespace plx {

class Getter : public CellWork {
 public:
  // The options outlive the getter. Throws a Failure of Status::unknownName for the zone.
  Getter(Component component, const ReadingOptions& options);

  void work(std::span<const Task> tasks, Batch& batch) override;

 private:
  const Component component_;
  TaskReader reader_;
};

}  // namespace plx
