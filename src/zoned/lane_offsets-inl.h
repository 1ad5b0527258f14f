// Setting one component of several datetimes in a time zone at once: the closed form of
// table_walk.h with one datetime in each lane of a vector, and the arithmetic of the unzoned lanes
// between its two look-ups of an offset. vector_walk.cc draws which function sets which elements; the
// lanes are cut by subject, each file on top of the one before:
//
//   lane_offsets-inl.h      offsets of a vector of times: from remembered stretches, or from granules
//   lane_components-inl.h   what each component makes of a wall time
//   lane_elements-inl.h     a block of datetimes and new values, and what must hold for all of it
//   lane_series-inl.h       speculative setting of datetimes that lie close together
//   lane_blocks-inl.h       setting of any block of the domain
//
// The domain: normalised pairs up to 2^49 milliseconds with any fraction, and values that a
// component accepts. A wall time is off from its instant by less than a day, for which the unzoned
// arithmetic of whole milliseconds has room beyond 2^49 (lanes::kWholeRoom): every quantity is a whole
// number below 2^53, all sums, differences and products are exact, and no result lies outside +-2^52.
// No result is -0, since no offset is -0, and so no sum or difference with an offset.
//
// Compiled once for each instruction set, like the unzoned lanes and under the same rules.
#pragma once

#include "unzoned/lane_pairs-inl.h"
#include "zoned/zone_lookup.h"

HWY_BEFORE_NAMESPACE();
namespace zone_lanes::HWY_NAMESPACE {

using namespace lanes::HWY_NAMESPACE;
namespace hn = hwy::HWY_NAMESPACE;

using DU = hn::RebindToUnsigned<D>;
using VU = hn::Vec<DU>;
constexpr DU du;

// Remembered stretches, broadcast to all lanes.
struct Known {
  V edge0, edge1, edge2, edge3, offset0, offset1, offset2;
};

// `edgesStart`, `offsetsStart`: added to edges and offsets, for times that count from before 1970 (kStart).
HWY_INLINE Known knownOf(const double* edges, const double* offsets, double edgesStart = 0.0,
                         double offsetsStart = 0.0) {
  const auto edge = [&](int i) HWY_ATTR { return all(edges[i] + edgesStart); };
  const auto offset = [&](int i) HWY_ATTR { return all(offsets[i] + offsetsStart); };
  return {edge(0), edge(1), edge(2), edge(3), offset(0), offset(1), offset(2)};
}

HWY_INLINE V offsetOf(const Known& known, V t) {
  const V later = hn::IfThenElse(hn::Lt(t, known.edge2), known.offset1, known.offset2);
  return hn::IfThenElse(hn::Lt(t, known.edge1), known.offset0, later);
}

// Whether the remembered stretches hold a block of times, judged by its least and its largest one; moves
// the stretches there first where these two are close enough for a series.
HWY_INLINE bool seemsKnown(const OffsetLine& line, Stretches& known, double least, double most) {
  if (known.hold(least) && known.hold(most)) return true;
  if (!(most - least <= kCloseMillis)) return false;
  moveTo(known, line, least);
  return known.hold(least) && known.hold(most);
}

// A bit field x of granules' words means x - bias seconds; this gives them in milliseconds. OR-ing x into
// the low bits of a power of two makes the double 2^k + x. Subtracting 2^k + bias and scaling is one fused
// operation, and exact: (2^k + bias) * 1000 is a double, since the bias is a multiple of 2^13.
template <int kShift>
HWY_INLINE V millis(VU word, std::uint64_t mask, double bias) {
  constexpr double kPower = static_cast<double>(1ULL << (52 - kShift));
  const VU exponent = hn::BitCast(du, all(kPower));
  const V above = hn::BitCast(d, hn::OrAnd(exponent, word, hn::Set(du, mask << kShift)));
  const double zero = kPower + bias;
#if HWY_NATIVE_FMA
  return hn::MulSub(above, all(kMillisPerSecond), all(zero * kMillisPerSecond));
#else
  return (above - all(zero)) * all(kMillisPerSecond);
#endif
}

// Offsets before and after the change of a granule, plus `start` milliseconds, a multiple of whole days.
HWY_INLINE V offsetBefore(VU word, double start) {
  return millis<kGranuleBeforeBit>(word, kGranuleOffsetMask,
                                   kGranuleOffsetBias - start / kMillisPerSecond);
}
HWY_INLINE V offsetAfter(VU word, double start) {
  return millis<0>(hn::ShiftRight<kGranuleAfterBit>(word), kGranuleOffsetMask,
                   kGranuleOffsetBias - start / kMillisPerSecond);
}

// The granules of a line, broadcast to all lanes.
struct Granular {
  V from, until;  // where the first and the last granule begin
  V offset;       // added to t / kGranuleMillis, the floor of which is then the index
};
HWY_INLINE Granular granularOf(const GranuleLine& line) {
  const double from = line.first * kGranuleMillis;
  return {all(from), all(from + line.last * kGranuleMillis),
          all(lanes::halfGap(kGranuleMillis) - line.first)};
}

// Elements per block. Each step of a look-up runs over the whole block, so that the latency of one
// vector is hidden by the next ones.
constexpr size_t kBlock = 48;
static_assert(hn::MaxLanes(d) <= kBlock / 2);  // half a block is no less than a vector

// The granules of a block's times: where they begin, and their numbers, which lookUp() replaces by words.
struct Lookups {
  HWY_ALIGN double starts[kBlock];
  HWY_ALIGN std::uint64_t words[kBlock];
};

// Notes the granules of the times t, elements i and following. The first and the last granule of the table
// stand for all before and after it; a change that they hold is compared with t like any other.
HWY_INLINE void locate(const Granular& line, V t, size_t i, Lookups& lookups) {
  const V within = hn::Min(hn::Max(t, line.from), line.until);
  const V index = hn::Floor(hn::MulAdd(within, all(1.0 / kGranuleMillis), line.offset));
  hn::Store(hn::MulAdd(index, all(kGranuleMillis), line.from), d, lookups.starts + i);
  // The low bits of index + 2^52 are the index.
  const VU bits = hn::BitCast(du, index + all(0x1p52));
  hn::Store(hn::And(bits, hn::Set(du, kMostGranules - 1)), du, lookups.words + i);
}

// What the granules say of times t.
struct Told {
  VU word;
  V change;  // in milliseconds
  M isAfter;
};

HWY_INLINE Told tell(const Lookups& lookups, V t, size_t i) {
  const VU word = hn::Load(du, lookups.words + i);
  const V change =
      hn::Load(d, lookups.starts + i) + millis<0>(word, kGranuleChangeMask, kGranuleChangeBias);
  return {word, change, hn::Ge(t, change)};
}

HWY_INLINE V offsetOf(const Told& told) {
  return hn::IfThenElse(told.isAfter, offsetAfter(told.word, 0.0), offsetBefore(told.word, 0.0));
}

HWY_INLINE bool haveNone(VU words, std::uint64_t flags) {
  return hn::AllTrue(du, hn::Eq(hn::And(words, hn::Set(du, flags)), hn::Zero(du)));
}

// Both functions call use(i, t, offset) for the vector of times at each i below `count`, a multiple of
// the lanes.
//
// Speculative: uses all times as if the remembered stretches held them, and returns whether they did.
template <class Use>
HWY_INLINE bool tryStretches(const Stretches& known, const double* HWY_RESTRICT times, size_t count,
                             const Use& use) {
  const Known stretches = knownOf(known.edges, known.offsets);
  V least = hn::LoadU(d, times), most = least;
  for (size_t i = 0; i < count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, times + i);
    least = hn::Min(least, t);
    most = hn::Max(most, t);
    use(i, t, offsetOf(stretches, t));
  }
  return hn::AllTrue(d, hn::And(hn::Ge(least, stretches.edge0), hn::Lt(most, stretches.edge3)));
}

// By granules, looked up here where `lookups` is null. Where one of the granules does not tell the offsets
// (kGranuleUntold), use() is called once more for all times, with offsets by binary search.
template <class Use>
HWY_INLINE void useGranules(const ZoneLine& line, const Lookups* lookups,
                            const double* HWY_RESTRICT times, size_t count, const Use& use) {
  const size_t width = hn::Lanes(d);
  Lookups own;
  if (!lookups) {
    const Granular granules = granularOf(line.granules);
    for (size_t i = 0; i < count; i += width) locate(granules, hn::LoadU(d, times + i), i, own);
    lookUp(line.granules, own.words, count);
    lookups = &own;
  }
  VU words = hn::Zero(du);
  for (size_t i = 0; i < count; i += width) {
    const V t = hn::LoadU(d, times + i);
    const Told told = tell(*lookups, t, i);
    words = hn::Or(words, told.word);
    use(i, t, offsetOf(told));
  }
  if (HWY_LIKELY(haveNone(words, kGranuleUntold))) return;
  for (size_t i = 0; i < count; i += width) {
    HWY_ALIGN double offset[hn::MaxLanes(d)];
    for (size_t lane = 0; lane < width; ++lane) {
      offset[lane] = offsetAt(line.offsets, times[i + lane]);
    }
    use(i, hn::LoadU(d, times + i), hn::Load(d, offset));
  }
}

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
