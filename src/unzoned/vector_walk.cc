// Which function calls which. All but the last choose a template argument at run time:
//
//   walk, byComponent   the component
//   byTimeScale         UTC or leap seconds; walkCounting where leap seconds are looked up by blocks
//   byLength            one value for all or one for each; walkShort below the length of a vector
//   walkVectors         tries one domain after the other, the quickest first: `run` sets vectors whose
//                       lanes are all in one domain, setMixed any others, by the plain code if need be
//
// Compiled once for each instruction set, PLX_INSTRUCTION_SET, into an object of its own.

#include "unzoned/vector_walk.h"

#include <type_traits>

#include "dispatch/instruction_set-inl.h"
#include "unzoned/lane_leaps-inl.h"
#include "unzoned/leap_block.h"

HWY_BEFORE_NAMESPACE();
namespace lanes::HWY_NAMESPACE {

static_assert(kBlock % hn::MaxLanes(d) == 0);

// Lanes whose datetime or value is not finite become the sum of both, with a low part of +0: the error
// of such a sum is NaN, which the plain code clears.
HWY_INLINE Pair sumUnless(M finite, Pair set, Pair t, V v) {
  return {hn::IfThenElse(finite, set.hi, (v + t.hi) + t.lo), hn::IfThenElseZero(finite, set.lo)};
}

// Sets the vector of elements that begins with element i, whatever its datetimes and values are. Lanes
// in no domain are set by the plain code, in order. Returns the index of the first element that the
// plain code refuses, or the count of all elements.
template <class Lanes>
HWY_NOINLINE size_t setMixed(Component component, bool leapSeconds, const Elements& e, size_t i,
                             Pair t, V v) {
  const M finite = hn::And(isFinite(t.hi), isFinite(v));
  const M claimed = hn::Or(hn::And(isPair(t), isAccepted<Lanes>(v)), hn::Not(finite));
  const Pair set = sumUnless(finite, Lanes::set(t, Lanes::template newOf<Gregorian>(v)), t, v);
  hn::StoreU(set.hi, d, e.resultHigh + i);
  hn::StoreU(set.lo, d, e.resultLow + i);

  HWY_ALIGN double isClaimed[hn::MaxLanes(d)];
  hn::Store(hn::IfThenElseZero(claimed, all(1.0)), d, isClaimed);
  for (size_t lane = 0; lane < hn::Lanes(d); ++lane) {
    if (isClaimed[lane] == 0.0 && !setByPlainCode(component, leapSeconds, e, i + lane))
      return i + lane;
  }
  return e.count;
}

// The domains: which lanes belong to one (`has`), and how these are set (`set`), given the value's New,
// which is all that depends on the new value alone.
template <class Lanes, class OfCalendar>
struct WholeBy {
  using Calendar = OfCalendar;
  static HWY_INLINE M has(Pair t, V v) {
    if constexpr (std::is_same_v<Calendar, Julian>) return isJulianAndAccepted<Lanes>(t, v);
    return isWholeAndAccepted<Lanes>(t, v);
  }
  static HWY_INLINE Pair set(Pair t, V, typename Lanes::New set) {
    return Lanes::template setWhole<Calendar>(t.hi, set);
  }
};

template <class Lanes>
struct Pairs {
  using Calendar = Gregorian;
  static HWY_INLINE M has(Pair t, V v) { return hn::And(isPair(t), isAccepted<Lanes>(v)); }
  static HWY_INLINE Pair set(Pair t, V, typename Lanes::New set) { return Lanes::set(t, set); }
};

// A domain, extended by all datetimes and values that are not finite.
template <class Domain>
struct AndNonFinite {
  using Calendar = typename Domain::Calendar;
  static HWY_INLINE M isFinite(Pair t, V v) {
    return hn::And(lanes::HWY_NAMESPACE::isFinite(t.hi), lanes::HWY_NAMESPACE::isFinite(v));
  }
  static HWY_INLINE M has(Pair t, V v) {
    return hn::Or(Domain::has(t, v), hn::Not(isFinite(t, v)));
  }
  template <class New>
  static HWY_INLINE Pair set(Pair t, V v, New set) {
    return sumUnless(isFinite(t, v), Domain::set(t, v, set), t, v);
  }
};

// The elements of a call as vectors. Where there are no low parts, a vector of zeros is read in their
// place.
template <bool kOneValue>
struct Vectors {
  HWY_INLINE Vectors(const Elements& e, const double* zeros)
      : high(e.high),
        low(e.low ? e.low : zeros),
        lowMask(e.low ? ~size_t{0} : 0),
        values(e.values),
        oneValue(all(e.values[0])),
        resultHigh(e.resultHigh),
        resultLow(e.resultLow) {}

  HWY_INLINE Pair time(size_t i) const {
    return {hn::LoadU(d, high + i), hn::LoadU(d, low + (i & lowMask))};
  }
  HWY_INLINE V value(size_t i) const { return kOneValue ? oneValue : hn::LoadU(d, values + i); }

  const double* HWY_RESTRICT high;
  const double* HWY_RESTRICT low;
  size_t lowMask;
  const double* HWY_RESTRICT values;
  V oneValue;
  double* HWY_RESTRICT resultHigh;
  double* HWY_RESTRICT resultLow;
};

// Sets vectors of one domain from element i on, none that begins after `last`. Returns the index at
// which the first vector that is not set begins. Each domain has a loop of its own, whose invariants,
// with all that depends on one value for all, are computed before it and stay in registers.
template <class Lanes, class Domain, bool kOneValue, class Results>
HWY_INLINE size_t run(const Vectors<kOneValue>& e, size_t i, size_t last, const Results& results) {
  using Calendar = typename Domain::Calendar;
  const auto oneNew = Lanes::template newOf<Calendar>(e.oneValue);
  for (; i <= last; i += hn::Lanes(d)) {
    const Pair t = e.time(i);
    const V v = e.value(i);
    if (!hn::AllTrue(d, Domain::has(t, v))) break;
    const auto set = kOneValue ? oneNew : Lanes::template newOf<Calendar>(v);
    results.store(Domain::set(t, v, set), i);
  }
  return i;
}

// For at least as many elements as a vector has lanes.
template <class Lanes, bool kOneValue>
size_t walkVectors(Component component, bool leapSeconds, const Elements& elements) {
  using Whole = WholeBy<Lanes, Gregorian>;
  using Quickest = WholeBy<Lanes, std::conditional_t<Lanes::kHasCalendars, Julian, Gregorian>>;
  const size_t width = hn::Lanes(d);
  HWY_ALIGN double zeros[hn::MaxLanes(d)];
  hn::Store(hn::Zero(d), d, zeros);
  const Vectors<kOneValue> e(elements, zeros);
  // With leap seconds the arithmetic takes longer than memory does: non-temporal stores would gain nothing.
  const PastCaches pastCaches(elements.resultHigh, elements.resultLow,
                              leapSeconds ? 0 : elements.count);

  // The quickest domain is tried first, and again after a limited number of vectors in another one.
  // Elements that are not finite come singly or in runs: a domain with them gets only a few vectors in a row.
  //
  // The last vector ends with the last element, and may overlap the one before it.
  const size_t count = elements.count, last = count - width;
  for (size_t i = 0; i < count;) {
    const size_t from = HWY_MIN(i, last);
    const size_t few = HWY_MIN(last, from + 3 * width), some = HWY_MIN(last, from + 63 * width);
    const EitherPlace results{e.resultHigh, e.resultLow, pastCaches.areUsed() && from % width == 0};
    // Most arrays are stored through the caches: for these the loop is compiled without the choice.
    const Place place{e.resultHigh, e.resultLow};
    i = results.isPastCaches ? run<Lanes, Quickest>(e, from, last, results)
                             : run<Lanes, Quickest>(e, from, last, place);
    if (i == from) i = run<Lanes, AndNonFinite<Quickest>>(e, from, few, results);
    if (Lanes::kHasCalendars && i == from) i = run<Lanes, Whole>(e, from, some, results);
    if (i == from) i = run<Lanes, Pairs<Lanes>>(e, from, some, results);
    if (Lanes::kHasCalendars && i == from)
      i = run<Lanes, AndNonFinite<Whole>>(e, from, few, results);
    if (i == from) {
      const size_t refused =
          setMixed<Lanes>(component, leapSeconds, elements, i, e.time(i), e.value(i));
      if (refused < count) return refused;
      i += width;
    }
  }
  return count;
}

// For fewer elements than a vector has lanes: sets a copy of them, padded with datetime 0 and value 1,
// which every component accepts.
template <class Lanes>
size_t walkShort(Component component, bool leapSeconds, const Elements& e) {
  const size_t width = hn::Lanes(d);
  HWY_ALIGN double high[hn::MaxLanes(d)], low[hn::MaxLanes(d)], values[hn::MaxLanes(d)];
  HWY_ALIGN double resultHigh[hn::MaxLanes(d)], resultLow[hn::MaxLanes(d)];
  hn::Store(hn::Zero(d), d, high);
  hn::Store(hn::Zero(d), d, low);
  hn::Store(all(1.0), d, values);
  for (size_t i = 0; i < e.count; ++i) {
    high[i] = e.high[i];
    if (e.low) low[i] = e.low[i];
    values[i] = e.values[i * e.step];
  }
  const size_t set = walkVectors<Lanes, false>(
      component, leapSeconds, {high, low, values, 1, resultHigh, resultLow, width});
  const size_t done = set < e.count ? set : e.count;
  for (size_t i = 0; i < done; ++i) {
    e.resultHigh[i] = resultHigh[i];
    e.resultLow[i] = resultLow[i];
  }
  return done;
}

template <class Lanes>
size_t byLength(Component component, bool leapSeconds, const Elements& e) {
  if (e.count < hn::Lanes(d)) return walkShort<Lanes>(component, leapSeconds, e);
  return e.step == 0 ? walkVectors<Lanes, true>(component, leapSeconds, e)
                     : walkVectors<Lanes, false>(component, leapSeconds, e);
}

// On the leap-second scale, where registers cannot hold the table of buckets (kHasLeapRegisters), whole
// milliseconds are set block by block, in several passes over each. The look-ups are then scalar loads:
// gathers, two in one chain of dependencies with the calendar in between, take longer than all the rest.
// Between the passes the arrays of results hold the times in UTC.

Elements partOf(const Elements& e, size_t begin, size_t count) {
  return {e.high + begin,
          e.low ? e.low + begin : nullptr,
          e.values + begin * e.step,
          e.step,
          e.resultHigh + begin,
          e.resultLow + begin,
          count};
}

// Sets a block; false, and nothing set, where an element is not in the domain of whole milliseconds.
template <class Lanes>
bool tryWholeBlock(const Elements& e) {
  const size_t width = hn::Lanes(d);
  const auto valuesAt = [&](size_t i) HWY_ATTR {
    return e.step == 0 ? all(e.values[0]) : hn::LoadU(d, e.values + i);
  };
  HWY_ALIGN double numbers[kBlock];
  HWY_ALIGN double entries[kBlock];
  M isWhole = hn::Eq(hn::Zero(d), hn::Zero(d));
  for (size_t i = 0; i < kBlock; i += width) {
    const Pair t{hn::LoadU(d, e.high + i), e.low ? hn::LoadU(d, e.low + i) : hn::Zero(d)};
    isWhole = hn::And(isWhole, isWholeAndAccepted<Lanes>(t, valuesAt(i)));
    hn::Store(leapNumber(t.hi), d, numbers + i);
  }
  if (!hn::AllTrue(d, isWhole)) return false;
  lanes::lookUp(numbers, entries);
  for (size_t i = 0; i < kBlock; i += width) {
    const V t = hn::LoadU(d, e.high + i);
    const Leap leap = leapOfEntry(hn::Load(d, entries + i));
    const auto set = Lanes::template newOf<Gregorian>(valuesAt(i));
    const Pair utc = Lanes::template setUTC<Gregorian>(Lanes::toUTC(t, leap), set);
    hn::StoreU(utc.hi, d, e.resultHigh + i);
    hn::StoreU(utc.lo, d, e.resultLow + i);
    hn::Store(leapNumber(utc.hi), d, numbers + i);
  }
  lanes::lookUp(numbers, entries);
  for (size_t i = 0; i < kBlock; i += width) {
    const Pair utc{hn::LoadU(d, e.resultHigh + i), hn::LoadU(d, e.resultLow + i)};
    const Pair set = Lanes::fromUTC(utc, leapOfEntry(hn::Load(d, entries + i)));
    hn::StoreU(set.hi, d, e.resultHigh + i);
    hn::StoreU(set.lo, d, e.resultLow + i);
  }
  return true;
}

template <class Lanes>
size_t walkCounting(Component component, const Elements& e) {
  size_t begin = 0;
  for (; e.count - begin >= kBlock; begin += kBlock) {
    const Elements block = partOf(e, begin, kBlock);
    if (tryWholeBlock<Lanes>(block)) continue;
    const size_t done = byLength<Lanes>(component, true, block);
    if (done < kBlock) return begin + done;
  }
  return begin + byLength<Lanes>(component, true, partOf(e, begin, e.count - begin));
}

template <class Lanes>
size_t byTimeScale(Component component, bool leapSeconds, const Elements& e) {
  if (!leapSeconds) return byLength<Lanes>(component, false, e);
  using Counting = CountingLeapSeconds<Lanes>;
  if constexpr (kHasLeapRegisters) {
    return byLength<Counting>(component, true, e);
  } else {
    return walkCounting<Counting>(component, e);
  }
}

size_t byComponent(Component component, bool leapSeconds, const Elements& e) {
  switch (component) {
    case Component::year:
      return byTimeScale<OfDate<SetYear>>(component, leapSeconds, e);
    case Component::quarter:
      return byTimeScale<OfDate<SetQuarter>>(component, leapSeconds, e);
    case Component::month:
      return byTimeScale<OfDate<SetMonth>>(component, leapSeconds, e);
    case Component::weekOfYear:
      return byTimeScale<OfDate<SetWeekOfYear>>(component, leapSeconds, e);
    case Component::dayOfMonth:
      return byTimeScale<OfDate<SetDayOfMonth>>(component, leapSeconds, e);
    case Component::dayOfYear:
      return byTimeScale<OfDate<SetDayOfYear>>(component, leapSeconds, e);
    case Component::dayOfWeek:
      return byTimeScale<OfDate<SetDayOfWeek>>(component, leapSeconds, e);
    case Component::hour:
      return byTimeScale<OfClock<Hour>>(component, leapSeconds, e);
    case Component::minute:
      return byTimeScale<OfClock<Minute>>(component, leapSeconds, e);
    case Component::second:
      return byTimeScale<SecondsAfter<Minute>>(component, leapSeconds, e);
    case Component::timeOfDay:
      return byTimeScale<SecondsAfter<Day>>(component, leapSeconds, e);
    case Component::none:
      break;
  }
  return plainWalk(component, leapSeconds, e);
}

size_t walk(Component component, bool leapSeconds, const Elements& e) {
  const size_t done = byComponent(component, leapSeconds, e);
  leaveVectors();
  return done;
}

}  // namespace lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

template <>
std::size_t unzonedWalkBy<instruction_sets::PLX_INSTRUCTION_SET>(Component component,
                                                                 bool leapSeconds,
                                                                 const Elements& elements) {
  return lanes::HWY_NAMESPACE::walk(component, leapSeconds, elements);
}
