// This file is compiled once for each instruction set: Highway includes it again and again, each
// time with another target and namespace, and last for the part below that chooses among them.

#include "zoned/vector_walk.h"

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

// Whether all of a block are whole milliseconds of the domain and values that are accepted. Bits
// that must all be zero are tested together.
template <class Component, bool kOneValue>
HWY_INLINE bool isPlain(const double* HWY_RESTRICT high, const double* HWY_RESTRICT low,
                        const double* HWY_RESTRICT values, size_t count) {
  // No largest of all: that would forget a NaN.
  V bits = hn::Zero(d);
  M isBounded = hn::Eq(bits, bits);
  for (size_t i = 0; i < count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, high + i);
    bits = hn::Or(bits, fractionBits(t));
    isBounded = hn::And(isBounded, isAtMost(t, lanes::kWholeBound));
  }
  for (size_t i = 0; low && i < count; i += hn::Lanes(d)) {
    bits = hn::Or(bits, hn::LoadU(d, low + i));
  }
  for (size_t i = 0; !kOneValue && i < count; i += hn::Lanes(d)) {
    const V v = hn::LoadU(d, values + i);
    if constexpr (!Component::kTakesFractions) bits = hn::Or(bits, fractionBits(v));
    isBounded = hn::And(isBounded, isAtMost(v, Component::kBound));
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

// A fraction in the high part cannot be moved below a whole number by the low part of a normalised
// pair, and of what is whole in the high part a low part below zero takes one away. Either way all
// but the last sum of the fraction is exact, as in the plain code's double-doubles.
template <class Component>
HWY_INLINE bool claim(Mixed& mixed, size_t i, Pair t, V v) {
  const M isClaimed = hn::And(isInDomain(t), isAccepted<Component>(v));
  const V high = hn::IfThenElseZero(isClaimed, t.hi);
  const V low = hn::IfThenElseZero(isClaimed, t.lo);
  const V floor = hn::Floor(high);
  const M isBelow = hn::And(hn::Eq(floor, high), hn::Lt(low, hn::Zero(d)));
  const V whole = floor - hn::IfThenElseZero(isBelow, all(1.0));
  hn::Store(whole, d, mixed.whole + i);
  hn::Store((high - whole) + low, d, mixed.below + i);
  hn::Store(hn::IfThenElse(isClaimed, v, all(1.0)), d, mixed.values + i);
  hn::Store(hn::IfThenElseZero(isClaimed, all(1.0)), d, mixed.isClaimed + i);
  return hn::AllTrue(d, isClaimed);
}

// For at least as many elements as a vector has lanes.
template <class Component, bool kOneValue>
void walkBlocks(const ZonedCall& call) {
  const Elements& e = call.elements;
  const size_t lanes = hn::Lanes(d);
  const size_t block = kBlock - kBlock % lanes;
  const V oneValue = all(e.values[0]);
  const bool isOneAccepted = !kOneValue || hn::AllTrue(d, isAccepted<Component>(oneValue));
  const Zone zone = call.zone;
  Stretches instants, walls;
  Mixed mixed;

  // The last vector, a block of its own, ends with the last element, and may do some of the one
  // before it again.
  const size_t inVectors = e.count - e.count % lanes;
  for (size_t from = 0; from < e.count;) {
    size_t count = HWY_MIN(block, inVectors - from);
    if (count == 0) {
      from = e.count - lanes;
      count = lanes;
    }
    const double* const high = e.high + from;
    const double* const low = e.low ? e.low + from : nullptr;
    const double* const values = kOneValue ? e.values : e.values + from;
    const Place place{e.resultHigh + from, e.resultLow + from};
    if (isOneAccepted && isPlain<Component, kOneValue>(high, low, values, count)) {
      setBlock<Component, kOneValue>(zone, instants, walls, {high, nullptr, values, count},
                                     oneValue, place);
    } else {
      bool areClaimed = true;
      for (size_t i = 0; i < count; i += lanes) {
        const Pair t{hn::LoadU(d, high + i), low ? hn::LoadU(d, low + i) : hn::Zero(d)};
        const V v = kOneValue ? oneValue : hn::LoadU(d, values + i);
        areClaimed &= claim<Component>(mixed, i, t, v);
      }
      setBlock<Component, false>(zone, instants, walls,
                                 {mixed.whole, mixed.below, mixed.values, count}, oneValue, place);
      for (size_t i = 0; i < count && !areClaimed; ++i) {
        if (mixed.isClaimed[i] == 0.0) {
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
      return walkOf<OfWhole<OfDate<SetYear>, false>>(call);
    case kQuarterField:
      return walkOf<OfWhole<OfDate<SetQuarter>, false>>(call);
    case UCAL_MONTH:
      return walkOf<OfWhole<OfDate<SetMonth>, false>>(call);
    case UCAL_WEEK_OF_YEAR:
      return walkOf<OfWhole<OfDate<SetWeekOfYearOfSaturday>, false>>(call);
    case UCAL_DATE:
      return walkOf<OfWhole<OfDate<SetDayOfMonth>, true>>(call);
    case UCAL_DAY_OF_YEAR:
      return walkOf<OfWhole<OfDate<SetDayOfYear>, false>>(call);
    case UCAL_DAY_OF_WEEK:
      return walkOf<OfWhole<OfDate<SetDayWithinWeek>, true>>(call);
    case UCAL_HOUR_OF_DAY:
      return walkOf<OfWhole<OfClock<lanes::Hour>, true>>(call);
    case UCAL_MINUTE:
      return walkOf<OfWhole<OfClock<lanes::Minute>, true>>(call);
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
