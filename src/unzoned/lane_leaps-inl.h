// The components in lanes on the time scale that counts leap seconds: from elapsed milliseconds to UTC,
// set there, and back.
#pragma once

#include "unzoned/lane_components-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanes::HWY_NAMESPACE {

// What the bucket of a time holds, in milliseconds: the UTC instant of one leap second, and the leap
// seconds inserted before that instant.
struct Leap {
  V instant;
  V before;
};

// 2^52 + the number of a time's bucket, rounded to nearest: the number stands in the lowest bits.
HWY_INLINE V leapNumber(V t) {
  const V within =
      hn::Min(hn::Max(t, hn::Zero(d)), all((LeapBuckets::kCount - 1) * LeapBuckets::kMillis));
  return hn::MulAdd(within, all(LeapBuckets::kPerMilli), all(0x1p52));
}

HWY_INLINE Leap leapOfEntry(V entry) {
  const V instant = hn::Floor(entry);
  return {instant, (entry - instant) * all(LeapBuckets::kScale * kMillisPerSecond)};
}

// Highway numbers the better sets of x86 lower. All from AVX3 on have the instruction that looks up here
// (vpermi2w, of AVX-512BW), but a future one may have shorter vectors.
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3 && HWY_MAX_BYTES == 64
// All buckets in four registers.
constexpr bool kHasLeapRegisters = true;

// 2^52 + the table's entry for the bucket: of the four 16-bit words of 2^52 + number, the lowest is
// replaced by the entry.
HWY_INLINE V lookUp(const std::uint16_t (&table)[LeapBuckets::kCount], V number) {
  const __m512i words = _mm512_castpd_si512(number.raw);
  return V{_mm512_castsi512_pd(_mm512_mask2_permutex2var_epi16(
      _mm512_load_si512(table), words, 0x11111111, _mm512_load_si512(table + 32)))};
}

// The fused operations are exact: their results are whole numbers below 2^53.
HWY_INLINE Leap leapOf(V t) {
  const V number = leapNumber(t);
  const V day = lookUp(kLeapBuckets.days, number), before = lookUp(kLeapBuckets.before, number);
  return {hn::MulSub(day, all(kMillisPerDay), all(0x1p52 * kMillisPerDay)),
          hn::MulSub(before, all(kMillisPerSecond), all(0x1p52 * kMillisPerSecond))};
}
#else
constexpr bool kHasLeapRegisters = false;

HWY_INLINE Leap leapOf(V t) {
  const VI number = hn::And(hn::BitCast(di, leapNumber(t)), hn::Set(di, LeapBuckets::kCount - 1));
  return leapOfEntry(hn::GatherIndex(d, kLeapBuckets.entries, number));
}
#endif

// The leap seconds, in milliseconds, inserted at or before a time, which is a whole number or a pair, by
// the instant of its bucket. A pair lies at or after a whole number where (t.hi - instant) + t.lo, whose
// sign is exact, is not negative.
HWY_INLINE M isAtOrAfter(V t, V instant) { return hn::Ge(t, instant); }
HWY_INLINE M isAtOrAfter(Pair t, V instant) { return hn::Ge((t.hi - instant) + t.lo, hn::Zero(d)); }
template <class Time>
HWY_INLINE V leapMillisUTC(Time utc, Leap leap) {
  return leap.before + hn::IfThenElseZero(isAtOrAfter(utc, leap.instant), all(kMillisPerSecond));
}
template <class Time>
HWY_INLINE V leapMillisElapsed(Time t, Leap leap) {
  return leapMillisUTC(t, {leap.instant + leap.before, leap.before});
}

// A component on the leap-second scale. Before the first leap second zero is added to a whole number or
// a normalised pair, which leaves it as it is. All leap seconds together are less than a minute, and a
// domain's bounds leave more room than that.
template <class Component>
struct CountingLeapSeconds : Component {
  // The three steps of setting whole milliseconds, given the bucket of the time on either scale.
  static HWY_INLINE V toUTC(V t, Leap leap) { return t - leapMillisElapsed(t, leap); }
  template <class Calendar>
  static HWY_INLINE Pair setUTC(V utc, typename Component::New set) {
    return Component::template setWhole<Calendar>(utc, set);
  }
  static HWY_INLINE Pair fromUTC(Pair utc, Leap leap) {
    if constexpr (!Component::kTakesFractions) {
      return {utc.hi + leapMillisUTC(utc.hi, leap), utc.lo};
    } else {
      return add(utc, leapMillisUTC(utc, leap));
    }
  }

  template <class Calendar>
  static HWY_INLINE Pair setWhole(V t, typename Component::New set) {
    const Pair utc = setUTC<Calendar>(toUTC(t, leapOf(t)), set);
    return fromUTC(utc, leapOf(utc.hi));
  }

  static HWY_INLINE Pair set(Pair t, typename Component::New set) {
    const Pair utc = Component::set(subtract(t, leapMillisElapsed(t, leapOf(t.hi))), set);
    return add(utc, leapMillisUTC(utc, leapOf(utc.hi)));
  }
};

}  // namespace lanes::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();
