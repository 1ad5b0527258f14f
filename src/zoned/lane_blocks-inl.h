// Setting a block of the domain wherever its datetimes lie: with offsets from granules, or from
// remembered stretches where the first and the last element suggest that these hold the block.
#pragma once

#include <type_traits>

#include "zoned/lane_series-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zone_lanes::HWY_NAMESPACE {

// Sets a block whose results stay so near that the word of each datetime's granule tells both offsets.
// Speculative: false where a word does not, and the caller overwrites the results. New values of the
// Julian domain never lead too far; others are checked.
template <class Component, class Calendar, bool kOneValue>
HWY_NOINLINE bool tryNear(const Lookups& lookups, const Block& block, V oneValue,
                          const EitherPlace& at) {
  constexpr bool kIsJulian = std::is_same_v<Calendar, lanes::HWY_NAMESPACE::Julian>;
  const Values<Component, Calendar, kOneValue> values(block, oneValue);
  VU words = hn::Zero(du);
  Furthest furthest;
  for (size_t i = 0; i < block.count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, block.whole + i);
    const Told told = tell(lookups, t, i);
    const V before = offsetBefore(told.word, Component::kStart);
    const V after = offsetAfter(told.word, Component::kStart);
    const V wall = values.setWall(t + hn::IfThenElse(told.isAfter, after, before), i);
    const V offset = hn::IfThenElse(hn::Ge(wall - after, told.change), after, before);
    words = hn::Or(words, told.word);
    if constexpr (!kIsJulian) furthest.note((wall - all(Component::kStart)) - t);
    store<Component>(block, i, values.at(i), wall - offset, at);
  }
  return haveNone(words, kGranuleUntold | kGranuleCrowded) &&
         (kIsJulian || hn::AllTrue(d, furthest.isAtMost(kNearMillis)));
}

// Always sets the block, which is of the domain of `Calendar`. `lookups` has the granules of its
// datetimes; where it is null, the remembered stretches seem to hold them all, and granules are looked
// up if these do not.
template <class Component, class Calendar, bool kOneValue>
HWY_NOINLINE void setBlock(const Zone& zone, const Stretches& instants, Stretches& walls,
                           const Lookups* lookups, const Block& block, V oneValue,
                           const EitherPlace& at) {
  if constexpr (!kIsFar<Component>) {
    if (lookups && tryNear<Component, Calendar, kOneValue>(*lookups, block, oneValue, at)) {
      return;
    }
  }
  const Values<Component, Calendar, kOneValue> values(block, oneValue);
  HWY_ALIGN double wall[kBlock];
  const auto setWall = [&](size_t i, V t, V offset) HWY_ATTR {
    const V moved = values.setWall(t + (offset + all(Component::kStart)), i);
    hn::Store(moved - all(Component::kStart), d, wall + i);
  };
  const auto setInstant = [&](size_t i, V t, V offset) HWY_ATTR {
    store<Component>(block, i, values.at(i), t - offset, at);
  };
  if (lookups || !tryStretches(instants, block.whole, block.count, setWall)) {
    useGranules(zone.instants, lookups, block.whole, block.count, setWall);
  }
  // Which stretches may hold the wall times: judged by the first and the last, since wall times lie as
  // close together as datetimes do. A component that moves datetimes anywhere scatters them; there the
  // least and the largest are found, unless the first and the last already lie too far apart.
  double from = HWY_MIN(wall[0], wall[block.count - 1]);
  double until = HWY_MAX(wall[0], wall[block.count - 1]);
  if (kIsFar<Component> && until - from <= kCloseMillis) {
    V least = all(from), most = all(until);
    for (size_t i = 0; i < block.count; i += hn::Lanes(d)) {
      const V t = hn::Load(d, wall + i);
      least = hn::Min(least, t);
      most = hn::Max(most, t);
    }
    from = hn::GetLane(hn::MinOfLanes(d, least));
    until = hn::GetLane(hn::MaxOfLanes(d, most));
  }
  if (!seemsKnown(zone.walls.offsets, walls, from, until) ||
      !tryStretches(walls, wall, block.count, setInstant)) {
    useGranules(zone.walls, nullptr, wall, block.count, setInstant);
  }
}

// Whether all datetimes of a block are whole milliseconds, and datetimes and values are of the domain
// of `Calendar`: the Julian domain, with near values only, or the whole one. Notes the granules of the
// datetimes in passing where `lookups` is given.
template <class Component, class Calendar, bool kOneValue>
HWY_INLINE bool isBlockInDomain(const Block& block, V oneValue, const Granular& granules,
                                Lookups* lookups) {
  constexpr bool kIsJulian = std::is_same_v<Calendar, lanes::HWY_NAMESPACE::Julian>;
  const auto fromMiddle = [](V v) HWY_ATTR { return kIsJulian ? Component::fromMiddle(v) : v; };
  Furthest time, value;
  V bits = hn::Zero(d);
  if constexpr (kOneValue) {
    value.note(fromMiddle(oneValue));
    if constexpr (!Component::kTakesFractions) bits = fractionBits(oneValue);
  }
  for (size_t i = 0; i < block.count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, block.whole + i);
    bits = hn::Or(bits, fractionBits(t));
    time.note(kIsJulian ? t - all(lanes::kJulianMiddle) : t);
    if constexpr (!kOneValue) {
      const V v = hn::LoadU(d, block.values + i);
      if constexpr (!Component::kTakesFractions) bits = hn::Or(bits, fractionBits(v));
      value.note(fromMiddle(v));
    }
    if (lookups) locate(granules, t, i, *lookups);
  }
  for (size_t i = 0; block.low && i < block.count; i += hn::Lanes(d)) {
    bits = hn::Or(bits, hn::LoadU(d, block.low + i));
  }
  const M areWithin = hn::And(time.isAtMost(kIsJulian ? lanes::kJulianReach : lanes::kWholeBound),
                              value.isAtMost(kIsJulian ? Component::kNearest : Component::kBound));
  return hn::AllTrue(d, hn::And(areWithin, isZeroBits(bits)));
}

// A block that has fractions or elements outside the domain, split by claim(). In the place of an
// element that is not claimed stand datetime 0 and value 1, which are of every domain.
struct Mixed {
  HWY_ALIGN double whole[kBlock];
  HWY_ALIGN double below[kBlock];
  HWY_ALIGN double values[kBlock];
  HWY_ALIGN double isClaimed[kBlock];
};

// Splits the pairs that are claimed into whole milliseconds and a fraction below; returns whether all
// are claimed.
//
// Where the high part of a normalised pair has a fraction, the low part cannot move the floor; where
// the high part is whole, a negative low part lowers the floor by one, which can lead out of the domain.
// The rest of the high part is exact, except just below zero: where it would round, the pair is not
// claimed. So only the last sum of the fraction rounds, as in the plain code's double-doubles.
template <class Component>
HWY_INLINE bool claim(Mixed& mixed, size_t i, Pair t, V v) {
  const V floor = hn::Floor(t.hi);
  const M isBelow = hn::And(hn::Eq(floor, t.hi), hn::Lt(t.lo, hn::Zero(d)));
  const V whole = floor - hn::IfThenElseZero(isBelow, all(1.0));
  const V rest = t.hi - whole;
  const M isExact = hn::And(isAtMost(whole, lanes::kWholeBound), hn::Eq(whole + rest, t.hi));
  const M isClaimed = hn::And(hn::And(isInDomain(t), isExact), isAccepted<Component>(v));
  hn::Store(hn::IfThenElseZero(isClaimed, whole), d, mixed.whole + i);
  hn::Store(hn::IfThenElseZero(isClaimed, rest + t.lo), d, mixed.below + i);
  hn::Store(hn::IfThenElse(isClaimed, v, all(1.0)), d, mixed.values + i);
  hn::Store(hn::IfThenElseZero(isClaimed, all(1.0)), d, mixed.isClaimed + i);
  return hn::AllTrue(d, isClaimed);
}

// Sets a block whose datetimes, all whole milliseconds, and values are of the domain; false, and nothing
// set, where one is not.
template <class Component, bool kOneValue>
HWY_INLINE bool tryWhole(const Zone& zone, Learned& learned, const Block& block, V oneValue,
                         const EitherPlace& at) {
  using lanes::HWY_NAMESPACE::Julian;
  Stretches &instants = learned.instants, &walls = learned.walls;
  const double first = block.whole[0], last = block.whole[block.count - 1];
  const bool isSeries = kIsFar<Component> && seemsKnown(zone.instants.offsets, instants,
                                                        HWY_MIN(first, last), HWY_MAX(first, last));
  const Granular granules = granularOf(zone.instants.granules);
  Lookups own;
  Lookups* const lookups = isSeries ? nullptr : &own;
  const bool isJulian =
      isBlockInDomain<Component, Julian, kOneValue>(block, oneValue, granules, lookups);
  if (!isJulian &&
      !isBlockInDomain<Component, Gregorian, kOneValue>(block, oneValue, granules, lookups)) {
    return false;
  }
  if (lookups) lookUp(zone.instants.granules, own.words, block.count);
  if (isJulian) {
    setBlock<Component, Julian, kOneValue>(zone, instants, walls, lookups, block, oneValue, at);
  } else {
    setBlock<Component, Gregorian, kOneValue>(zone, instants, walls, lookups, block, oneValue,
                                              {at.high, at.low, false});
  }
  return true;
}

// Sets those elements of a block that are claimed, fractions included. False where some are not; the
// caller has to set each element for which mixed.isClaimed is zero then.
template <class Component, bool kOneValue>
HWY_NOINLINE bool tryMixed(const Zone& zone, Learned& learned, const Block& block, V oneValue,
                           Mixed& mixed, const EitherPlace& at) {
  bool areClaimed = true;
  for (size_t i = 0; i < block.count; i += hn::Lanes(d)) {
    const V low = block.low ? hn::LoadU(d, block.low + i) : hn::Zero(d);
    const V v = kOneValue ? oneValue : hn::LoadU(d, block.values + i);
    areClaimed &= claim<Component>(mixed, i, {hn::LoadU(d, block.whole + i), low}, v);
  }
  const Block claimed{mixed.whole, nullptr, mixed.below, mixed.values, block.count};
  bool isSet = false;
  if (learned.mixedSeries.isDue()) {
    isSet = trySeries<Component, false>(zone, learned, claimed, oneValue, at) == claimed.count;
    learned.mixedSeries.note(isSet);
  }
  isSet = isSet || tryWhole<Component, false>(zone, learned, claimed, oneValue, at);
  for (size_t i = 0; i < block.count && !isSet; ++i) mixed.isClaimed[i] = 0.0;
  if (isSet && areClaimed) return true;
  leaveVectors();  // the caller sets the others by plain code, which may raise
  return false;
}

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
