#include "set/getter.h"

#include <algorithm>

#include "inspect/component_value.h"
#include "inspect/leap_table.h"

namespace plx {

Getter::Getter(const CalendarField& field, const ReadingOptions& options)
    : field_(field), reader_(options) {}

void Getter::work(std::span<const Task> tasks, Batch& batch) {
  batch.clear(tasks.size());
  reader_.trim();
  for (std::size_t i = 0; i < tasks.size(); ++i) {
    Trouble trouble{i, Trouble::Kind::datetime, 0, {}};
    const auto reading = reader_.read(tasks[i], trouble);
    if (!reading) {
      batch.fail(std::move(trouble));
    } else if (!reading->missing) {
      const std::size_t begin = batch.text.size();
      const std::size_t digits =
          std::clamp<std::size_t>(reading->text.fraction.size(), 9, digitsHeld(reading->pair));
      writeFieldValue(batch.text, field_, reading->pair, *reading->zone, digits,
                      reader_.notationOf(tasks[i]).exact);
      batch.outcomes[i] = {Outcome::Kind::changed, begin, batch.text.size()};
      if (reading->zone->countsLeapSeconds() && pastLeapTable(reading->pair)) ++batch.warnings;
    }
  }
}

}  // namespace plx
