// This file is compiled once for each instruction set: Highway includes it again and again, each
// time with another target and namespace, and last for the part below that chooses among them.

#include "unzoned/vector_walk.h"

#define HWY_DISABLED_TARGETS HWY_SSSE3  // of no use without a rounding instruction
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "unzoned/vector_walk.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "unzoned/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanes::HWY_NAMESPACE {

// Where the next vector is read from and written to.
struct Place {
  const double* high;
  const double* low;
  const double* values;
  double* resultHigh;
  double* resultLow;
};

// A block with at least one lane outside the domain of whole milliseconds. What is not finite
// becomes the sum of value and datetime, with a low part of +0: the error of such a sum is NaN,
// which the plain code clears. Bit i of the result is set where lane i is in no domain, and what
// was written there is wrong.
template <class Component>
HWY_NOINLINE std::uint64_t setMixed(const Place& at) {
  const Pair t{hn::LoadU(d, at.high), hn::LoadU(d, at.low)};
  const V v = hn::LoadU(d, at.values);
  const M isAccepted = Component::accepts(v);
  const M finite = hn::And(isFinite(t.hi), isFinite(v));
  M claimed = hn::Or(hn::And(isAccepted, isWhole(t)), hn::Not(finite));
  Pair set;
  if (hn::AllTrue(d, claimed)) {
    set = Component::setWhole(t.hi, v);
  } else {
    claimed = hn::Or(hn::And(isAccepted, isPair(t)), hn::Not(finite));
    set = Component::set(t, v);
  }
  hn::StoreU(hn::IfThenElse(finite, set.hi, (v + t.hi) + t.lo), d, at.resultHigh);
  hn::StoreU(hn::IfThenElseZero(finite, set.lo), d, at.resultLow);
  if (hn::AllTrue(d, claimed)) return 0;
  alignas(8) std::uint8_t bits[8] = {};
  hn::StoreMaskBits(d, hn::Not(claimed), bits);
  std::uint64_t unclaimed = 0;
  for (int i = 0; i < 8; ++i) unclaimed |= std::uint64_t{bits[i]} << (8 * i);
  return unclaimed;
}

template <class Lanes>
size_t walkOf(Component component, bool leapSeconds, const Elements& e) {
  const size_t lanes = hn::Lanes(d);
  if (e.count < lanes) return plainWalk(component, leapSeconds, e);

  // A single value and a missing low part are read again and again from a vector of their own.
  HWY_ALIGN double value[hn::MaxLanes(d)];
  HWY_ALIGN double zero[hn::MaxLanes(d)];
  hn::Store(all(e.values[0]), d, value);
  hn::Store(hn::Zero(d), d, zero);

  // The last vector ends with the last element, and may do some of the one before it again.
  const size_t last = e.count - lanes;
  for (size_t i = 0;; i = i + lanes < last ? i + lanes : last) {
    const Place at{e.high + i, e.low ? e.low + i : zero, e.step ? e.values + i : value,
                   e.resultHigh + i, e.resultLow + i};
    const Pair t{hn::LoadU(d, at.high), hn::LoadU(d, at.low)};
    const V v = hn::LoadU(d, at.values);
    if (HWY_LIKELY(hn::AllTrue(d, hn::And(isWhole(t), Lanes::accepts(v))))) {
      const Pair set = Lanes::setWhole(t.hi, v);
      hn::StoreU(set.hi, d, at.resultHigh);
      hn::StoreU(set.lo, d, at.resultLow);
    } else {
      std::uint64_t unclaimed = setMixed<Lanes>(at);
      for (size_t k = i; unclaimed != 0; ++k, unclaimed >>= 1) {
        if ((unclaimed & 1) != 0 && !setElement(component, leapSeconds, e, k)) return k;
      }
    }
    if (i == last) return e.count;
  }
}

template <class Lanes>
size_t walkOnLine(Component component, bool leapSeconds, const Elements& e) {
  return leapSeconds ? walkOf<CountingLeapSeconds<Lanes>>(component, true, e)
                     : walkOf<Lanes>(component, false, e);
}

size_t walk(Component component, bool leapSeconds, const Elements& e) {
  switch (component) {
    case Component::year:
      return walkOnLine<OfDate<SetYear>>(component, leapSeconds, e);
    case Component::quarter:
      return walkOnLine<OfDate<SetQuarter>>(component, leapSeconds, e);
    case Component::month:
      return walkOnLine<OfDate<SetMonth>>(component, leapSeconds, e);
    case Component::weekOfYear:
      return walkOnLine<OfDate<SetWeekOfYear>>(component, leapSeconds, e);
    case Component::dayOfMonth:
      return walkOnLine<OfDate<SetDayOfMonth>>(component, leapSeconds, e);
    case Component::dayOfYear:
      return walkOnLine<OfDate<SetDayOfYear>>(component, leapSeconds, e);
    case Component::dayOfWeek:
      return walkOnLine<OfDate<SetDayOfWeek>>(component, leapSeconds, e);
    case Component::hour:
      return walkOnLine<OfClock<Hour>>(component, leapSeconds, e);
    case Component::minute:
      return walkOnLine<OfClock<Minute>>(component, leapSeconds, e);
    case Component::second:
      return walkOnLine<SecondsAfter<Minute>>(component, leapSeconds, e);
    case Component::timeOfDay:
      return walkOnLine<SecondsAfter<Day>>(component, leapSeconds, e);
    case Component::none:
      break;
  }
  return plainWalk(component, leapSeconds, e);
}

}  // namespace lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanes {

HWY_EXPORT(walk);

// The walk compiled for one instruction set, of those that the processor has.
Walk* walkFor(std::int64_t target) {
  hwy::ChosenTarget chosen;
  chosen.Update(target);
  return HWY_DISPATCH_TABLE(walk)[chosen.GetIndex()];
}

}  // namespace lanes

std::vector<InstructionSet> instructionSets() {
  std::vector<InstructionSet> sets;
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    sets.push_back({hwy::TargetName(target), lanes::walkFor(target)});
  }
  return sets;
}

std::size_t vectorWalk(Component component, bool leapSeconds, const Elements& elements) {
  static Walk* const best = instructionSets().front().walk;
  return best(component, leapSeconds, elements);
}
#endif
