// Which function sets which elements, in the order in which walkBlocks tries them; `try...` may fail:
//
//   a series    trySeries       datetimes close together, in up to three remembered stretches
//                 trySteady       all of a block (768 elements, else 48) in one stretch
//                 trySpeculative  48 elements, or 24, in three stretches
//   a block     tryWhole        48 elements of whole milliseconds, wherever they lie, by setBlock:
//   of 48         tryNear         components that stay near: one granule's word for both offsets
//                 tryStretches    else, for either time scale, by remembered stretches or useGranules
//               tryMixed        fractions split off, then trySeries and tryWhole again
//   one         setByTableOrCalendar   what no vector claims
//
// Compiled once for each instruction set, PLX_INSTRUCTION_SET, into an object of its own.

#include "zoned/vector_walk.h"

#include <type_traits>

#include "dispatch/instruction_set-inl.h"
#include "zoned/lane_blocks-inl.h"
#include "zoned/table_walk.h"

HWY_BEFORE_NAMESPACE();
namespace zone_lanes::HWY_NAMESPACE {

// Sets the elements [from, until), a multiple of the lanes.
template <class Component, bool kOneValue>
HWY_INLINE void walkBlocks(const ZonedCall& call, const Zone& zone, Learned& learned, Mixed& mixed,
                           size_t from, size_t until, bool isPastCaches) {
  const Elements& e = call.elements;
  const V oneValue = all(e.values[0]);
  while (from < until) {
    const auto blockOf = [&](size_t count) HWY_ATTR {
      return partOf<kOneValue>({e.high, e.low, nullptr, e.values, 0}, from, count);
    };
    if (learned.wholeSeries.isDue()) {
      const EitherPlace results{e.resultHigh + from, e.resultLow + from, isPastCaches};
      const size_t done =
          trySeries<Component, kOneValue>(zone, learned, blockOf(until - from), oneValue, results);
      from += done;
      if (done > 0) learned.wholeSeries.note(true);
      if (from == until) break;
      learned.wholeSeries.note(false);  // the next block is in no series
    }
    const Block block = blockOf(HWY_MIN(wholeLanes(kBlock), until - from));
    const EitherPlace results{e.resultHigh + from, e.resultLow + from, isPastCaches};
    const EitherPlace place{results.high, results.low, false};
    if (!tryWhole<Component, kOneValue>(zone, learned, block, oneValue, results) &&
        !tryMixed<Component, kOneValue>(zone, learned, block, oneValue, mixed, place)) {
      for (size_t i = 0; i < block.count; ++i) {
        if (mixed.isClaimed[i] == 0.0) {
          setByTableOrCalendar(call.table, call.component, e, from + i, call.calendar);
        }
      }
    }
    from += block.count;
  }
}

// For at least as many elements as a vector has lanes.
template <class Component, bool kOneValue>
void walkVectors(const ZonedCall& call) {
  const Elements& e = call.elements;
  const Zone zone = call.zone;
  Learned learned;
  // Begins with the stretches around the first datetime. Where the offset never changes again, they hold
  // all that follows.
  if (std::fabs(e.high[0]) <= lanes::kWholeBound) {
    moveTo(learned.instants, zone.instants.offsets, e.high[0]);
    moveTo(learned.walls, zone.walls.offsets, e.high[0]);
  }
  Mixed mixed;
  const size_t rest = e.count % hn::Lanes(d);
  {
    const PastCaches pastCaches(e.resultHigh, e.resultLow, e.count);
    walkBlocks<Component, kOneValue>(call, zone, learned, mixed, 0, e.count - rest,
                                     pastCaches.areUsed());
  }
  // The last vector ends with the last element, and overlaps the one before it.
  if (rest != 0) {
    walkBlocks<Component, kOneValue>(call, zone, learned, mixed, e.count - hn::Lanes(d), e.count,
                                     false);
  }
}

void walkElements(const ZonedCall& call) {
  for (size_t i = 0; i < call.elements.count; ++i) {
    setByTableOrCalendar(call.table, call.component, call.elements, i, call.calendar);
  }
}

template <class Component>
void byLength(const ZonedCall& call) {
  if (call.elements.count < hn::Lanes(d)) return walkElements(call);
  call.elements.step ? walkVectors<Component, false>(call) : walkVectors<Component, true>(call);
}

void byComponent(const ZonedCall& call) {
  switch (call.component) {
    case Component::year:
      return byLength<SetDate<SetYear>>(call);
    case Component::quarter:
      return byLength<SetDate<SetQuarter>>(call);
    case Component::month:
      return byLength<SetDate<SetMonth>>(call);
    case Component::weekOfYear:
      return byLength<SetDate<SetWeekOfYearOfSaturday>>(call);
    case Component::dayOfMonth:
      return byLength<SetDate<SetDayOfMonth, NearDay>>(call);
    case Component::dayOfYear:
      return byLength<SetDate<SetDayOfYear>>(call);
    case Component::dayOfWeek:
      return byLength<SetDate<SetDayWithinWeek, NearWeekday>>(call);
    case Component::hour:
      return byLength<SetClock<lanes::Hour, NearHour>>(call);
    case Component::minute:
      return byLength<SetClock<lanes::Minute, NearMinute>>(call);
    case Component::second:
      return byLength<SetSeconds<Second>>(call);
    case Component::timeOfDay:
      return byLength<SetSeconds<TimeOfDay>>(call);
    case Component::none:
      return walkElements(call);
  }
}

void walk(const ZonedCall& call) {
  byComponent(call);
  leaveVectors();
}

}  // namespace zone_lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

template <>
void zonedWalkBy<instruction_sets::PLX_INSTRUCTION_SET>(const ZonedCall& call) {
  zone_lanes::HWY_NAMESPACE::walk(call);
}
