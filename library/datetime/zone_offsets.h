// The offsets of a time zone from UTC, in seconds: from the module's table of them, or from ICU where a
// zone has no table, and for the first few questions, which take less than the making of a table.
#pragma once

#include <unicode/basictz.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "offsets/offset_table.h"

namespace plx {

// For one thread at a time: keeps where offsets were found.
class ZoneOffsets {
 public:
  explicit ZoneOffsets(std::unique_ptr<icu::BasicTimeZone> rules);

  const icu::BasicTimeZone& rules() const { return *rules_; }

  // At an instant within 2^52 ms of 1970. Throws a Failure where ICU fails.
  int at(std::int64_t second) {
    return hasTable() ? instants_.at(table_->instants(), second) : ask(second);
  }

  // That by which a wall time is read: before a gap as before it, and of a time that comes twice as
  // the second time.
  int ofWallTime(std::int64_t wallSecond) {
    return hasTable() ? walls_.at(table_->walls(), wallSecond) : askOfWallTime(wallSecond);
  }

  // The stretch of the same offset around an instant.
  OffsetStretch stretchAt(std::int64_t second);

 private:
  // Where the table was entered last, for each 24 days of 34 years. Whatever a place says is held
  // against the table's edges; where it is wrong, the table is searched.
  class Places {
   public:
    int at(const OffsetLine& line, std::int64_t second) {
      std::uint16_t& place = places_[static_cast<std::size_t>(second >> kBits) % kPlaces];
      const double ms = static_cast<double>(second) * 1000.0;
      if (!(line.starts[place] <= ms && ms < line.starts[place + 1])) {
        if (!(ms < line.cycleEnd)) return static_cast<int>(offsetAt(line, ms) / 1000.0);
        place = static_cast<std::uint16_t>(stretchIndex(line, ms));
      }
      return static_cast<int>(line.offsets[place] / 1000.0);
    }

   private:
    static constexpr int kBits = 21;
    static constexpr std::size_t kPlaces = 512;
    std::array<std::uint16_t, kPlaces> places_{};
  };

  bool hasTable() { return table_ || (!isTableTried_ && tryTable()); }
  bool tryTable();
  int ask(std::int64_t second) const;
  int askOfWallTime(std::int64_t wallSecond) const;

  std::unique_ptr<icu::BasicTimeZone> rules_;
  std::optional<OffsetTable> table_;
  int questions_ = 0;  // that came before the table
  bool isTableTried_ = false;
  Places instants_, walls_;
};

}  // namespace plx
