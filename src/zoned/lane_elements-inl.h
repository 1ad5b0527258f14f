// Blocks of datetimes with their new values: what must hold for all elements of a block, its values,
// and where its results go.
#pragma once

#include "zoned/lane_components-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zone_lanes::HWY_NAMESPACE {

HWY_INLINE M isInDomain(Pair t) {
  return hn::And(isAtMost(t.hi, lanes::kWholeBound), hn::Eq(t.hi + t.lo, t.hi));
}

// The largest magnitude noted in each lane. Taken as integers, the bits of doubles without their sign
// are ordered as the magnitudes are, with NaN above all others; a maximum of doubles would drop NaN.
class Furthest {
 public:
  HWY_INLINE Furthest() : most_(hn::Zero(di)) {}

  HWY_INLINE void note(V x) { most_ = hn::Max(most_, hn::BitCast(di, hn::Abs(x))); }
  HWY_INLINE M isAtMost(double bound) const {
    return hn::Not(hn::RebindMask(d, hn::Gt(most_, hn::BitCast(di, all(bound)))));
  }

 private:
  VI most_;
};

// Tests from <= x < until for all whole numbers x noted, both bounds finite, by one integer maximum:
// (from - 1) - x must be negative and at least from - until. Among negative doubles the bits, taken as
// signed integers, grow with the magnitude; those of zero, of positive numbers and of NaN all compare
// larger. That x is whole has to be tested elsewhere.
class Within {
 public:
  HWY_INLINE Within(double from, double until)
      : before_(all(from - 1.0)),
        bound_(hn::BitCast(di, all(HWY_MIN(from - until, -0.0)))),
        most_(hn::BitCast(di, all(-0.0))) {}

  HWY_INLINE void note(V x) { most_ = hn::Max(most_, hn::BitCast(di, before_ - x)); }
  HWY_INLINE M holdsAll() const { return hn::Not(hn::RebindMask(d, hn::Gt(most_, bound_))); }

 private:
  V before_;
  VI bound_, most_;
};

HWY_INLINE size_t wholeLanes(size_t count) { return count - count % hn::Lanes(d); }

// A block of datetimes with their new values; its length is a multiple of the lanes.
struct Block {
  const double* HWY_RESTRICT whole;  // milliseconds
  const double* HWY_RESTRICT low;    // low parts, which have to be zero; null where there are none
  const double* HWY_RESTRICT below;  // fractions of a millisecond, added to results; null: none
  const double* HWY_RESTRICT values;
  size_t count;
};

// `count` elements of a block, from element `from` on.
template <bool kOneValue>
HWY_INLINE Block partOf(const Block& block, size_t from, size_t count) {
  return {block.whole + from, block.low ? block.low + from : nullptr,
          block.below ? block.below + from : nullptr,
          kOneValue ? block.values : block.values + from, count};
}

// The new values: those of a block, or one for all with what depends on that value alone.
template <class Component, class Calendar, bool kOneValue>
struct Values {
  HWY_INLINE Values(const Block& block, V one)
      : values(block.values), oneValue(one), oneNew(Component::template newOf<Calendar>(one)) {}

  HWY_INLINE V at(size_t i) const { return kOneValue ? oneValue : hn::LoadU(d, values + i); }
  HWY_INLINE V setWall(V wall, size_t i) const {
    if constexpr (kOneValue) return Component::template setWall<Calendar>(wall, oneNew);
    const auto set = Component::template newOf<Calendar>(hn::LoadU(d, values + i));
    return Component::template setWall<Calendar>(wall, set);
  }

  const double* HWY_RESTRICT values;
  V oneValue;
  typename Component::New oneNew;
};

// Stores the result `millis`, with the fraction of a millisecond that element i has or v brings. Whole
// milliseconds are a multiple of the last place of such a fraction, so quickTwoSum() is exact,
// whichever of the two is larger.
template <class Component>
HWY_INLINE void store(const Block& block, size_t i, V v, V millis, const EitherPlace& at) {
  Pair set{millis, hn::Zero(d)};
  if constexpr (Component::kTakesFractions) {
    set = quickTwoSum(millis, Component::below(v));
  } else if (block.below) {
    set = quickTwoSum(millis, hn::LoadU(d, block.below + i));
  }
  at.store(set, i);
}

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
