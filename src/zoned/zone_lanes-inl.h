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
HWY_INLINE bool seemsKnown(const OffsetLine& line, Stretches& known,
                           const double* HWY_RESTRICT times, size_t count) {
  const double first = times[0], last = times[count - 1];
  if (known.hold(first) && known.hold(last)) return true;
  if (!(first - last <= kCloseMillis && last - first <= kCloseMillis)) return false;
  moveTo(known, line, first < last ? first : last);
  return known.hold(first) && known.hold(last);
}

// Whole numbers below 2^52 in the last bits of words, and 2^52, as doubles.
HWY_INLINE V number(VI word, std::int64_t mask) {
  const VI exponent = hn::BitCast(di, all(0x1p52));
  return hn::BitCast(d, hn::OrAnd(exponent, word, hn::Set(di, mask)));
}

HWY_INLINE V offsetIn(VI word) {
  const V seconds = number(word, kGranuleOffsetMask) - all(0x1p52 + kGranuleOffsetBias);
  return seconds * all(kMillisPerSecond);
}

// What the granules say of times t.
struct Told {
  VI word;
  V start;   // of the granules, in milliseconds from that of the line
  V change;  // in seconds from the start of the granules
  M isAfter;
};

// A change after c whole seconds is over after x milliseconds where x/1000 >= c, and so where
// floor(x/1000) >= c, which floorTimes() gives.
HWY_INLINE Told tellAll(const GranuleLine& line, V t) {
  // Behind the table, where its first and its last granule begin.
  const V from = hn::Min(hn::Max(t - all(line.start), hn::Zero(d)), all(line.last));
  const V granule = floorTimes(from, kGranulesPerMilli);
  // 2^52 more, and the number stands in the last bits.
  const VI index = hn::And(hn::BitCast(di, granule + all(0x1p52)), hn::Set(di, kMostGranules - 1));
  const VI word = hn::GatherIndex(di, line.words, index);
  const V start = granule * all(kGranuleMillis);
  const V change = number(word, kGranuleChangeMask) - all(0x1p52 + kGranuleChangeBias);
  return {word, start, change, hn::Ge((from - start) * all(kSecondsPerMilli), change)};
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
  VI words = hn::Zero(di);
  for (size_t i = 0; i < count; i += lanes) {
    const V t = hn::LoadU(d, times + i);
    const Told told = tellAll(line.granules, t);
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
// Each says which new values it accepts, the wall time that it makes of another one, and what it
// sets below a millisecond, if it does.

// A component that `isNear` usually moves a datetime by less than a month.
template <class Component, bool isNear>
struct OfWhole {
  static constexpr double kBound =
      Component::kBound < kLargest32Bits ? Component::kBound : kLargest32Bits;
  static constexpr bool kTakesFractions = false;
  static HWY_INLINE V setWall(V wall, V v) {
    return Component::template setWhole<Gregorian>(wall, Component::template newOf<Gregorian>(v))
        .hi;
  }
  static HWY_INLINE V below(V) { return hn::Zero(d); }
  static constexpr bool kIsNear = isNear;
};

template <class Component>
struct OfSeconds {
  static constexpr double kBound = Component::kBound;
  static constexpr bool kTakesFractions = true;
  static HWY_INLINE V setWall(V wall, V v) {
    return SecondsAfter<typename Component::Unit>::template setWhole<Gregorian>(wall, hn::Trunc(v))
        .hi;
  }
  static HWY_INLINE V below(V v) { return (v - hn::Trunc(v)) * all(kMillisPerSecond); }
  static constexpr bool kIsNear = true;
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

// A block of the domain: the whole milliseconds of its datetimes, the values, and for datetimes
// with a fraction what is below. A multiple of the lanes long.
struct Block {
  const double* HWY_RESTRICT whole;
  const double* HWY_RESTRICT below;  // null: nothing
  const double* HWY_RESTRICT values;
  size_t count;
};

// The value of each element, or one for all.
template <bool kOneValue>
HWY_INLINE V valueOf(const Block& block, V oneValue, size_t i) {
  if constexpr (kOneValue) return oneValue;
  return hn::LoadU(d, block.values + i);
}

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

// A block in the midst of one long stretch, with wall times in the same one: then a single offset
// counts. False where the block does not look so, or was found not to be so; then what is written
// counts for nothing.
template <class Component, bool kOneValue>
HWY_INLINE bool setSteady(const Zone& zone, const Stretches& known, const Block& block, V oneValue,
                          const Place& at) {
  constexpr double kReach = Component::kIsNear ? kNearMillis : kFarMillis;
  const double first = block.whole[0], last = block.whole[block.count - 1];
  size_t k = 0;
  while (k < 2 && first >= known.edges[k + 1]) ++k;
  const double from = known.edges[k] + kReach, until = known.edges[k + 1] - kReach;
  if (!(from <= first && first < until && from <= last && last < until)) return false;

  const V offset = all(known.offsets[k]);
  const double* const walls = zone.walls.offsets.starts + known.index + k;
  V least = all(first), most = least, leastWall = all(walls[0]), mostWall = leastWall;
  for (size_t i = 0; i < block.count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, block.whole + i);
    const V v = valueOf<kOneValue>(block, oneValue, i);
    const V wall = Component::setWall(t + offset, v);
    least = hn::Min(least, t);
    most = hn::Max(most, t);
    leastWall = hn::Min(leastWall, wall);
    mostWall = hn::Max(mostWall, wall);
    store<Component>(block, i, v, wall - offset, at);
  }
  const M isSteady =
      hn::And(hn::Ge(least, all(known.edges[k])), hn::Lt(most, all(known.edges[k + 1])));
  const M areSteady = hn::And(hn::Ge(leastWall, all(walls[0])), hn::Lt(mostWall, all(walls[1])));
  return hn::AllTrue(d, hn::And(isSteady, areSteady));
}

// A block whose wall times stay near enough for the word of each instant to tell both offsets.
// False where not all do; then what is written counts for nothing.
template <class Component, bool kOneValue>
HWY_INLINE bool setNear(const GranuleLine& instants, const Block& block, V oneValue,
                        const Place& at) {
  VI words = hn::Zero(di);
  V furthest = hn::Zero(d);
  for (size_t i = 0; i < block.count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, block.whole + i);
    const V v = valueOf<kOneValue>(block, oneValue, i);
    const Told told = tellAll(instants, t);
    const V before = offsetIn(hn::ShiftRight<kGranuleBeforeBit>(told.word));
    const V after = offsetIn(hn::ShiftRight<kGranuleAfterBit>(told.word));
    const V wall = Component::setWall(t + hn::IfThenElse(told.isAfter, after, before), v);
    const V change = (told.start + all(instants.start)) + told.change * all(kMillisPerSecond);
    const V offset = hn::IfThenElse(hn::Ge(wall - after, change), after, before);
    words = hn::Or(words, told.word);
    furthest = hn::Max(furthest, hn::Abs(wall - t));
    store<Component>(block, i, v, wall - offset, at);
  }
  const VI bad = hn::And(words, hn::Set(di, kGranuleUntold | kGranuleCrowded));
  const M isNear = hn::Le(furthest, all(kNearMillis));
  return hn::AllTrue(di, hn::Eq(bad, hn::Zero(di))) && hn::AllTrue(d, isNear);
}

template <class Component, bool kOneValue>
HWY_INLINE void setBlock(const Zone& zone, Stretches& instants, Stretches& walls,
                         const Block& block, V oneValue, const Place& at) {
  const bool isSeries = seemsKnown(zone.instants.offsets, instants, block.whole, block.count);
  if (isSeries && setSteady<Component, kOneValue>(zone, instants, block, oneValue, at)) return;
  if constexpr (Component::kIsNear) {
    if (!isSeries && setNear<Component, kOneValue>(zone.instants.granules, block, oneValue, at)) {
      return;
    }
  }
  HWY_ALIGN double wall[kBlock];
  withOffsets(zone.instants, instants, isSeries, block.whole, block.count,
              [&](size_t i, V t, V offset) {
                const V v = valueOf<kOneValue>(block, oneValue, i);
                hn::Store(Component::setWall(t + offset, v), d, wall + i);
              });
  const bool areSeries = seemsKnown(zone.walls.offsets, walls, wall, block.count);
  withOffsets(zone.walls, walls, areSeries, wall, block.count, [&](size_t i, V t, V offset) {
    const V v = valueOf<kOneValue>(block, oneValue, i);
    store<Component>(block, i, v, t - offset, at);
  });
}

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
