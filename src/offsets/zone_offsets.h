// All that calls look up of a zone's offsets.
#pragma once

#include <utility>

#include "offsets/granules.h"
#include "offsets/offset_table.h"

struct ZoneOffsets {
  explicit ZoneOffsets(OffsetTable of) : table(std::move(of)), granules(table) {}

  std::size_t bytes() const { return sizeof *this + table.bytes() + granules.bytes(); }

  const OffsetTable table;
  const Granules granules;
};
