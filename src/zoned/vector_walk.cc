// This file is compiled once for each instruction set: Highway includes it again and again, each
// time with another target and namespace, and last for the part below that chooses among them.

#include "zoned/vector_walk.h"

#include <type_traits>

#include "entry/field_codes.h"
#include "zoned/table_walk.h"

#define HWY_DISABLED_TARGETS HWY_SSSE3  // of no use without a rounding instruction
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "zoned/vector_walk.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "zoned/zone_lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zone_lanes::HWY_NAMESPACE {

// Whether all of a block are whole milliseconds and values of the domain, or of the part of it where
// every fourth year is a leap year.
template <class Component, class Calendar, bool kOneValue>
HWY_INLINE bool isPlain(const Block& block, V oneValue) {
  constexpr bool kIsJulian = std::is_same_v<Calendar, lanes::HWY_NAMESPACE::Julian>;
  // No largest of all: that would forget a NaN.
  V bits = hn::Zero(d);
  M isBounded = hn::Eq(bits, bits);
  for (size_t i = 0; i < block.count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, block.whole + i);
    const V v = kOneValue ? oneValue : hn::LoadU(d, block.values + i);
    bits = hn::Or(bits, fractionBits(t));
    if constexpr (!Component::kTakesFractions) bits = hn::Or(bits, fractionBits(v));
    if constexpr (kIsJulian) {
      const M isRecent = isAtMost(t - all(lanes::kJulianMiddle), lanes::kJulianReach);
      isBounded = hn::And(isBounded, hn::And(isRecent, Component::isNear(v)));
    } else {
      const M isWithin = isAtMost(t, lanes::kWholeBound);
      isBounded = hn::And(isBounded, hn::And(isWithin, isAtMost(v, Component::kBound)));
    }
  }
  for (size_t i = 0; block.low && i < block.count; i += hn::Lanes(d)) {
    bits = hn::Or(bits, hn::LoadU(d, block.low + i));
  }
  return hn::AllTrue(d, hn::And(isBounded, isZeroBits(bits)));
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

// What the blocks before have taught.
struct Learned {
  Stretches instants, walls;
  Attempts steady, plainSeries, mixedSeries;
};

// Sets a block by the quickest way. False where it has something that is not of the domain.
template <class Component, bool kOneValue>
HWY_INLINE bool set(const Zone& zone, Learned& learned, Attempts& attempts, const Block& block,
                    V oneValue, const Place& at) {
  using lanes::HWY_NAMESPACE::Julian;
  Stretches &instants = learned.instants, &walls = learned.walls;
  if (attempts.isDue()) {
    const bool isSet = setSeries<Component, kOneValue>(zone, instants, walls, block, oneValue, at);
    attempts.note(isSet);
    if (isSet) return true;
  }
  if (isPlain<Component, Julian, kOneValue>(block, oneValue)) {
    setBlock<Component, Julian, kOneValue>(zone, instants, walls, block, oneValue, at);
  } else if (isPlain<Component, Gregorian, kOneValue>(block, oneValue)) {
    setBlock<Component, Gregorian, kOneValue>(zone, instants, walls, block, oneValue, at);
  } else {
    return false;
  }
  return true;
}

// For at least as many elements as a vector has lanes.
template <class Component, bool kOneValue>
void walkBlocks(const ZonedCall& call) {
  const Elements& e = call.elements;
  const size_t lanes = hn::Lanes(d);
  const size_t block = kBlock - kBlock % lanes;
  const V oneValue = all(e.values[0]);
  const Zone zone = call.zone;
  Learned learned;
  // Where nothing changes any more, this is all there is to know.
  if (std::fabs(e.high[0]) <= lanes::kWholeBound) {
    moveTo(learned.instants, zone.instants.offsets, e.high[0]);
    moveTo(learned.walls, zone.walls.offsets, e.high[0]);
  }
  Mixed mixed;

  // The last vector, a block of its own, ends with the last element, and may do some of the one
  // before it again.
  const size_t inVectors = e.count - e.count % lanes;
  for (size_t from = 0; from < e.count;) {
    const auto blockOf = [&](size_t count) HWY_ATTR {
      return Block{e.high + from, e.low ? e.low + from : nullptr, nullptr,
                   kOneValue ? e.values : e.values + from, count};
    };
    const size_t many = HWY_MIN(kSteadyBlock - kSteadyBlock % lanes, inVectors - from);
    if (many > block && learned.steady.isDue()) {
      const bool isSet =
          setSteady<Component, kOneValue>(zone, learned.instants, blockOf(many), oneValue,
                                          {e.resultHigh + from, e.resultLow + from});
      learned.steady.note(isSet);
      if (isSet) {
        from += many;
        continue;
      }
    }
    size_t count = HWY_MIN(block, inVectors - from);
    if (count == 0) {
      from = e.count - lanes;
      count = lanes;
    }
    const Place place{e.resultHigh + from, e.resultLow + from};
    const Block plain = blockOf(count);
    if (!set<Component, kOneValue>(zone, learned, learned.plainSeries, plain, oneValue, place)) {
      bool areClaimed = true;
      for (size_t i = 0; i < count; i += lanes) {
        const V low = plain.low ? hn::LoadU(d, plain.low + i) : hn::Zero(d);
        const V v = kOneValue ? oneValue : hn::LoadU(d, plain.values + i);
        const Pair t{hn::LoadU(d, plain.whole + i), low};
        areClaimed &= claim<Component>(mixed, i, t, v);
      }
      const Block claimed{mixed.whole, nullptr, mixed.below, mixed.values, count};
      const bool isSet =
          set<Component, false>(zone, learned, learned.mixedSeries, claimed, oneValue, place);
      for (size_t i = 0; i < count && !(isSet && areClaimed); ++i) {
        if (!isSet || mixed.isClaimed[i] == 0.0) {
          setElement(call.table, call.field, e, from + i, call.calendar);
        }
      }
    }
    from += count;
  }
}

void walkElements(const ZonedCall& call) {
  for (size_t i = 0; i < call.elements.count; ++i) {
    setElement(call.table, call.field, call.elements, i, call.calendar);
  }
}

template <class Component>
void walkOf(const ZonedCall& call) {
  if (call.elements.count < hn::Lanes(d)) return walkElements(call);
  call.elements.step ? walkBlocks<Component, false>(call) : walkBlocks<Component, true>(call);
}

void walk(const ZonedCall& call) {
  switch (static_cast<int>(call.field)) {
    case UCAL_EXTENDED_YEAR:
      return walkOf<OfWhole<OfDate<SetYear>, Reach::any>>(call);
    case kQuarterField:
      return walkOf<OfWhole<OfDate<SetQuarter>, Reach::any>>(call);
    case UCAL_MONTH:
      return walkOf<OfWhole<OfDate<SetMonth>, Reach::any>>(call);
    case UCAL_WEEK_OF_YEAR:
      return walkOf<OfWhole<OfDate<SetWeekOfYearOfSaturday>, Reach::any>>(call);
    case UCAL_DATE:
      return walkOf<OfWhole<OfDate<SetDayOfMonth>, Reach::month>>(call);
    case UCAL_DAY_OF_YEAR:
      return walkOf<OfWhole<OfDate<SetDayOfYear>, Reach::any>>(call);
    case UCAL_DAY_OF_WEEK:
      return walkOf<OfWhole<OfDate<SetDayWithinWeek>, Reach::week>>(call);
    case UCAL_HOUR_OF_DAY:
      return walkOf<OfWhole<OfClock<lanes::Hour>, Reach::week>>(call);
    case UCAL_MINUTE:
      return walkOf<OfWhole<OfClock<lanes::Minute>, Reach::week>>(call);
    case UCAL_SECOND:
      return walkOf<OfSeconds<Second>>(call);
    case UCAL_MILLISECONDS_IN_DAY:
      return walkOf<OfSeconds<TimeOfDay>>(call);
    default:
      return walkElements(call);
  }
}

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zone_lanes {

HWY_EXPORT(walk);

// The walk compiled for one instruction set, of those that the processor has.
ZonedWalk* walkFor(std::int64_t target) {
  hwy::ChosenTarget chosen;
  chosen.Update(target);
  return HWY_DISPATCH_TABLE(walk)[chosen.GetIndex()];
}

}  // namespace zone_lanes

std::vector<ZonedInstructionSet> zonedInstructionSets() {
  std::vector<ZonedInstructionSet> sets;
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    sets.push_back({hwy::TargetName(target), zone_lanes::walkFor(target)});
  }
  return sets;
}

void zonedVectorWalk(const ZonedCall& call) {
  static ZonedWalk* const best = zonedInstructionSets().front().walk;
  best(call);
}
#endif
