// The offsets of a zone cut into granules of 2^21 seconds, some 24 days, with one 64-bit word for
// each: one load finds an offset without a search.
//
// Two changes hardly ever come close together. So a word holds one change, in its granule or within 32
// days of the granule, and the offsets before and after it, which are equal where there is no such change:
// the word for an instant tells the offset at every time within 32 days of that instant, too.
//
//     bit 63      untold: two changes in the granule, or beyond what the granules cover
//     bit 62      crowded: a second change within 32 days of the granule
//     bits 41-58  offset after, in seconds, plus 2^17
//     bits 23-40  offset before, in seconds, plus 2^17
//     bits 0-22   the change, in seconds from the start of the granule, plus 3 * 2^20
//
// Granules cover the changes between 1800 and 2100. The first granule stands for all times before it, and
// the last one for all after it: each tells the offset there if that stays for ever, and is untold if not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "offsets/offset_table.h"

inline constexpr double kGranuleMillis = 0x1p21 * 1000.0;
inline constexpr double kGranuleMargin = 32.0 * 86400000.0;
inline constexpr int kGranuleBeforeBit = 23;
inline constexpr int kGranuleAfterBit = 41;
inline constexpr std::uint64_t kGranuleChangeMask = (1ULL << kGranuleBeforeBit) - 1;
inline constexpr std::uint64_t kGranuleOffsetMask = (1ULL << 18) - 1;
inline constexpr double kGranuleChangeBias = 3.0 * 0x1p20;  // seconds, more than the margin
inline constexpr double kGranuleOffsetBias = 0x1p17;        // seconds, more than any offset
inline constexpr std::uint64_t kGranuleUntold = 1ULL << 63;
inline constexpr std::uint64_t kGranuleCrowded = 1ULL << 62;

// More granules than any line has; a power of two.
inline constexpr std::uint64_t kMostGranules = 8192;

// The granules of one time scale, instants or wall times, as plain pointers.
struct GranuleLine {
  const std::uint64_t* words;
  double first;  // the number of the first granule, counted from 1970
  double last;   // the number of the last granule, counted from the first
};

class Granules {
 public:
  explicit Granules(const OffsetTable& table);

  GranuleLine instants() const { return instants_.line(); }
  GranuleLine walls() const { return walls_.line(); }

  // The memory that it points to.
  std::size_t bytes() const { return instants_.bytes() + walls_.bytes(); }

 private:
  class Line {
   public:
    explicit Line(const OffsetLine& offsets);
    GranuleLine line() const {
      return {words_.data(), first_, static_cast<double>(words_.size()) - 1.0};
    }
    std::size_t bytes() const { return words_.capacity() * sizeof(std::uint64_t); }

   private:
    // In seconds from the start of a granule, whose number counts from the line's first granule.
    struct Change {
      std::int64_t granule, at, before, after;
    };

    // Enters a change into the words of the other granules within the margin of it.
    void addToNeighbours(const Change& change);

    double first_ = 0.0;
    std::vector<std::uint64_t> words_;
  };

  Line instants_;
  Line walls_;
};
