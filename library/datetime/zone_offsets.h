// The offsets of a time zone from UTC, in seconds: from the module's table of them, or from ICU where a
// zone has no table, and for the first few questions, which take less than the making of a table.
#pragma once

#include <unicode/basictz.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

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
  // The stretches of the table that were met last, for each 24 days of 34 years. Small, since there may be a thousand
  // zones.
  class Stretches {
   public:
    // To be called before the first question.
    void makeRoom() { stretches_.resize(kStretches); }
    int at(const OffsetLine& line, std::int64_t second) {
      const std::int64_t days = second >> kBits;
      const auto inDays = static_cast<std::int32_t>(second & (kSeconds - 1));
      Stretch& stretch = stretches_[static_cast<std::size_t>(days) % kStretches];
      if (stretch.days != days || inDays < stretch.begin || inDays >= stretch.end)
        find(line, second, stretch);
      return stretch.offset;
    }

   private:
    static constexpr int kBits = 21;
    static constexpr std::int64_t kSeconds = std::int64_t{1} << kBits;
    static constexpr std::size_t kStretches = 512;
    // Of one offset, within 2^21 seconds.
    struct Stretch {
      std::int32_t days = 0;  // the number of those, within 2^52 ms of 1970
      std::int32_t begin = 0,
                   end = 0;  // in seconds since they begin, the latter being the first behind it
      std::int32_t offset = 0;
    };
    static void find(const OffsetLine& line, std::int64_t second, Stretch& stretch);

    std::vector<Stretch> stretches_;
  };

  bool hasTable() { return table_ || (!isTableTried_ && tryTable()); }
  bool tryTable();
  int ask(std::int64_t second) const;
  int askOfWallTime(std::int64_t wallSecond) const;

  std::unique_ptr<icu::BasicTimeZone> rules_;
  std::optional<OffsetTable> table_;
  int questions_ = 0;  // that came before the table
  bool isTableTried_ = false;
  Stretches instants_, walls_;
};

}  // namespace plx
