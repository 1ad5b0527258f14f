// Compiled once for each instruction set, PLX_INSTRUCTION_SET, into an object of its own.

#include "zoned/vector_walk.h"

#include <type_traits>

#include "base/field_codes.h"
#include "unzoned/instruction_set-inl.h"
#include "zoned/table_walk.h"
#include "zoned/zone_lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zone_lanes::HWY_NAMESPACE {

// Whether all of a block are whole milliseconds and values of the domain, or of the part of it where
// every fourth year is a leap year and values are near. Where they are to be looked up, it notes in
// passing which granules they are in.
template <class Component, class Calendar, bool kOneValue>
HWY_INLINE bool isPlain(const Block& block, V oneValue, const Granular& granules,
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

// What is claimed of a block that has fractions or elements outside the domain; zeros and ones in
// the place of the others, which lead to no look-up beyond the tables.
struct Mixed {
  HWY_ALIGN double whole[kBlock];
  HWY_ALIGN double below[kBlock];
  HWY_ALIGN double values[kBlock];
  HWY_ALIGN double isClaimed[kBlock];
};

// Splits a pair, into whole milliseconds and the rest, if it is claimed.
//
// A fraction in the high part cannot be moved below a whole number by the low part of a normalised
// pair, and of what is whole in the high part a low part below zero takes one away, which can lead
// out of the domain. What the high part leaves is exact but just below zero, where it is not claimed;
// then all but the last sum of the fraction is exact, as in the plain code's double-doubles.
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

// Sets a block on its own. False where it has something that is not of the domain.
template <class Component, bool kOneValue, class Results>
HWY_INLINE bool setAlone(const Zone& zone, Learned& learned, const Block& block, V oneValue,
                         const Results& at) {
  using lanes::HWY_NAMESPACE::Julian;
  Stretches &instants = learned.instants, &walls = learned.walls;
  const double first = block.whole[0], last = block.whole[block.count - 1];
  const bool isSeries = kIsFar<Component> && seemsKnown(zone.instants.offsets, instants,
                                                        HWY_MIN(first, last), HWY_MAX(first, last));
  const Granular granules = granularOf(zone.instants.granules);
  Lookups own;
  Lookups* const lookups = isSeries ? nullptr : &own;
  const bool isJulian = isPlain<Component, Julian, kOneValue>(block, oneValue, granules, lookups);
  if (!isJulian && !isPlain<Component, Gregorian, kOneValue>(block, oneValue, granules, lookups)) {
    return false;
  }
  if (lookups) lookUp(zone.instants.granules, own.words, block.count);
  if (isJulian) {
    setBlock<Component, Julian, kOneValue>(zone, instants, walls, lookups, block, oneValue, at);
  } else {
    setBlock<Component, Gregorian, kOneValue>(zone, instants, walls, lookups, block, oneValue,
                                              Place{at.high, at.low});
  }
  return true;
}

// Sets what is claimed of a block with fractions or elements outside the domain. False where there is
// more in it; then `mixed` says what is not claimed.
template <class Component, bool kOneValue>
HWY_NOINLINE bool setClaimed(const Zone& zone, Learned& learned, const Block& block, V oneValue,
                             Mixed& mixed, const Place& at) {
  bool areClaimed = true;
  for (size_t i = 0; i < block.count; i += hn::Lanes(d)) {
    const V low = block.low ? hn::LoadU(d, block.low + i) : hn::Zero(d);
    const V v = kOneValue ? oneValue : hn::LoadU(d, block.values + i);
    areClaimed &= claim<Component>(mixed, i, {hn::LoadU(d, block.whole + i), low}, v);
  }
  const Block claimed{mixed.whole, nullptr, mixed.below, mixed.values, block.count};
  bool isSet = false;
  if (learned.mixedSeries.isDue()) {
    isSet = setSeries<Component, false>(zone, learned, claimed, oneValue, at) == claimed.count;
    learned.mixedSeries.note(isSet);
  }
  isSet = isSet || setAlone<Component, false>(zone, learned, claimed, oneValue, at);
  for (size_t i = 0; i < block.count && !isSet; ++i) mixed.isClaimed[i] = 0.0;
  if (isSet && areClaimed) return true;
  leaveVectors();  // to who sets the others, and may raise
  return false;
}

// Sets the elements from one on to before another, a multiple of the lanes.
template <class Component, bool kOneValue, class Results>
HWY_INLINE void walkBlocks(const ZonedCall& call, const Zone& zone, Learned& learned, Mixed& mixed,
                           size_t from, size_t until) {
  const Elements& e = call.elements;
  const V oneValue = all(e.values[0]);
  while (from < until) {
    const auto blockOf = [&](size_t count) HWY_ATTR {
      return partOf<kOneValue>({e.high, e.low, nullptr, e.values, 0}, from, count);
    };
    if (learned.plainSeries.isDue()) {
      const Results results{e.resultHigh + from, e.resultLow + from};
      const size_t done =
          setSeries<Component, kOneValue>(zone, learned, blockOf(until - from), oneValue, results);
      from += done;
      if (done > 0) learned.plainSeries.note(true);
      if (from == until) break;
      learned.plainSeries.note(false);  // the block that follows
    }
    const Block block = blockOf(HWY_MIN(wholeLanes(kBlock), until - from));
    const Results results{e.resultHigh + from, e.resultLow + from};
    const Place place{results.high, results.low};
    if (!setAlone<Component, kOneValue>(zone, learned, block, oneValue, results) &&
        !setClaimed<Component, kOneValue>(zone, learned, block, oneValue, mixed, place)) {
      for (size_t i = 0; i < block.count; ++i) {
        if (mixed.isClaimed[i] == 0.0) {
          setElement(call.table, call.field, e, from + i, call.calendar);
        }
      }
    }
    from += block.count;
  }
}

// For at least as many elements as a vector has lanes.
template <class Component, bool kOneValue>
void walkOf(const ZonedCall& call) {
  const Elements& e = call.elements;
  const Zone zone = call.zone;
  Learned learned;
  // Where nothing changes any more, this is all there is to know.
  if (std::fabs(e.high[0]) <= lanes::kWholeBound) {
    moveTo(learned.instants, zone.instants.offsets, e.high[0]);
    moveTo(learned.walls, zone.walls.offsets, e.high[0]);
  }
  Mixed mixed;
  const size_t rest = e.count % hn::Lanes(d);
  {
    const PastCaches pastCaches(e.resultHigh, e.resultLow, e.count);
    if (pastCaches.areUsed()) {
      walkBlocks<Component, kOneValue, PlacePastCaches>(call, zone, learned, mixed, 0,
                                                        e.count - rest);
    } else {
      walkBlocks<Component, kOneValue, Place>(call, zone, learned, mixed, 0, e.count - rest);
    }
  }
  // The last vector ends with the last element, and does some of the one before it again.
  if (rest != 0) {
    walkBlocks<Component, kOneValue, Place>(call, zone, learned, mixed, e.count - hn::Lanes(d),
                                            e.count);
  }
}

void walkElements(const ZonedCall& call) {
  for (size_t i = 0; i < call.elements.count; ++i) {
    setElement(call.table, call.field, call.elements, i, call.calendar);
  }
}

template <class Component>
void walkOfLength(const ZonedCall& call) {
  if (call.elements.count < hn::Lanes(d)) return walkElements(call);
  call.elements.step ? walkOf<Component, false>(call) : walkOf<Component, true>(call);
}

void walkField(const ZonedCall& call) {
  switch (static_cast<int>(call.field)) {
    case UCAL_EXTENDED_YEAR:
      return walkOfLength<SetDate<SetYear>>(call);
    case kQuarterField:
      return walkOfLength<SetDate<SetQuarter>>(call);
    case UCAL_MONTH:
      return walkOfLength<SetDate<SetMonth>>(call);
    case UCAL_WEEK_OF_YEAR:
      return walkOfLength<SetDate<SetWeekOfYearOfSaturday>>(call);
    case UCAL_DATE:
      return walkOfLength<SetDate<SetDayOfMonth, NearDay>>(call);
    case UCAL_DAY_OF_YEAR:
      return walkOfLength<SetDate<SetDayOfYear>>(call);
    case UCAL_DAY_OF_WEEK:
      return walkOfLength<SetDate<SetDayWithinWeek, NearWeekday>>(call);
    case UCAL_HOUR_OF_DAY:
      return walkOfLength<SetClock<lanes::Hour, NearHour>>(call);
    case UCAL_MINUTE:
      return walkOfLength<SetClock<lanes::Minute, NearMinute>>(call);
    case UCAL_SECOND:
      return walkOfLength<SetSeconds<Second>>(call);
    case UCAL_MILLISECONDS_IN_DAY:
      return walkOfLength<SetSeconds<TimeOfDay>>(call);
    default:
      return walkElements(call);
  }
}

void walk(const ZonedCall& call) {
  walkField(call);
  leaveVectors();
}

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

template <>
void zonedWalkBy<instruction_sets::PLX_INSTRUCTION_SET>(const ZonedCall& call) {
  zone_lanes::HWY_NAMESPACE::walk(call);
}
