// The offsets of a time zone from UTC, kept for the stretches of time that have been asked for.
//
// ICU's zones are the meaning of an offset, but asking one takes a third of a microsecond. So time
// is cut into stretches of 2^21 seconds, some 24 days, and ICU's list of transitions tells once for
// each whether the offset changes in it. Where that list and the offsets disagree, and where there
// are two changes, nothing is kept and nothing known.
//
// Seconds since 1970-01-01T00:00:00; offsets in seconds east of UTC.
#pragma once

#include <unicode/basictz.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>

namespace plx {

// For one thread at a time.
class Offsets {
 public:
  // The zone stays the caller's, and has to stay.
  explicit Offsets(const icu::BasicTimeZone& zone);

  // The offset at an instant within 2^52 ms of 1970; nothing where it is not known.
  std::optional<int> at(std::int64_t second) {
    const Stretch& stretch = stretchOf(second >> kBits);
    if (stretch.change == kUnknown) return std::nullopt;
    return (second & kMask) < stretch.change ? stretch.before : stretch.after;
  }

  // The offset by which a wall time is read; nothing where it is not known, and near a change.
  std::optional<int> ofWallTime(std::int64_t wallSecond) {
    const Stretch& stretch = stretchOf(wallSecond >> kBits);
    if (stretch.change == kUnknown) return std::nullopt;
    const std::int64_t sinceChange = (wallSecond & kMask) - (stretch.change + stretch.after);
    // More than what wall clocks skip or repeat.
    const int near = std::abs(stretch.after - stretch.before) + kNear;
    if (std::abs(sinceChange) < near) return std::nullopt;
    return sinceChange < 0 ? stretch.before : stretch.after;
  }

 private:
  static constexpr int kBits = 21;
  static constexpr std::int64_t kLength = std::int64_t{1} << kBits;
  static constexpr std::int64_t kMask = kLength - 1;
  static constexpr std::int32_t kNever = 1 << 30, kUnknown = -kNever;
  static constexpr int kNear = 7200;
  // Neighbours of 130 years stand side by side.
  static constexpr std::size_t kKept = 2048;

  struct Stretch {
    std::int32_t number;         // it begins at second number * kLength
    std::int32_t change;         // seconds from there; kNever or kUnknown
    std::int32_t before, after;  // offsets
  };

  const Stretch& stretchOf(std::int64_t number) {
    Stretch& stretch = stretches_[static_cast<std::size_t>(number) % kKept];
    if (stretch.number != number) stretch = look(number);
    return stretch;
  }
  Stretch look(std::int64_t number) const;
  std::optional<int> ask(std::int64_t second) const;

  const icu::BasicTimeZone& zone_;
  std::array<Stretch, kKept> stretches_;
};

}  // namespace plx
