// Setting one component of several datetimes in a time zone at once: the closed form of
// table_walk.h with one datetime in each lane of a vector, and the arithmetic of the unzoned lanes
// between its two look-ups of an offset.
//
// The domain: normalised pairs up to 2^49 milliseconds with any fraction, and values that a
// component accepts. A wall time is off from its instant by less than a day, for which the unzoned
// arithmetic of whole milliseconds has room beyond 2^49 (kWholeRoom): every quantity is a whole number
// below 2^53, all sums, differences and products are exact, and no result lies outside +-2^52. None
// is -0: no offset is, and so no sum with one is.
//
// Compiled once for each instruction set, like the unzoned lanes and under the same rules.

#pragma once

#include <type_traits>

#include "unzoned/lanes-inl.h"
#include "zoned/zone_lookup.h"

HWY_BEFORE_NAMESPACE();
namespace zone_lanes::HWY_NAMESPACE {

using namespace lanes::HWY_NAMESPACE;
namespace hn = hwy::HWY_NAMESPACE;

using DU = hn::RebindToUnsigned<D>;
using VU = hn::Vec<DU>;
constexpr DU du;

// ---- The domain ----

HWY_INLINE M isInDomain(Pair t) {
  return hn::And(isAtMost(t.hi, lanes::kWholeBound), hn::Eq(t.hi + t.lo, t.hi));
}

// The largest magnitude in each lane of what was noted. As numbers without a sign the bits of
// doubles have the order of magnitudes, and NaN is the largest of all: the largest double would
// forget it.
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

// Whether all whole numbers x that were noted are at least `from` and below `until`, both finite: then
// (from - 1) - x is below zero and not below from - until. As signed integers the bits of such doubles
// grow with the magnitude, those of zero and of numbers above it are larger still, and those of NaN are
// larger than those of any number of its sign. Whether x is whole is to be asked beside.
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

// ---- The offset along a line of time ----

// Remembered stretches, for all lanes.
struct Known {
  V edge0, edge1, edge2, edge3, offset0, offset1, offset2;
};

// Of a line, or of two that begin so much earlier on the side of the edges or the offsets.
HWY_INLINE Known knownOf(const double* edges, const double* offsets, double edgesStart = 0.0,
                         double offsetsStart = 0.0) {
  const auto edge = [&](int i) HWY_ATTR { return all(edges[i] + edgesStart); };
  const auto offset = [&](int i) HWY_ATTR { return all(offsets[i] + offsetsStart); };
  return {edge(0), edge(1), edge(2), edge(3), offset(0), offset(1), offset(2)};
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

// A field of words, (x - bias) seconds, in milliseconds. Its bits are put into those of a double that
// is so large that the field counts ones. Fused, the rest is one step, whose only rounding is none: in
// milliseconds the power of two and the bias, a multiple of 2^13, are a double together.
template <int kShift>
HWY_INLINE V millis(VU word, std::uint64_t mask, double bias) {
  constexpr double kPower = static_cast<double>(1ULL << (52 - kShift));
  const VU exponent = hn::BitCast(du, all(kPower));
  const V above = hn::BitCast(d, hn::OrAnd(exponent, word, hn::Set(du, mask << kShift)));
  const double zero = kPower + bias;
#if HWY_NATIVE_FMA
  return hn::MulSub(above, all(kMillisPerSecond), all(zero * kMillisPerSecond));
#else
  return (above - all(zero)) * all(kMillisPerSecond);
#endif
}

// Offsets to a line that begins `start` milliseconds earlier, whole days.
HWY_INLINE V offsetBefore(VU word, double start) {
  return millis<kGranuleBeforeBit>(word, kGranuleOffsetMask,
                                   kGranuleOffsetBias - start / kMillisPerSecond);
}
HWY_INLINE V offsetAfter(VU word, double start) {
  return millis<0>(hn::ShiftRight<kGranuleAfterBit>(word), kGranuleOffsetMask,
                   kGranuleOffsetBias - start / kMillisPerSecond);
}

// The granules of a line, for all lanes.
struct Granular {
  V from, until;  // where the first and the last granule begin
  V offset;       // of the quotient that is an index
};
HWY_INLINE Granular granularOf(const GranuleLine& line) {
  const double from = line.first * kGranuleMillis;
  return {all(from), all(from + line.last * kGranuleMillis),
          all(lanes::halfGap(kGranuleMillis) - line.first)};
}

// So many elements are looked up at once, one step after the other: what one vector waits for in a
// step, others fill.
constexpr size_t kBlock = 48;
static_assert(hn::MaxLanes(d) <= kBlock / 2);  // half a block is something

// The granules of the times of a block: where they begin, and their numbers, later their words.
struct Lookups {
  HWY_ALIGN double starts[kBlock];
  HWY_ALIGN std::uint64_t words[kBlock];
};

// Beyond the table its first and its last granule stand for all others: if they tell of a change, it
// is a time like any other.
HWY_INLINE void locate(const Granular& line, V t, size_t i, Lookups& lookups) {
  const V within = hn::Min(hn::Max(t, line.from), line.until);
  const V index = hn::Floor(hn::MulAdd(within, all(1.0 / kGranuleMillis), line.offset));
  hn::Store(hn::MulAdd(index, all(kGranuleMillis), line.from), d, lookups.starts + i);
  // 2^52 more, and the number stands in the last bits.
  const VU bits = hn::BitCast(du, index + all(0x1p52));
  hn::Store(hn::And(bits, hn::Set(du, kMostGranules - 1)), du, lookups.words + i);
}

// What the granules say of times t.
struct Told {
  VU word;
  V change;  // in milliseconds
  M isAfter;
};

HWY_INLINE Told tell(const Lookups& lookups, V t, size_t i) {
  const VU word = hn::Load(du, lookups.words + i);
  const V change =
      hn::Load(d, lookups.starts + i) + millis<0>(word, kGranuleChangeMask, kGranuleChangeBias);
  return {word, change, hn::Ge(t, change)};
}

HWY_INLINE V offsetOf(const Told& told) {
  return hn::IfThenElse(told.isAfter, offsetAfter(told.word, 0.0), offsetBefore(told.word, 0.0));
}

HWY_INLINE bool haveNone(VU words, std::uint64_t flags) {
  return hn::AllTrue(du, hn::Eq(hn::And(words, hn::Set(du, flags)), hn::Zero(du)));
}

// Both ways call use(i, t, offset) for the vector of times at each i below `count`, a multiple of
// the lanes.
//
// Whether all of a block lies within the remembered stretches is known only when all of it has been
// looked at: so all is used, and false says that the guess was wrong.
template <class Use>
HWY_INLINE bool useStretches(const Stretches& known, const double* HWY_RESTRICT times, size_t count,
                             const Use& use) {
  const Known stretches = knownOf(known.edges, known.offsets);
  V least = hn::LoadU(d, times), most = least;
  for (size_t i = 0; i < count; i += hn::Lanes(d)) {
    const V t = hn::LoadU(d, times + i);
    least = hn::Min(least, t);
    most = hn::Max(most, t);
    use(i, t, offsetOf(stretches, t));
  }
  return hn::AllTrue(d, hn::And(hn::Ge(least, stretches.edge0), hn::Lt(most, stretches.edge3)));
}

// By the granules, looked up here where they are not given, and by search where one of them does not
// tell.
template <class Use>
HWY_INLINE void useGranules(const ZoneLine& line, const Lookups* lookups,
                            const double* HWY_RESTRICT times, size_t count, const Use& use) {
  const size_t lanes = hn::Lanes(d);
  Lookups own;
  if (!lookups) {
    const Granular granules = granularOf(line.granules);
    for (size_t i = 0; i < count; i += lanes) locate(granules, hn::LoadU(d, times + i), i, own);
    lookUp(line.granules, own.words, count);
    lookups = &own;
  }
  VU words = hn::Zero(du);
  for (size_t i = 0; i < count; i += lanes) {
    const V t = hn::LoadU(d, times + i);
    const Told told = tell(*lookups, t, i);
    words = hn::Or(words, told.word);
    use(i, t, offsetOf(told));
  }
  if (HWY_LIKELY(haveNone(words, kGranuleUntold))) return;
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
// Each says which new values it accepts and which of these are near, the wall time that it makes of
// another one, by either calendar, and what it sets below a millisecond, if it does. Its wall times
// count from `kStart` milliseconds before 1970, which are added and taken away with the offsets.

// What all but second and time of day have in common.
template <class Component, class Near>
struct OfWhole {
  static constexpr double kBound =
      Component::kBound < kLargest32Bits ? Component::kBound : kLargest32Bits;
  static constexpr bool kTakesFractions = false;
  static constexpr Reach kReach = Near::kReach;

  static HWY_INLINE V fromMiddle(V v) { return v - all(Near::kMiddle); }
  static constexpr double kNearest = Near::kMost;
};

// Dates can be moved anywhere, by values for which the Julian calendar serves.
template <class Date>
struct NearJulian {
  static constexpr Reach kReach = Reach::any;
  static constexpr double kMiddle = Date::kJulianValue, kMost = Date::kJulianBound;
};

template <class Date, class Near = NearJulian<Date>>
struct SetDate : OfWhole<Date, Near> {
  static constexpr double kStart = 0.0;
  using New = typename Date::New;
  template <class Calendar>
  static HWY_INLINE New newOf(V v) {
    return Date::template newOf<Calendar>(v);
  }
  template <class Calendar>
  static HWY_INLINE V setWall(V wall, New set) {
    return OfDate<Date>::template setWhole<Calendar>(wall, set).hi;
  }
};

template <class Unit, class Near>
struct SetClock : OfWhole<Unit, Near> {
  static constexpr double kStart = lanes::kClockStart;
  using New = V;
  template <class>
  static HWY_INLINE V newOf(V v) {
    return v;
  }
  template <class>
  static HWY_INLINE V setWall(V wall, V v) {
    return OfClock<Unit>::setFromStart(wall, v);
  }
};

// Seconds after a unit begins; their fraction replaces what is below a millisecond.
template <class Component>
struct SetSeconds {
  using Unit = typename Component::Unit;
  static constexpr double kBound = Component::kBound;
  static constexpr double kStart = lanes::kClockStart;
  static constexpr bool kTakesFractions = true;
  static constexpr Reach kReach = NearSecond::kReach;

  using New = V;  // milliseconds
  template <class>
  static HWY_INLINE V newOf(V v) {
    return hn::Trunc(v) * all(kMillisPerSecond);
  }
  template <class>
  static HWY_INLINE V setWall(V wall, V millis) {
    return hn::MulAdd(floorTimes(wall, Unit::kPerMilli), all(Unit::kMillis), millis);
  }
  static HWY_INLINE V below(V v) { return (v - hn::Trunc(v)) * all(kMillisPerSecond); }
  static HWY_INLINE V fromMiddle(V v) { return v; }
  static constexpr double kNearest = NearSecond::kMost;
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

// How far a component leads along the clock; whether that may be anywhere.
template <class Component>
constexpr double kReachOf = kReachMillis[static_cast<int>(Component::kReach)];
template <class Component>
constexpr bool kIsFar = Component::kReach == Reach::any;
// So far from the edges of a row of stretches a series is to be, for its wall times to be in the same
// ones. Each far wall time is held against the edges of its own.
template <class Component>
constexpr double kInnerMargin = kIsFar<Component> ? 0.0 : kReachOf<Component>;

// ---- Blocks ----

// So many where one offset serves all.
constexpr size_t kSteadyBlock = 16 * kBlock;

HWY_INLINE size_t wholeLanes(size_t count) { return count - count % hn::Lanes(d); }

// A block of datetimes with their new values, a multiple of the lanes long.
struct Block {
  const double* HWY_RESTRICT whole;  // milliseconds
  const double* HWY_RESTRICT low;    // what is to be zero beside them; null: nothing
  const double* HWY_RESTRICT below;  // what to add below a millisecond; null: nothing
  const double* HWY_RESTRICT values;
  size_t count;
};

// `count` of a block from one on.
template <bool kOneValue>
HWY_INLINE Block partOf(const Block& block, size_t from, size_t count) {
  return {block.whole + from, block.low ? block.low + from : nullptr,
          block.below ? block.below + from : nullptr,
          kOneValue ? block.values : block.values + from, count};
}

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

// Whole milliseconds are a multiple of the last place of what is below one. So the short sum of both
// is exact, whichever is larger.
template <class Component, class Results>
HWY_INLINE void store(const Block& block, size_t i, V v, V millis, const Results& at) {
  Pair set{millis, hn::Zero(d)};
  if constexpr (Component::kTakesFractions) {
    set = quickTwoSum(millis, Component::below(v));
  } else if (block.below) {
    set = quickTwoSum(millis, hn::LoadU(d, block.below + i));
  }
  at.store(set, i);
}

// Sets a block of a series in one pass over it, as if it were as guessed: datetimes in the remembered
// stretches, or in the stretch k of them; wall times in the same ones, where new values do not lead
// further away, else in stretches of their own; whole; and within the Julian calendar's domain, from
// which an offset of less than a day does not lead away. False where it was not so; then what is
// written counts for nothing.
template <class Component, bool kOneValue, bool kIsSteady, class Results>
HWY_INLINE bool setGuessed(const Zone& zone, const Stretches& instants, const Stretches& walls,
                           size_t k, const Block& block, V oneValue, const Results& at) {
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
  // Not asked where new values are near.
  Within wallsWithin(HWY_MAX(ends[0], -lanes::kWholeBound),
                     HWY_MIN(ends[kStretches], lanes::kWholeBound));
  const V steady = all(instants.offsets[k] + Component::kStart);
  const Known knownInstants = knownOf(instants.edges, instants.offsets, 0.0, Component::kStart);
  const Known knownWalls = knownOf(ends, kIsFar<Component> ? walls.offsets : instants.offsets,
                                   Component::kStart, Component::kStart);
  const Block own = block;  // in registers
  const Results results = at;
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

// A block in the midst of one long stretch, where wall times are in the same one, by the looks of
// its first datetime and its last one.
template <class Component, bool kOneValue, class Results>
HWY_INLINE bool setSteady(const Zone& zone, const Stretches& instants, const Block& block,
                          V oneValue, const Results& at) {
  const double first = block.whole[0], last = block.whole[block.count - 1];
  const double least = HWY_MIN(first, last), most = HWY_MAX(first, last);
  constexpr double kReach = kReachOf<Component>;
  for (size_t k = 0; k < 3; ++k) {
    if (instants.edges[k] + kReach <= least && most < instants.edges[k + 1] - kReach) {
      return setGuessed<Component, kOneValue, true>(zone, instants, {}, k, block, oneValue, at);
    }
  }
  return false;
}

// What the blocks before have taught. Steady times are tried where a series is.
struct Learned {
  Stretches instants, walls;
  Attempts steady, plainSeries, mixedSeries;
};

// Sets the blocks of a series up to the first that is not of one, and returns how many elements those
// are; what is written behind them counts for nothing. A block is in steady times or in remembered
// stretches, or only half as many elements of it are. Where far wall times lie is known from other
// blocks at best.
//
// One loop over all blocks and no call but to move the stretches: a call for each block costs a tenth.
template <class Component, bool kOneValue, class Results>
HWY_NOINLINE size_t setSeries(const Zone& zone, Learned& learned, const Block& series, V oneValue,
                              const Results& at) {
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
    const Results place{at.high + done, at.low + done};
    size_t count = HWY_MIN(longest, series.count - done);
    if (count > usual && learned.steady.isDue()) {
      const bool isSet =
          setSteady<Component, kOneValue>(zone, instants, blockOf(count), oneValue, place);
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
    if (!setSteady<Component, kOneValue>(zone, instants, block, oneValue, place) &&
        !setGuessed<Component, kOneValue, false>(zone, instants, learned.walls, 0, block, oneValue,
                                                 place)) {
      break;
    }
    done += count;
  }
  return done;
}

// A block whose wall times stay near enough for the word of each instant to tell both offsets.
// False where not all do; then what is written counts for nothing. Values of the Julian calendar's
// domain do not lead further.
template <class Component, class Calendar, bool kOneValue, class Results>
HWY_NOINLINE bool setNear(const Lookups& lookups, const Block& block, V oneValue,
                          const Results& at) {
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

// A block of the domain, or of the part of it where every fourth year is a leap year, with what the
// granules say of its datetimes, or, where that is null, with datetimes that seem to be in the
// remembered stretches.
template <class Component, class Calendar, bool kOneValue, class Results>
HWY_NOINLINE void setBlock(const Zone& zone, const Stretches& instants, Stretches& walls,
                           const Lookups* lookups, const Block& block, V oneValue,
                           const Results& at) {
  if constexpr (!kIsFar<Component>) {
    if (lookups && setNear<Component, Calendar, kOneValue>(*lookups, block, oneValue, at)) {
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
  if (lookups || !useStretches(instants, block.whole, block.count, setWall)) {
    useGranules(zone.instants, lookups, block.whole, block.count, setWall);
  }
  // Wall times of a series are as much of one as the datetimes, unless a component moves them
  // anywhere: then the outermost ones count, if the first and the last look promising.
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
      !useStretches(walls, wall, block.count, setInstant)) {
    useGranules(zone.walls, nullptr, wall, block.count, setInstant);
  }
}

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
