// Speculative setting of a series: datetimes that lie close together, so that a few remembered
// stretches of constant offset hold all of them. A function whose name begins with `try` assumes so and
// checks the assumption in the same pass; where it was wrong, the caller overwrites the results.
#pragma once

#include "zoned/lane_elements-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zone_lanes::HWY_NAMESPACE {

// Elements per block where one offset serves all.
constexpr size_t kSteadyBlock = 16 * kBlock;

// Sets the block in one pass, assuming that (1) its datetimes lie in the remembered stretches, or all in
// stretch k of them where they are steady; (2) wall times lie in the same stretches or, of components
// that move datetimes anywhere, in remembered ones of their own; (3) all are whole milliseconds; (4)
// datetimes and values are of the Julian domain, which an offset of less than a day does not leave (its
// calendar holds until 2100). Returns whether all this was so; if not, the caller overwrites the results.
template <class Component, bool kOneValue, bool kIsSteady>
HWY_INLINE bool trySpeculative(const Zone& zone, const Stretches& instants, const Stretches& walls,
                               size_t k, const Block& block, V oneValue, const EitherPlace& at) {
  constexpr size_t kStretches = kIsSteady ? 1 : 3;
  const Values<Component, lanes::HWY_NAMESPACE::Julian, kOneValue> values(block, oneValue);
  const double* const edges = instants.edges + k;
  Within instantsWithin(
      HWY_MAX(edges[0] + kInnerMargin<Component>, lanes::kJulianMiddle - lanes::kJulianReach),
      HWY_MIN(edges[kStretches] - kInnerMargin<Component>,
              lanes::kJulianMiddle + lanes::kJulianReach));
  const double* const ends = kIsFar<Component> && !kIsSteady
                                 ? walls.edges
                                 : zone.walls.offsets.starts + instants.index + k;
  // Tested only of components that move datetimes anywhere.
  Within wallsWithin(HWY_MAX(ends[0], -lanes::kWholeBound),
                     HWY_MIN(ends[kStretches], lanes::kWholeBound));
  const V steady = all(instants.offsets[k] + Component::kStart);
  const Known knownInstants = knownOf(instants.edges, instants.offsets, 0.0, Component::kStart);
  const Known knownWalls = knownOf(ends, kIsFar<Component> ? walls.offsets : instants.offsets,
                                   Component::kStart, Component::kStart);
  const Block own = block;  // a copy, for the compiler to keep in registers
  const EitherPlace results = at;
  V bits = hn::Zero(d);
  Furthest value;
  if constexpr (kOneValue) value.note(Component::fromMiddle(oneValue));
  for (size_t i = 0; i < own.count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, own.whole + i);
    const V v = values.at(i);
    bits = hn::Or(bits, fractionBits(t));
    if (own.low) bits = hn::Or(bits, hn::LoadU(d, own.low + i));
    if constexpr (!Component::kTakesFractions) bits = hn::Or(bits, fractionBits(v));
    instantsWithin.note(t);
    if constexpr (!kOneValue) value.note(Component::fromMiddle(v));
    const V wall = values.setWall(t + (kIsSteady ? steady : offsetOf(knownInstants, t)), i);
    if constexpr (kIsFar<Component>) wallsWithin.note(wall);
    const V offset = kIsSteady ? steady : offsetOf(knownWalls, wall);
    store<Component>(own, i, v, wall - offset, results);
  }
  M isRight = hn::And(instantsWithin.holdsAll(), value.isAtMost(Component::kNearest));
  if constexpr (kIsFar<Component>) isRight = hn::And(isRight, wallsWithin.holdsAll());
  return hn::AllTrue(d, hn::And(isRight, isZeroBits(bits)));
}

// Sets a block that, judged by its first and last datetime, lies in one stretch, and so far from both of
// its ends that the results should lie there, too.
template <class Component, bool kOneValue>
HWY_INLINE bool trySteady(const Zone& zone, const Stretches& instants, const Block& block,
                          V oneValue, const EitherPlace& at) {
  const double first = block.whole[0], last = block.whole[block.count - 1];
  const double least = HWY_MIN(first, last), most = HWY_MAX(first, last);
  constexpr double kReach = kReachOf<Component>;
  for (size_t k = 0; k < 3; ++k) {
    if (instants.edges[k] + kReach <= least && most < instants.edges[k + 1] - kReach) {
      return trySpeculative<Component, kOneValue, true>(zone, instants, {}, k, block, oneValue, at);
    }
  }
  return false;
}

// What earlier blocks have shown: stretches, and which speculative paths have succeeded. Steady blocks
// are tried only within a series.
struct Learned {
  Stretches instants, walls;
  Attempts steady, wholeSeries, mixedSeries;
};

// Sets blocks of a series up to the first block that does not belong to one, and returns the number of
// elements set; the caller overwrites all behind them. A block is steady, or lies in three
// remembered stretches, or its first half does. Wall times that may lie anywhere are looked for in the
// stretches that setBlock() used last (learned.walls).
//
// One loop over all blocks and no call but to move the stretches: a call for each block costs 10 %.
template <class Component, bool kOneValue>
HWY_NOINLINE size_t trySeries(const Zone& zone, Learned& learned, const Block& series, V oneValue,
                              const EitherPlace& at) {
  Stretches& instants = learned.instants;
  const size_t longest = wholeLanes(kSteadyBlock), usual = wholeLanes(kBlock),
               half = wholeLanes(kBlock / 2);
  size_t done = 0;
  while (done < series.count) {
    const auto blockOf = [&](size_t count)
                             HWY_ATTR { return partOf<kOneValue>(series, done, count); };
    const auto seemKnown = [&](size_t count) HWY_ATTR {
      const double first = series.whole[done], last = series.whole[done + count - 1];
      return seemsKnown(zone.instants.offsets, instants,
                        HWY_MIN(first, last) - kInnerMargin<Component>,
                        HWY_MAX(first, last) + kInnerMargin<Component>);
    };
    const EitherPlace place{at.high + done, at.low + done, at.isPastCaches};
    size_t count = HWY_MIN(longest, series.count - done);
    if (count > usual && learned.steady.isDue()) {
      const bool isSet =
          trySteady<Component, kOneValue>(zone, instants, blockOf(count), oneValue, place);
      learned.steady.note(isSet);
      if (isSet) {
        done += count;
        continue;
      }
    }
    count = HWY_MIN(usual, count);
    if (!seemKnown(count)) {
      if (count <= half || !seemKnown(half)) break;
      count = half;
    }
    const Block block = blockOf(count);
    if (!trySteady<Component, kOneValue>(zone, instants, block, oneValue, place) &&
        !trySpeculative<Component, kOneValue, false>(zone, instants, learned.walls, 0, block,
                                                     oneValue, place)) {
      break;
    }
    done += count;
  }
  return done;
}

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
