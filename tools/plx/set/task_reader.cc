#include "set/task_reader.h"

namespace plx {

TaskReader::TaskReader(const ReadingOptions& options) : options_(options) {
  if (options.zone) zone_ = Zone::named(*options.zone);
}

std::optional<Reading> TaskReader::read(const Task& task, Trouble& trouble) {
  const Zone* zone = zone_ ? &*zone_ : nullptr;
  if (options_.zoneOfTask && !task.zone.empty()) {
    trouble.kind = Trouble::Kind::zone;
    zone = zones_.named(task.zone, trouble.complaint);
    if (zone == nullptr) return std::nullopt;
  }
  trouble.kind = Trouble::Kind::datetime;
  return plx::read(task.text, options_.notation, zone, zones_, trouble.complaint);
}

}  // namespace plx
