// The offsets of a zone cut into granules of 2^21 seconds, some 24 days, with one 64-bit word for
// each: one load finds an offset without a search.
//
// Hardly ever do two changes come close together. A word holds one change, in its granule or within
// 32 days of it, and the offsets before and after; where there is none both are the same. Whatever
// happens within 32 days of an instant can then be told by the word that told the instant.
//
//     bit 63      offsets are not told here: two changes in the granule, or beyond the table
//     bit 62      a second change within 32 days of the granule
//     bits 41-58  offset after, in seconds, and 2^17
//     bits 23-40  offset before, and 2^17
//     bits 0-22   the change, in seconds from the start of the granule, and 3 * 2^20
//
// Granules cover the changes between 1800 and 2100. Before the first change and after the last one
// the first and the last granule stand for all others, and tell the offset if it stays for ever.
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

// The granules of one line of time, as plain pointers.
struct GranuleLine {
  const std::uint64_t* words;
  double first;  // the number of the first granule, counted from 1970
  double last;   // that of the last one, counted from the first
};

class Granules {
 public:
  explicit Granules(const OffsetTable& table);

  GranuleLine instants() const { return instants_.line(); }
  GranuleLine walls() const { return walls_.line(); }

  // Of what it points to.
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
    // In seconds from the start of a granule, the number of which counts from that of the table.
    struct Change {
      std::int64_t granule, at, before, after;
    };

    // Has the granules within the margin of a change tell it as well.
    void addToNeighbours(const Change& change);

    double first_ = 0.0;
    std::vector<std::uint64_t> words_;
  };

  Line instants_;
  Line walls_;
};
