#include "zoned/zone_lookup.h"

#include <algorithm>
#include <cmath>

namespace zone_lanes {

Zone zoneOf(const OffsetTable& table, const Granules& granules) {
  return {{table.instants(), granules.instants()}, {table.walls(), granules.walls()}};
}

void lookUp(const GranuleLine& line, std::uint64_t* words, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) words[i] = line.words[words[i]];
}

void moveTo(Stretches& stretches, const OffsetLine& line, double t) {
  std::size_t i = stretches.index;
  // In a series, t mostly lies in the next stretch or the one after that.
  for (int steps = 0; steps < 2 && line.starts[i + 1] <= t && i + 1 < line.stretches; ++steps) ++i;
  if (!(line.starts[i] <= t && t < line.starts[i + 1])) {
    if (!(t < line.cycleEnd)) {
      stretches = {};
      return;
    }
    const double* next = std::upper_bound(line.starts, line.starts + line.stretches, t);
    i = static_cast<std::size_t>(next - line.starts) - 1;
  }
  const double *edge = line.starts + i, *offset = line.offsets + i;
  stretches = {{edge[0], edge[1], edge[2], edge[3]}, {offset[0], offset[1], offset[2]}, i};
}

}  // namespace zone_lanes
