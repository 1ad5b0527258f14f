#include "offsets/granules.h"

#include <algorithm>
#include <cstddef>

#include "arith/doubledouble.h"

namespace {

// Seconds, like all times in this file: since 1970, or from the start of a granule.
constexpr std::int64_t kEarliest = -5364662400;  // 1800-01-01
constexpr std::int64_t kLatest = 4102444800;     // 2100-01-01
constexpr int kGranuleBits = 21;
constexpr std::int64_t kGranule = 1LL << kGranuleBits;
constexpr auto kMargin = static_cast<std::int64_t>(kGranuleMargin / kMillisPerSecond);
constexpr int kNeighbours = 2;  // within the margin on either side
static_assert(kGranuleMillis == static_cast<double>(kGranule) * kMillisPerSecond);
static_assert((kLatest - kEarliest) / kGranule + 4 < static_cast<std::int64_t>(kMostGranules));
static_assert(kMargin > kGranule && kMargin < kNeighbours * kGranule);

// Each field of a word fits its bits: a change within the margin of a granule, and offsets of less than a day.
constexpr auto kChangeBias = static_cast<std::int64_t>(kGranuleChangeBias);
constexpr auto kOffsetBias = static_cast<std::int64_t>(kGranuleOffsetBias);
static_assert(kMargin <= kChangeBias);
static_assert(kGranule + kMargin + kChangeBias <= static_cast<std::int64_t>(kGranuleChangeMask));
static_assert(86400 <= kOffsetBias && 86400 + kOffsetBias < 1 << 18);
static_assert(kGranuleOffsetMask == (1 << 18) - 1 && kGranuleBeforeBit + 18 <= kGranuleAfterBit);
static_assert(1ULL << (kGranuleAfterBit + 18) <= kGranuleCrowded);

// Transitions and offsets are whole seconds.
std::int64_t seconds(double ms) { return static_cast<std::int64_t>(ms / kMillisPerSecond); }

// The number of the granule that holds t, counted from 1970.
std::int64_t granuleOf(std::int64_t t) { return t >> kGranuleBits; }

std::uint64_t word(std::int64_t change, std::int64_t before, std::int64_t after) {
  return static_cast<std::uint64_t>(change + kChangeBias) |
         static_cast<std::uint64_t>(before + kOffsetBias) << kGranuleBeforeBit |
         static_cast<std::uint64_t>(after + kOffsetBias) << kGranuleAfterBit;
}

std::uint64_t constant(std::int64_t offset) { return word(0, offset, offset); }

}  // namespace

Granules::Granules(const OffsetTable& table) : instants_(table.instants()), walls_(table.walls()) {}

Granules::Line::Line(const OffsetLine& offsets) {
  const double* const begin = offsets.starts + 1;
  const double* const end =
      std::lower_bound(begin, offsets.starts + offsets.stretches, offsets.cycleEnd);
  if (begin == end) {
    words_.assign(1, constant(seconds(offsets.offsets[0])));
    return;
  }
  const std::int64_t earliest = seconds(*begin), latest = seconds(*(end - 1));
  // At least three granules, wherever the changes lie.
  const std::int64_t first = granuleOf(std::clamp(earliest, kEarliest, kLatest)) - 1;
  const std::int64_t last = granuleOf(std::clamp(latest, kEarliest, kLatest)) + 1;
  const auto size = static_cast<std::size_t>(last - first + 1);
  first_ = static_cast<double>(first);
  words_.reserve(size);

  std::vector<Change> changes;
  changes.reserve(static_cast<std::size_t>(end - begin));
  std::int64_t offset = seconds(offsets.offsets[0]);
  for (const double* change = begin; change != end; ++change) {
    const std::int64_t before = offset, at = seconds(*change);
    const std::int64_t granule = granuleOf(at) - first;
    if (granule >= static_cast<std::int64_t>(size) - 1) break;
    offset = seconds(offsets.offsets[change - offsets.starts]);
    if (granule > 0) changes.push_back({granule, at & (kGranule - 1), before, offset});
  }

  for (const Change& change : changes) {
    const auto granule = static_cast<std::size_t>(change.granule);
    if (granule < words_.size()) {
      words_.back() = kGranuleUntold;
      continue;
    }
    words_.resize(granule, constant(change.before));
    words_.push_back(word(change.at, change.before, change.after));
  }
  words_.resize(size, constant(offset));
  for (const Change& change : changes) addToNeighbours(change);

  // Changes beyond the granules are in no word: the granules at that end are marked, as far as the margin of
  // such a change can reach. There are at least kNeighbours + 1 granules.
  for (std::size_t i = 0; i <= kNeighbours; ++i) {
    const std::uint64_t mark = i == 0 ? kGranuleUntold : kGranuleCrowded;
    if (earliest < kEarliest) words_[i] |= mark;
    if (latest > kLatest) words_[size - 1 - i] |= mark;
  }
}

void Granules::Line::addToNeighbours(const Change& change) {
  for (std::int64_t steps = -kNeighbours; steps <= kNeighbours; ++steps) {
    const std::int64_t granule = change.granule + steps;
    const std::int64_t at = change.at - steps * kGranule;
    const bool isNear = -kMargin <= at && at <= kGranule + kMargin;
    if (steps == 0 || !isNear) continue;
    if (granule < 0 || granule >= static_cast<std::int64_t>(words_.size())) continue;
    std::uint64_t& neighbour = words_[static_cast<std::size_t>(granule)];
    const bool isFree = neighbour == constant(steps < 0 ? change.before : change.after);
    neighbour = isFree ? word(at, change.before, change.after) : neighbour | kGranuleCrowded;
  }
}
