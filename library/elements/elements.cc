#include "elements/elements.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "datetime/datetime_text.h"
#include "datetime/exact.h"
#include "datetime/for_processors.h"
#include "elements/bytes.h"
#include "elements/nearest.h"
#include "elements/time_scale.h"
#include "messages/identifiers.h"

namespace plx {

namespace {

using Kind = ElementType::Kind;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

constexpr std::string_view kAcceptedPairs =
    "a finite low part, the imaginary one, where the high part is finite";
constexpr std::string_view kAcceptedFloats =
    "results that one double holds; complex128 holds high and low part";
constexpr std::string_view kAcceptedCounts =
    "results that are whole multiples of the unit, and few enough for 64 bits";
constexpr std::string_view kAcceptedFinite = "finite results, and NaN, which gives NaT";

bool isInRange(double millis) { return std::fabs(millis) <= kMaxMillis; }

// Whether a result is as finite as its datetime and value.
bool isGood(const doubledouble& result, const Slack& slack) {
  return isInRange(result.hi + result.lo) || (slack.propagates && !std::isfinite(result.hi));
}

Complaint outOfRange(const char* what) {
  return {what, kAcceptedRange, Status::badData, id::kOutOfRange};
}

#define PLX_LOOP __attribute__((always_inline))

// Whether no element of a chunk fails. `fails(i)` converts element i, and is 0 where that is right:
// a number of 64 bits without a branch, so that the compiler makes vectors of it.
template <class Fails>
PLX_FOR_PROCESSORS bool convert(std::size_t count, Fails fails) {
  std::uint64_t any = 0;
  for (std::size_t i = 0; i < count; ++i) any |= fails(i);
  return any == 0;
}

std::uint64_t bit(bool holds) { return holds ? 1 : 0; }

// The double nearest to an integer, by bits: not all processors have a conversion for vectors. Each half becomes
// the low bits of a large power of two; the difference that takes the powers away is exact, and only the sum rounds.
double toDouble(std::int64_t integer) {
  const auto bits = static_cast<std::uint64_t>(integer);
  const auto low =
      std::bit_cast<double>((bits & 0xFFFF'FFFF) | std::bit_cast<std::uint64_t>(0x1p52));
  const auto high =
      std::bit_cast<double>(((bits >> 32) ^ 0x8000'0000) | std::bit_cast<std::uint64_t>(0x1p84));
  return (high - (0x1p84 + 0x1p63 + 0x1p52)) + low;
}

// ---- complex128 ----

template <bool isSwapped>
class PairElements : public DatetimeElements {
 public:
  bool hasLow() const override { return true; }

  bool read(const char* bytes, std::size_t count, double* high, double* low) const override {
    return convert(count, [=](std::size_t i) PLX_LOOP {
      const doubledouble pair = at(bytes + 16 * i);
      high[i] = pair.hi;
      low[i] = pair.lo;
      return bit(!isInRange(pair.hi + pair.lo)) & bit(!std::isnan(pair.hi));
    });
  }

  std::optional<Complaint> readOne(const char* bytes, doubledouble& datetime) const override {
    datetime = at(bytes);
    if (!std::isfinite(datetime.hi)) return std::nullopt;
    if (!std::isfinite(datetime.lo))
      return Complaint{"the low part of a finite datetime is not finite", kAcceptedPairs,
                       Status::badData, id::kNotFinite};
    if (!isInRange(datetime.hi + datetime.lo)) return outOfRange("the datetime is out of range");
    return std::nullopt;
  }

  bool write(const Results& r, char* out) const override {
    return convert(r.count, [r, out](std::size_t i) PLX_LOOP {
      const double high = r.resultHigh[i], low = r.resultLow[i];
      const std::uint64_t fails = bit(!isInRange(high)) & bit(!std::isnan(r.high[i]));
      store<isSwapped>(out + 16 * i, high);
      store<isSwapped>(out + 16 * i + 8, low);
      return fails;
    });
  }

  std::optional<Complaint> writeOne(const char*, const doubledouble& result, const Slack& slack,
                                    char* out) const override {
    if (!isGood(result, slack)) return outOfRange("the result is out of range");
    store<isSwapped>(out, result.hi);
    store<isSwapped>(out + 8, result.lo);
    return std::nullopt;
  }

  std::string text(const char* bytes) const override { return resultText(bytes, at(bytes)); }
  std::string resultText(const char*, const doubledouble& result) const override {
    return fmt::format("{}{:+}j", result.hi, result.lo);
  }

 private:
  static doubledouble at(const char* bytes) {
    return {load<double, isSwapped>(bytes), load<double, isSwapped>(bytes + 8)};
  }
};

// ---- float64 ----

template <bool isSwapped>
class FloatElements : public DatetimeElements {
 public:
  bool read(const char* bytes, std::size_t count, double* high, double*) const override {
    return convert(count, [=](std::size_t i) PLX_LOOP {
      const double millis = load<double, isSwapped>(bytes + 8 * i);
      high[i] = millis;
      return bit(!isInRange(millis)) & bit(!std::isnan(millis));
    });
  }

  std::optional<Complaint> readOne(const char* bytes, doubledouble& datetime) const override {
    datetime = {load<double, isSwapped>(bytes), 0};
    if (std::isfinite(datetime.hi) && !isInRange(datetime.hi))
      return outOfRange("the datetime is out of range");
    return std::nullopt;
  }

  bool write(const Results& r, char* out) const override {
    return convert(r.count, [r, out](std::size_t i) PLX_LOOP {
      const double high = r.resultHigh[i];
      const std::uint64_t fails =
          (bit(!isInRange(high)) & bit(!std::isnan(r.high[i]))) | bit(r.resultLow[i] != 0);
      store<isSwapped>(out + 8 * i, high);
      return fails;
    });
  }

  std::optional<Complaint> writeOne(const char*, const doubledouble& result, const Slack& slack,
                                    char* out) const override {
    if (!isGood(result, slack)) return outOfRange("the result is out of range");
    if (std::fabs(result.lo) > slack.millis)
      return Complaint{"float64 cannot hold the result", kAcceptedFloats, Status::badData,
                       id::kCannotHold};
    store<isSwapped>(out, result.hi);
    return std::nullopt;
  }

  std::string text(const char* bytes) const override {
    return fmt::format("{}", load<double, isSwapped>(bytes));
  }
  std::string resultText(const char*, const doubledouble& result) const override {
    return fmt::format("{}{:+}", result.hi, result.lo);
  }
};

// ---- datetime64 ----

// Milliseconds up to which the fast path computes, some 35,000 years to both sides of 1970.
constexpr std::int64_t kPlainMillis = std::int64_t{1} << 50;

// The digits of a second, of its milliseconds and their parts.
std::string fractionOf(std::int64_t millis, std::int64_t parts, std::int64_t partsPerMilli) {
  std::string digits = fmt::format("{:03}", millis);
  if (partsPerMilli > 1)
    digits += fmt::format("{:0{}}", parts, std::to_string(partsPerMilli).size() - 1);
  digits.erase(digits.find_last_not_of('0') + 1);
  return digits;
}

std::string isoText(int128 seconds, std::string_view fraction) {
  std::string text;
  DatetimeText form;
  form.separator = 'T';
  writeDatetime(text, form, {seconds}, fraction);
  return text;
}

std::string isoText(const Instant& instant, std::int64_t partsPerMilli) {
  const auto [seconds, millis] = floorDiv(instant.millis, 1000);
  return isoText(seconds,
                 fractionOf(static_cast<std::int64_t>(millis), instant.parts, partsPerMilli));
}

// The instant, in parts of the millisecond, that a datetime stands for; nothing where it is
// further away than `slack` milliseconds.
//
// Each step of the module's arithmetic on pairs may be off by some 2^-104 of the number, and in a
// time zone it keeps a fraction of a millisecond to 2^-53. Both lie far below an attosecond for
// those datetimes that attoseconds reach.
std::optional<Instant> instantAt(const doubledouble& datetime, std::int64_t partsPerMilli,
                                 double slack) {
  const doubledouble whole = dd::Floor(datetime);
  const auto perMilli = static_cast<double>(partsPerMilli);
  const doubledouble parts = dd::multiply(dd::subtract(datetime, whole), perMilli);
  const double nearest = std::nearbyint(dd::collapse(parts));
  const double rounding = std::fabs(datetime.hi) * 0x1p-100 + 0x1p-53;
  if (std::fabs(dd::collapse(dd::subtract(parts, nearest))) > (slack + rounding) * perMilli)
    return std::nullopt;
  Instant instant{static_cast<int128>(whole.hi) + static_cast<int128>(whole.lo),
                  static_cast<std::int64_t>(nearest)};
  if (instant.parts == partsPerMilli) instant = {instant.millis + 1, 0};
  return instant;
}

doubledouble pairOfMillis(int128 millis) {
  const auto high = static_cast<double>(millis);
  return {high, static_cast<double>(millis - static_cast<int128>(high))};
}

// High and low part are the doubles nearest to the instant and to what is left of it. The units with parts
// reach 2^63 us, so milliseconds are below 2^53 and exact unless their unit has a multiple.
doubledouble pairOfInstant(const Instant& instant, std::int64_t partsPerMilli) {
  const auto perMilli = static_cast<double>(partsPerMilli),
             parts = static_cast<double>(instant.parts);
  const doubledouble millis = pairOfMillis(instant.millis);
  const double high = millis.hi + parts / perMilli;
  // At most half a place of the high part is left, and it is a multiple of that place divided by the parts of
  // a millisecond, fewer than 2^50: product and sum are exact.
  const double left = std::fma(millis.hi - high, perMilli, parts) / perMilli;
  return quick_two_sum(high, left + millis.lo);
}

// What all units have in common: elements one by one.
template <bool isSwapped>
class CountElements : public DatetimeElements {
 public:
  CountElements(const ElementType& type, bool keepsParts)
      : type_(type), scale_(type.unit, type.multiple), keepsParts_(keepsParts) {}

  bool read(const char*, std::size_t, double*, double*) const override { return false; }
  bool write(const Results&, char*) const override { return false; }

  std::optional<Complaint> readOne(const char* bytes, doubledouble& datetime) const override {
    const std::int64_t count = countAt(bytes);
    datetime = {kNaN, 0};
    if (count == kNaT) return std::nullopt;
    const auto instant = scale_.instantOf(count);
    if (!instant) return outOfRange("the datetime is out of range");
    datetime = pairOfMillis(instant->millis);
    return std::nullopt;
  }

  std::optional<Complaint> readExactly(const char* bytes, doubledouble& datetime) const override {
    auto complaint = readOne(bytes, datetime);
    if (complaint || std::isnan(datetime.hi) || scale_.partsPerMilli() == 1) return complaint;
    datetime = pairOfInstant(*scale_.instantOf(countAt(bytes)), scale_.partsPerMilli());
    return complaint;
  }

  std::optional<Complaint> writeOne(const char* bytes, const doubledouble& result,
                                    const Slack& slack, char* out) const override {
    std::int64_t count = kNaT;
    if (!std::isnan(result.hi)) {
      if (slack.propagates)
        return Complaint{"the result is not finite", kAcceptedFinite, Status::badData,
                         id::kNotFinite};
      if (!isGood(result, slack)) return outOfRange("the result is out of range");
      const auto instant = instantOf(bytes, result, slack.millis);
      const auto whole = instant ? scale_.countOf(*instant) : std::nullopt;
      if (!whole)
        return Complaint{typeName(type_) + " cannot hold the result", kAcceptedCounts,
                         Status::badData, id::kCannotHold};
      count = *whole;
    } else if (!slack.propagates) {
      return outOfRange("the result is out of range");
    }
    store<isSwapped>(out, count);
    return std::nullopt;
  }

  std::string text(const char* bytes) const override {
    const std::int64_t count = countAt(bytes);
    if (count == kNaT) return "NaT";
    const auto instant = scale_.instantOf(count);
    return instant ? isoText(*instant, scale_.partsPerMilli()) : fmt::format("{}", count);
  }

  std::string resultText(const char* bytes, const doubledouble& result) const override {
    if (!isInRange(result.hi)) return fmt::format("{}", result.hi);
    if (keepsParts_ && scale_.partsPerMilli() > 1) {
      if (const auto instant = instantOf(bytes, result, 0))
        return isoText(*instant, scale_.partsPerMilli());
    }
    const DecimalSeconds decimal = rounded(result, 18);
    return isoText(decimal.seconds, decimal.fraction);
  }

 protected:
  static std::int64_t countAt(const char* bytes) { return load<std::int64_t, isSwapped>(bytes); }
  const TimeScale& scale() const { return scale_; }

 private:
  std::optional<Instant> instantOf(const char* bytes, const doubledouble& result,
                                   double slack) const {
    auto instant = instantAt(result, scale_.partsPerMilli(), slack);
    if (!instant || !keepsParts_) return instant;
    // Without a setting of the second, results are whole milliseconds, as were the datetimes.
    const std::int64_t count = countAt(bytes);
    if (const auto before = count == kNaT ? std::nullopt : scale_.instantOf(count))
      instant->parts = before->parts;
    return instant;
  }

  const ElementType type_;
  const TimeScale scale_;
  const bool keepsParts_;
};

// Units of a millisecond and more.
template <bool isSwapped>
class LargeCounts : public CountElements<isSwapped> {
 public:
  using CountElements<isSwapped>::CountElements;

  bool read(const char* bytes, std::size_t count, double* high, double*) const override {
    const std::int64_t perCount = this->scale().millisPerCount();
    const std::int64_t mostCounts = kPlainMillis / perCount;
    const auto most = static_cast<double>(mostCounts);
    return convert(count, [=, millis = static_cast<double>(perCount)](std::size_t i) PLX_LOOP {
      const std::int64_t c = CountElements<isSwapped>::countAt(bytes + 8 * i);
      const double number = toDouble(c);
      const bool isNaT = c == kNaT;
      high[i] = isNaT ? kNaN : number * millis;
      return bit(!(std::fabs(number) <= most)) & bit(!isNaT);
    });
  }

  bool write(const DatetimeElements::Results& r, char* out) const override {
    const auto perCount = static_cast<double>(this->scale().millisPerCount());
    return convert(r.count, [=, inverse = 1 / perCount](std::size_t i) PLX_LOOP {
      const double millis = r.resultHigh[i];
      const bool isNaT = std::isnan(r.high[i]);
      // For a whole number of counts this quotient is off by far less than a half, and the whole number nearest to
      // it gives an exact product: so the comparison tells whether the result is a whole number of counts.
      const double number = millis * inverse;
      const std::uint64_t fails = bit(!(std::fabs(millis) <= static_cast<double>(kPlainMillis))) |
                                  bit(nearestWhole(number) * perCount != millis) |
                                  bit(r.resultLow[i] != 0);
      const std::int64_t c = nearestInteger(number);
      store<isSwapped>(out + 8 * i, isNaT ? kNaT : c);
      return fails & bit(!isNaT);
    });
  }
};

// Parts of a millisecond; the multiple is 1.
template <bool isSwapped, std::int64_t kPerMilli, bool kKeepsParts>
class SmallCounts : public CountElements<isSwapped> {
 public:
  explicit SmallCounts(const ElementType& type) : CountElements<isSwapped>(type, kKeepsParts) {}

  // The quotient in doubles is off by less than a half, so the whole number nearest to it is the
  // floored one or the next.
  bool read(const char* bytes, std::size_t count, double* high, double*) const override {
    return convert(count, [=](std::size_t i) PLX_LOOP {
      const std::int64_t c = CountElements<isSwapped>::countAt(bytes + 8 * i);
      const bool isNaT = c == kNaT;
      const double quotient = toDouble(c) * (1 / static_cast<double>(kPerMilli));
      const std::uint64_t below = times(nearestInteger(quotient));
      const double isNext = static_cast<std::int64_t>(static_cast<std::uint64_t>(c) - below) < 0;
      high[i] = isNaT ? kNaN : nearestWhole(quotient) - isNext;
      return bit(!(std::fabs(quotient) <= kMost)) & bit(!isNaT);
    });
  }

  bool write(const DatetimeElements::Results& r, char* out) const override {
    return convert(r.count, [=](std::size_t i) PLX_LOOP {
      const double millis = r.resultHigh[i];
      const bool isNaT = std::isnan(r.high[i]);
      const std::uint64_t fails = bit(!(std::fabs(millis) <= kMost)) |
                                  bit(nearestWhole(millis) != millis) | bit(r.resultLow[i] != 0);
      std::uint64_t c = 0;
      if constexpr (kKeepsParts) {
        const std::int64_t before = CountElements<isSwapped>::countAt(r.bytes + 8 * i);
        c = static_cast<std::uint64_t>(before) + times(nearestInteger(millis - r.high[i]));
      } else {
        c = times(nearestInteger(millis));
      }
      store<isSwapped>(out + 8 * i, isNaT ? kNaT : static_cast<std::int64_t>(c));
      return fails & bit(!isNaT);
    });
  }

 private:
  // From -kMost - 1 to kMost milliseconds, every part of a millisecond has a count.
  static constexpr auto kMost = static_cast<double>(
      std::min(std::numeric_limits<std::int64_t>::max() / kPerMilli - 1, kPlainMillis));

  // Unsigned, since times out of range may wrap; they are not used.
  static std::uint64_t times(std::int64_t millis) {
    return static_cast<std::uint64_t>(millis) * static_cast<std::uint64_t>(kPerMilli);
  }
};

template <bool isSwapped, std::int64_t kPerMilli>
std::unique_ptr<DatetimeElements> smallCounts(const ElementType& type, bool keepsParts) {
  if (keepsParts) return std::make_unique<SmallCounts<isSwapped, kPerMilli, true>>(type);
  return std::make_unique<SmallCounts<isSwapped, kPerMilli, false>>(type);
}

template <bool isSwapped>
std::unique_ptr<DatetimeElements> countElements(const ElementType& type, bool keepsParts) {
  const TimeScale scale(type.unit, type.multiple);
  if (scale.millisPerCount() != 0)
    return std::make_unique<LargeCounts<isSwapped>>(type, keepsParts);
  if (type.multiple == 1 && type.unit == TimeUnit::us)
    return smallCounts<isSwapped, 1'000>(type, keepsParts);
  if (type.multiple == 1 && type.unit == TimeUnit::ns)
    return smallCounts<isSwapped, 1'000'000>(type, keepsParts);
  return std::make_unique<CountElements<isSwapped>>(type, keepsParts);
}

template <bool isSwapped>
std::unique_ptr<DatetimeElements> elementsOf(const ElementType& type, bool keepsParts) {
  if (type.kind == Kind::complexFloat) return std::make_unique<PairElements<isSwapped>>();
  if (type.kind == Kind::floatingPoint && type.bytes == 8)
    return std::make_unique<FloatElements<isSwapped>>();
  if (type.kind == Kind::datetime64) return countElements<isSwapped>(type, keepsParts);
  return nullptr;
}

// ---- values ----

// Calls `visit` with a function that loads a number of the type.
template <bool isSwapped, class Visit>
auto withNumbers(const ElementType& type, Visit visit) {
  switch (type.kind) {
    case Kind::signedInteger:
      if (type.bytes == 1) return visit(load<std::int8_t, isSwapped>);
      if (type.bytes == 2) return visit(load<std::int16_t, isSwapped>);
      if (type.bytes == 4) return visit(load<std::int32_t, isSwapped>);
      return visit(load<std::int64_t, isSwapped>);
    case Kind::unsignedInteger:
      if (type.bytes == 1) return visit(load<std::uint8_t, isSwapped>);
      if (type.bytes == 2) return visit(load<std::uint16_t, isSwapped>);
      if (type.bytes == 4) return visit(load<std::uint32_t, isSwapped>);
      return visit(load<std::uint64_t, isSwapped>);
    default:
      if (type.bytes == 4) return visit(load<float, isSwapped>);
      return visit(load<double, isSwapped>);
  }
}

template <class Visit>
auto withNumbers(const ElementType& type, Visit visit) {
  return type.isSwapped() ? withNumbers<true>(type, visit) : withNumbers<false>(type, visit);
}

// Whether a whole number is one of those that doubles hold without a gap. Larger ones are no
// components, whichever of them a double could hold.
template <class T>
bool isExact(T number) {
  if constexpr (std::is_integral_v<T> && sizeof(T) == 8) {
    constexpr auto kMost = static_cast<T>(std::int64_t{1} << 53);
    return number <= kMost && (std::is_unsigned_v<T> || number >= static_cast<T>(0) - kMost);
  } else {
    return true;
  }
}

}  // namespace

std::unique_ptr<DatetimeElements> DatetimeElements::of(const ElementType& type, bool keepsParts) {
  return type.isSwapped() ? elementsOf<true>(type, keepsParts)
                          : elementsOf<false>(type, keepsParts);
}

std::size_t readNumbers(const ElementType& type, const char* bytes, std::size_t count,
                        double* numbers) {
  return withNumbers(type, [&](auto loadNumber) {
    for (std::size_t i = 0; i < count; ++i) {
      const auto number = loadNumber(bytes + type.bytes * i);
      if (!isExact(number)) return i;
      numbers[i] = static_cast<double>(number);
    }
    return count;
  });
}

std::string numberText(const ElementType& type, const char* bytes) {
  return withNumbers(type, [&](auto loadNumber) {
    const auto number = loadNumber(bytes);
    // The shortest text of a large float is not its number.
    if constexpr (std::is_same_v<decltype(number), const float>)
      if (std::floor(number) == number) return fmt::format("{}", static_cast<double>(number));
    return fmt::format("{}", +number);
  });
}

}  // namespace plx
