// The clock that the system's other programs show, and whether ICU's rules of a zone show the same.
//
// The C library and ICU have rules of their own, of two releases of the time-zone database: where a
// government changed its mind in between, they differ. Before a datetime is worked on in the local zone,
// the two are compared around it, and what was found is kept for stretches of 2^21 seconds, some 24
// days: a look at a table for most datetimes. Nothing is compared at the start: until the datetimes are
// known, nobody knows which years matter, and rules that differ where there is no datetime harm none.
//
// Seconds since 1970-01-01T00:00:00Z; offsets in seconds east of UTC.
#pragma once

#include <unicode/basictz.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>

namespace plx {

// How far the C library's local time is from UTC at an instant within 2^52 ms of 1970. All of it: the
// files of "right/" count leap seconds, and so are off by those.
int systemOffset(std::int64_t second);

// For one thread at a time.
class SystemClock {
 public:
  // What ICU goes by.
  explicit SystemClock(std::unique_ptr<icu::BasicTimeZone> rules);

  // Whether the two clocks agree from two days before an instant within 2^52 ms of 1970 until two days
  // after it: whatever is done to its wall time there is right by both.
  bool agrees(std::int64_t second) {
    return isAlike(second >> kBits) || areAlike(second - kNear, second + kNear);
  }

  // The first that does not, of instants in milliseconds; those beyond 2^52 ms and NaN are passed over.
  std::optional<std::size_t> firstDiffering(std::span<const double> millis);

  struct Difference {
    std::int64_t second;  // they differ from there on
    int system, icu;      // offsets
  };
  // Around an instant at which they do not agree; those before it are looked at for 200 years.
  Difference differenceAt(std::int64_t second);

 private:
  static constexpr int kBits = 21;
  static constexpr std::int64_t kDay = 86400, kNear = 2 * kDay;
  // Neighbours of 130 years stand side by side.
  static constexpr std::size_t kKept = 2048;

  struct Stretch {
    std::int32_t number;
    bool isAlike;
  };

  bool isAlike(std::int64_t number) {
    Stretch& stretch = stretches_[static_cast<std::size_t>(number) % kKept];
    if (stretch.number != number) stretch = look(number);
    return stretch.isAlike;
  }
  Stretch look(std::int64_t number) const;
  // The first second found at which they differ.
  std::optional<std::int64_t> differenceWithin(std::int64_t first, std::int64_t last) const;
  bool areAlike(std::int64_t first, std::int64_t last) const {
    return !differenceWithin(first, last).has_value();
  }
  int icuOffset(std::int64_t second) const;
  bool areAlikeAt(std::int64_t second) const { return icuOffset(second) == systemOffset(second); }

  std::unique_ptr<icu::BasicTimeZone> rules_;
  std::array<Stretch, kKept> stretches_;

  // The clocks differ from `first` until at least `until`, found once. By where they begin to.
  struct Differences {
    std::int64_t until;
    Difference first;
  };
  std::map<std::int64_t, Differences> differences_;
};

}  // namespace plx
