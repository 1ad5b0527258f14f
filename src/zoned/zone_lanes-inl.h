// Setting one component of several datetimes in a time zone at once: the closed form of
// table_walk.h with one datetime in each lane of a vector, and the arithmetic of the unzoned lanes
// between its two look-ups of an offset.
//
// The domain: normalised pairs up to 2^49 milliseconds with any fraction, and values that a
// component accepts. A time of day is off from UTC by less than a day, and the unzoned arithmetic
// for whole milliseconds has room for 85 days beyond 2^49: every quantity is a whole number below
// 2^53, all sums, differences and products are exact, and no result lies outside +-2^52. None is
// -0: no offset is, and so no sum with one is.
//
// Included once for each instruction set, like the unzoned lanes and under the same rules.

#if defined(PLX_ZONE_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PLX_ZONE_LANES_INL_H
#undef PLX_ZONE_LANES_INL_H
#else
#define PLX_ZONE_LANES_INL_H
#endif

#include <hwy/highway.h>

#include "unzoned/lanes-inl.h"
#include "zoned/zone_lookup.h"

HWY_BEFORE_NAMESPACE();
namespace zone_lanes::HWY_NAMESPACE {

using namespace lanes::HWY_NAMESPACE;
namespace hn = hwy::HWY_NAMESPACE;

using DI = hn::RebindToSigned<D>;
using VI = hn::Vec<DI>;
constexpr DI di;

// ---- The domain ----

HWY_INLINE M isInDomain(Pair t) {
  return hn::And(isAtMost(t.hi, lanes::kWholeBound), hn::Eq(t.hi + t.lo, t.hi));
}

// ---- The offset along a line of time ----

// Remembered stretches, for all lanes.
struct Known {
  V edge0, edge1, edge2, edge3, offset0, offset1, offset2;
};

HWY_INLINE Known knownOf(const Stretches& s) {
  return {all(s.edges[0]),   all(s.edges[1]),   all(s.edges[2]),  all(s.edges[3]),
          all(s.offsets[0]), all(s.offsets[1]), all(s.offsets[2])};
}

HWY_INLINE V offsetOf(const Known& known, V t) {
  const V later = hn::IfThenElse(hn::Lt(t, known.edge2), known.offset1, known.offset2);
  return hn::IfThenElse(hn::Lt(t, known.edge1), known.offset0, later);
}

// Moves the stretches to a block of times that looks like the next one of a series.
HWY_INLINE bool seemsKnown(const OffsetLine& line, Stretches& known, double least, double most) {
  if (known.hold(least) && known.hold(most)) return true;
  if (!(most - least <= kCloseMillis)) return false;
  moveTo(known, line, least);
  return known.hold(least) && known.hold(most);
}

// A whole number below 2^52 in the last bits of words.
struct Number {
  V above;  // with 2^52 above it, as a double
};
HWY_INLINE Number number(VI word, std::int64_t mask) {
  const VI exponent = hn::BitCast(di, all(0x1p52));
  return {hn::BitCast(d, hn::OrAnd(exponent, word, hn::Set(di, mask)))};
}

// (x - bias) seconds in milliseconds. Fused, it is one step: its only rounding is none, as long as
// the product of the bias, a multiple of 2^17, and 2^52 fits in a double.
HWY_INLINE V millis(Number x, double bias) {
  const double zero = 0x1p52 + bias;
#if HWY_NATIVE_FMA
  return hn::MulSub(x.above, all(kMillisPerSecond), all(zero * kMillisPerSecond));
#else
  return (x.above - all(zero)) * all(kMillisPerSecond);
#endif
}

HWY_INLINE V offsetIn(VI word) {
  return millis(number(word, kGranuleOffsetMask), kGranuleOffsetBias);
}

// What the granules say of times t.
struct Told {
  VI word;
  V change;  // in milliseconds
  M isAfter;
};

// The granules of a line, for all lanes.
struct Granular {
  const std::int64_t* HWY_RESTRICT words;
  V from, until;  // where the first and the last granule begin
  V offset;       // of the quotient that is an index
};
HWY_INLINE Granular granularOf(const GranuleLine& line) {
  const double from = line.first * kGranuleMillis;
  return {line.words, all(from), all(from + line.last * kGranuleMillis),
          all(lanes::halfGap(kGranuleMillis) - line.first)};
}

// Behind the table its first and its last granule stand for all others; whether a time is after
// their change says nothing there, but they have none, or do not tell.
HWY_INLINE Told tellAll(const Granular& line, V t) {
  const V within = hn::Min(hn::Max(t, line.from), line.until);
  const V index = hn::Floor(hn::MulAdd(within, all(1.0 / kGranuleMillis), line.offset));
  // 2^52 more, and the number stands in the last bits.
  const VI bits = hn::And(hn::BitCast(di, index + all(0x1p52)), hn::Set(di, kMostGranules - 1));
  const VI word = hn::GatherIndex(di, line.words, bits);
  const V start = hn::MulAdd(index, all(kGranuleMillis), line.from);
  const V change = start + millis(number(word, kGranuleChangeMask), kGranuleChangeBias);
  return {word, change, hn::Ge(t, change)};
}

HWY_INLINE VI select(M isAfter, VI after, VI before) {
  return hn::IfThenElse(hn::RebindMask(di, isAfter), after, before);
}

HWY_INLINE V offsetOf(const Told& told) {
  return offsetIn(select(told.isAfter, hn::ShiftRight<kGranuleAfterBit>(told.word),
                         hn::ShiftRight<kGranuleBeforeBit>(told.word)));
}

// Calls use(i, t, offset) for the vector of times at each i below `count`, a multiple of the lanes.
//
// Whether all of a block lies within the remembered stretches is known only when all of it has been
// looked at: so all is used, and once more with what the granules say where the guess was wrong,
// and by search where one of them does not tell.
template <class Use>
HWY_INLINE void withOffsets(const ZoneLine& line, const Stretches& known, bool isGuess,
                            const double* HWY_RESTRICT times, size_t count, const Use& use) {
  const size_t lanes = hn::Lanes(d);
  if (isGuess) {
    const Known stretches = knownOf(known);
    V least = hn::LoadU(d, times), most = least;
    for (size_t i = 0; i < count; i += lanes) {
      const V t = hn::LoadU(d, times + i);
      least = hn::Min(least, t);
      most = hn::Max(most, t);
      use(i, t, offsetOf(stretches, t));
    }
    const M isKnown = hn::And(hn::Ge(least, stretches.edge0), hn::Lt(most, stretches.edge3));
    if (HWY_LIKELY(hn::AllTrue(d, isKnown))) return;
  }
  const Granular granules = granularOf(line.granules);
  VI words = hn::Zero(di);
  for (size_t i = 0; i < count; i += lanes) {
    const V t = hn::LoadU(d, times + i);
    const Told told = tellAll(granules, t);
    words = hn::Or(words, told.word);
    use(i, t, offsetOf(told));
  }
  if (HWY_LIKELY(hn::AllFalse(di, hn::Lt(words, hn::Zero(di))))) return;
  for (size_t i = 0; i < count; i += lanes) {
    HWY_ALIGN double offset[hn::MaxLanes(d)];
    for (size_t lane = 0; lane < lanes; ++lane) {
      offset[lane] = offsetAt(line.offsets, times[i + lane]);
    }
    use(i, hn::LoadU(d, times + i), hn::Load(d, offset));
  }
}

// ---- Components ----
//
// Each says which new values it accepts, the wall time that it makes of another one, by either
// calendar, and what it sets below a millisecond, if it does.

template <class Component, Reach kTo>
struct OfWhole {
  static constexpr double kBound =
      Component::kBound < kLargest32Bits ? Component::kBound : kLargest32Bits;
  static constexpr bool kTakesFractions = false;
  static constexpr Reach kReach = kTo;

  using New = typename Component::New;
  template <class Calendar>
  static HWY_INLINE New newOf(V v) {
    return Component::template newOf<Calendar>(v);
  }
  template <class Calendar>
  static HWY_INLINE V setWall(V wall, New set) {
    return Component::template setWhole<Calendar>(wall, set).hi;
  }
  static HWY_INLINE V below(V) { return hn::Zero(d); }

  // Whether a value belongs to the Julian calendar's domain.
  static HWY_INLINE M isNear(V v) {
    if constexpr (Component::kHasCalendars) {
      return isAtMost(v - all(Component::kJulianValue), Component::kJulianBound);
    } else {
      return isAtMost(v, kBound);
    }
  }
};

template <class Component>
struct OfSeconds {
  static constexpr double kBound = Component::kBound;
  static constexpr bool kTakesFractions = true;
  static constexpr Reach kReach = Reach::week;

  using New = V;
  template <class>
  static HWY_INLINE New newOf(V v) {
    return hn::Trunc(v);
  }
  template <class Calendar>
  static HWY_INLINE V setWall(V wall, New set) {
    return SecondsAfter<typename Component::Unit>::template setWhole<Calendar>(wall, set).hi;
  }
  static HWY_INLINE V below(V v) { return (v - hn::Trunc(v)) * all(kMillisPerSecond); }
  static HWY_INLINE M isNear(V v) { return isAtMost(v, kBound); }
};

struct Second {
  using Unit = lanes::Minute;
  static constexpr double kBound = kLargest32Bits;
};
struct TimeOfDay {
  using Unit = lanes::Day;
  static constexpr double kBound = kLargestSeconds;
};

// The week belongs to the year of its Saturday.
struct SetWeekOfYearOfSaturday : FromJanuary, NearZero, TakesValue {
  static constexpr double kBound = lanes::kWeekBound;
  static constexpr double kJulianBound = kBound;
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, V v) {
    const V week = sundays(n);
    const V january = Calendar::firstOfJanuary(week * all(7.0));  // day 0 was a Saturday
    return (v - (week - sundays(january) + all(1.0))) * all(7.0);
  }
};

// Stays within the week, days below 1 included.
struct SetDayWithinWeek : FromJanuary, NearZero {
  static constexpr double kBound = kWeekdayBound;
  static constexpr double kJulianBound = kBound;
  using New = V;  // days after Sunday
  template <class Calendar>
  static HWY_INLINE V newOf(V v) {
    const V from = v + all(kWeekdayStart - 1.0);
    return hn::NegMulAdd(floorTimes(from, lanes::kWeeksPerDay), all(7.0), from);
  }
  template <class Calendar>
  static HWY_INLINE V daysMoved(V n, V set) {
    return SetDayOfWeek::daysMoved<Calendar>(n, set);
  }
};

// ---- Blocks ----

// So many elements are looked up at once, one step after the other: what one vector waits for in a
// step, others fill.
constexpr size_t kBlock = 48;

// So many where one offset serves all.
constexpr size_t kSteadyBlock = 16 * kBlock;

// A block of datetimes with their new values, a multiple of the lanes long.
struct Block {
  const double* HWY_RESTRICT whole;  // milliseconds
  const double* HWY_RESTRICT low;    // what is to be zero beside them; null: nothing
  const double* HWY_RESTRICT below;  // what to add below a millisecond; null: nothing
  const double* HWY_RESTRICT values;
  size_t count;
};

// The new values: those of a block, or one for all, and what depends on it alone.
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

// Where the result of a block is written to.
struct Place {
  double* HWY_RESTRICT high;
  double* HWY_RESTRICT low;
};

template <class Component>
HWY_INLINE void store(const Block& block, size_t i, V v, V millis, const Place& at) {
  Pair set{millis, hn::Zero(d)};
  if (Component::kTakesFractions) {
    set = twoSum(Component::below(v), millis);
  } else if (block.below) {
    set = twoSum(hn::LoadU(d, block.below + i), millis);
  }
  hn::StoreU(set.hi, d, at.high + i);
  hn::StoreU(set.lo, d, at.low + i);
}

// Sets a block of a series in one pass over it, as if it were as guessed: datetimes and wall times
// each in remembered stretches, or the stretch k of the datetimes and the wall times of that one;
// whole; and within the Julian calendar's domain, from which an offset of less than a day does not
// lead away. False where it was not so; then what is written counts for nothing.
template <class Component, bool kOneValue, bool kIsSteady>
HWY_NOINLINE bool setGuessed(const Zone& zone, const Stretches& instants, const Stretches& walls,
                             size_t k, const Block& block, V oneValue, const Place& at) {
  const Values<Component, lanes::HWY_NAMESPACE::Julian, kOneValue> values(block, oneValue);
  const double* const edges = instants.edges + (kIsSteady ? k : 0);
  const double* const ends = zone.walls.offsets.starts + instants.index + k;
  constexpr size_t kStretches = kIsSteady ? 1 : 3;
  const V from = all(HWY_MAX(edges[0], lanes::kJulianMiddle - lanes::kJulianReach));
  const V until = all(HWY_MIN(edges[kStretches], lanes::kJulianMiddle + lanes::kJulianReach));
  const V wallFrom = all(kIsSteady ? ends[0] : walls.edges[0]);
  const V wallUntil = all(kIsSteady ? ends[1] : walls.edges[3]);
  const V steady = all(instants.offsets[k]);
  const Known knownInstants = knownOf(instants), knownWalls = knownOf(walls);
  const double* const high = block.whole;
  const double* const low = block.low;
  V bits = hn::Zero(d);
  M isRight = hn::Eq(bits, bits);
  for (size_t i = 0; i < block.count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, high + i);
    const V v = values.at(i);
    bits = hn::Or(bits, fractionBits(t));
    if (low) bits = hn::Or(bits, hn::LoadU(d, low + i));
    if constexpr (!Component::kTakesFractions) bits = hn::Or(bits, fractionBits(v));
    isRight = hn::And(isRight, hn::And(hn::Ge(t, from), hn::Lt(t, until)));
    isRight = hn::And(isRight, Component::isNear(v));
    const V wall = values.setWall(t + (kIsSteady ? steady : offsetOf(knownInstants, t)), i);
    isRight = hn::And(isRight, hn::And(hn::Ge(wall, wallFrom), hn::Lt(wall, wallUntil)));
    const V offset = kIsSteady ? steady : offsetOf(knownWalls, wall);
    store<Component>(block, i, v, wall - offset, at);
  }
  return hn::AllTrue(d, hn::And(isRight, isZeroBits(bits)));
}

// A block in the midst of one long stretch, where wall times are in the same one, by the looks of
// its first datetime and its last one.
template <class Component, bool kOneValue>
HWY_INLINE bool setSteady(const Zone& zone, const Stretches& instants, const Block& block,
                          V oneValue, const Place& at) {
  const double first = block.whole[0], last = block.whole[block.count - 1];
  const double least = HWY_MIN(first, last), most = HWY_MAX(first, last);
  constexpr double kReach = kReachMillis[static_cast<int>(Component::kReach)];
  for (size_t k = 0; k < 3; ++k) {
    if (instants.edges[k] + kReach <= least && most < instants.edges[k + 1] - kReach) {
      return setGuessed<Component, kOneValue, true>(zone, instants, {}, k, block, oneValue, at);
    }
  }
  return false;
}

// A block of a series in steady times, or, with a component that can move a datetime anywhere, in
// remembered stretches. Where such wall times lie is known from the block before at best.
template <class Component, bool kOneValue>
HWY_INLINE bool setSeries(const Zone& zone, Stretches& instants, const Stretches& walls,
                          const Block& block, V oneValue, const Place& at) {
  const double first = block.whole[0], last = block.whole[block.count - 1];
  if (!seemsKnown(zone.instants.offsets, instants, HWY_MIN(first, last), HWY_MAX(first, last))) {
    return false;
  }
  if (setSteady<Component, kOneValue>(zone, instants, block, oneValue, at)) return true;
  if (Component::kReach != Reach::any) return false;
  return setGuessed<Component, kOneValue, false>(zone, instants, walls, 0, block, oneValue, at);
}

// A block whose wall times stay near enough for the word of each instant to tell both offsets.
// False where not all do; then what is written counts for nothing.
template <class Component, class Calendar, bool kOneValue>
HWY_NOINLINE bool setNear(const GranuleLine& instants, const Block& block, V oneValue,
                          const Place& at) {
  const Values<Component, Calendar, kOneValue> values(block, oneValue);
  const Granular granules = granularOf(instants);
  VI words = hn::Zero(di);
  V furthest = hn::Zero(d);
  for (size_t i = 0; i < block.count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, block.whole + i);
    const Told told = tellAll(granules, t);
    const V before = offsetIn(hn::ShiftRight<kGranuleBeforeBit>(told.word));
    const V after = offsetIn(hn::ShiftRight<kGranuleAfterBit>(told.word));
    const V wall = values.setWall(t + hn::IfThenElse(told.isAfter, after, before), i);
    const V offset = hn::IfThenElse(hn::Ge(wall - after, told.change), after, before);
    words = hn::Or(words, told.word);
    furthest = hn::Max(furthest, hn::Abs(wall - t));
    store<Component>(block, i, values.at(i), wall - offset, at);
  }
  const VI bad = hn::And(words, hn::Set(di, kGranuleUntold | kGranuleCrowded));
  const M isNear = hn::Le(furthest, all(kNearMillis));
  return hn::AllTrue(di, hn::Eq(bad, hn::Zero(di))) && hn::AllTrue(d, isNear);
}

// A block of the domain, or of the part of it where every fourth year is a leap year.
template <class Component, class Calendar, bool kOneValue>
HWY_NOINLINE void setBlock(const Zone& zone, Stretches& instants, Stretches& walls,
                           const Block& block, V oneValue, const Place& at) {
  const double first = block.whole[0], last = block.whole[block.count - 1];
  const bool isSeries =
      seemsKnown(zone.instants.offsets, instants, HWY_MIN(first, last), HWY_MAX(first, last));
  if constexpr (Component::kReach != Reach::any) {
    if (!isSeries &&
        setNear<Component, Calendar, kOneValue>(zone.instants.granules, block, oneValue, at)) {
      return;
    }
  }
  const Values<Component, Calendar, kOneValue> values(block, oneValue);
  HWY_ALIGN double wall[kBlock];
  V least = all(HUGE_VAL), most = all(-HUGE_VAL);
  withOffsets(zone.instants, instants, isSeries, block.whole, block.count,
              [&](size_t i, V t, V offset) HWY_ATTR {
                const V moved = values.setWall(t + offset, i);
                least = hn::Min(least, moved);
                most = hn::Max(most, moved);
                hn::Store(moved, d, wall + i);
              });
  // Wall times of a series are as much of one as the datetimes, unless a component moves them
  // anywhere: then the outermost ones count, if the first and the last look promising.
  double from = HWY_MIN(wall[0], wall[block.count - 1]);
  double until = HWY_MAX(wall[0], wall[block.count - 1]);
  if (Component::kReach == Reach::any && until - from <= kCloseMillis) {
    from = hn::GetLane(hn::MinOfLanes(d, least));
    until = hn::GetLane(hn::MaxOfLanes(d, most));
  }
  const bool areSeries = seemsKnown(zone.walls.offsets, walls, from, until);
  withOffsets(zone.walls, walls, areSeries, wall, block.count,
              [&](size_t i, V t, V offset)
                  HWY_ATTR { store<Component>(block, i, values.at(i), t - offset, at); });
}

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
