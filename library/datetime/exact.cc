#include "datetime/exact.h"

#include <algorithm>
#include <array>
#include <bit>
#include <boost/multiprecision/cpp_int.hpp>
#include <cmath>
#include <optional>
#include <utility>

#include "datetime/digits.h"

namespace plx {

using boost::multiprecision::cpp_int;

template <>
cpp_int powerOf10<cpp_int>(std::size_t exponent) {
  return pow(cpp_int(10), static_cast<unsigned>(exponent));
}

namespace {

// The same few lines of integer arithmetic run on 128 bits, where almost every value people have
// fits, and on integers of any size. Each caller below says why its numbers fit.

__extension__ typedef unsigned __int128 uint128;

int bitLength(int128 x) {  // of a positive number
  const uint128 u = static_cast<uint128>(x);
  const auto high = static_cast<std::uint64_t>(u >> 64);
  return high != 0 ? 128 - std::countl_zero(high)
                   : 64 - std::countl_zero(static_cast<std::uint64_t>(u));
}
int bitLength(const cpp_int& x) { return static_cast<int>(msb(x)) + 1; }

// The double nearest to numerator / denominator * 2^exponent, ties to even, subnormals included.
// The denominator is positive. Shifted, the operands have at most 56 bits more than the
// denominator, or as many as the numerator where that is more.
template <class Int>
double nearest(Int numerator, Int denominator, int exponent) {
  if (numerator == 0) return 0.0;
  const bool negative = numerator < 0;
  if (negative) numerator = -numerator;
  const int shift = 55 + bitLength(denominator) - bitLength(numerator);
  if (shift >= 0) {
    numerator <<= shift;
  } else {
    denominator <<= -shift;
  }
  const Int quotient = numerator / denominator;
  const bool inexact = numerator % denominator != 0;
  auto bits = static_cast<std::uint64_t>(quotient);  // 55 or 56 of them
  const int bitsExponent = exponent - shift;

  // What lies below the last place of a double of this size, and never below 2^-1074.
  const int drop = std::max(static_cast<int>(std::bit_width(bits)) - 53, -1074 - bitsExponent);
  if (drop > 60) return negative ? -0.0 : 0.0;  // less than half of the smallest double
  const std::uint64_t half = std::uint64_t{1} << (drop - 1);
  const std::uint64_t rest = bits & (2 * half - 1);
  bits >>= drop;
  if (rest > half || (rest == half && (inexact || bits % 2 != 0))) ++bits;
  const double magnitude = std::ldexp(static_cast<double>(bits), bitsExponent + drop);
  return negative ? -magnitude : magnitude;
}

// A finite double as mantissa * 2^exponent.
struct Binary {
  std::int64_t mantissa;
  int exponent;
};
Binary binary(double x) {
  int exponent = 0;
  const double scaled = std::frexp(x, &exponent);
  const auto mantissa = static_cast<std::int64_t>(std::ldexp(scaled, 53));
  if (mantissa == 0) return {0, 0};
  const int zeros = std::countr_zero(static_cast<std::uint64_t>(mantissa));
  return {mantissa >> zeros, exponent - 53 + zeros};
}

// Whole numbers that are doubles, as are those of at most fifteen digits.
constexpr std::int64_t kSmall = std::int64_t{1} << 53;
constexpr std::size_t kSmallDigits = 15;
bool isSmall(int128 number) { return -kSmall < number && number < kSmall; }

// The pair of millis + below / scale, in doubles as far as they tell it for certain; nothing where
// they do not.
//
// The quotient q of the last two is off by less than half of its last place, and the rest of that
// division is a double (Sterbenz; Dekker 1971). Divided once more it is r, off by 2^-53 of itself.
// A sum that rounds to the same double with a little more than r and with a little less is that
// of the exact value.
std::optional<doubledouble> quickPair(std::int64_t millis, std::int64_t below, double scale) {
  constexpr double kMore = 1 + 0x1p-50, kLess = 1 - 0x1p-50;
  const auto numerator = static_cast<double>(below);
  const double q = numerator / scale;
  const doubledouble product = two_prod(q, scale);
  const double r = ((numerator - product.hi) - product.lo) / scale;

  const doubledouble sum = two_sum(static_cast<double>(millis), q);
  const double lo = sum.lo + r * kMore;
  if (lo != sum.lo + r * kLess) return std::nullopt;
  if (sum.hi + lo * kMore != sum.hi || sum.hi + lo * kLess != sum.hi) return std::nullopt;
  return doubledouble{sum.hi, lo};
}

// The pair of numerator / denominator.
template <class Int>
doubledouble nearestPair(const Int& numerator, const Int& denominator) {
  const double hi = nearest(numerator, denominator, 0);
  const Binary h = binary(hi);
  const int below = std::min(h.exponent, 0);
  // rest * 2^below / denominator is what hi leaves over
  const Int rest =
      Int(numerator << -below) - ((Int(h.mantissa) * denominator) << (h.exponent - below));
  // Where what is left rounds up to half of hi's last place, the sum is the other of two numbers of
  // equal distance, unless hi is even.
  return two_sum(hi, nearest(rest, denominator, below));
}

doubledouble pairOfWhole(int128 millis) {
  if (isSmall(millis)) return {static_cast<double>(static_cast<std::int64_t>(millis)), 0.0};
  const auto hi = static_cast<double>(millis);
  return {hi, static_cast<double>(millis - static_cast<int128>(hi))};
}

template <class Int>
Int numberOf(std::string_view digits) {
  if constexpr (std::is_same_v<Int, cpp_int>) {
    // cpp_int would take a leading zero for a sign of octal digits.
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits.empty() ? cpp_int(0) : cpp_int(std::string(digits));
  } else {
    Int number = 0;
    for (const char c : digits) number = number * 10 + (c - '0');
    return number;
  }
}

template <class Int>
doubledouble pairOfDigits(int128 millis, std::string_view belowMilli) {
  const Int scale = powerOf10<Int>(belowMilli.size());
  return nearestPair<Int>(Int(millis) * scale + numberOf<Int>(belowMilli), scale);
}

void dropTrailingZeros(std::string_view& digits) {
  digits.remove_suffix(digits.size() - (digits.find_last_not_of('0') + 1));
}
void dropTrailingZeros(std::string& digits) { digits.erase(digits.find_last_not_of('0') + 1); }

// The exact value of a pair as numerator / 2^shift.
template <class Int>
struct Dyadic {
  Int numerator;
  int shift;
};
struct BinaryPair {
  Binary hi, lo;
  int shift;
};
BinaryPair binaryPair(const doubledouble& pair) {
  const Binary hi = binary(pair.hi), lo = binary(pair.lo);
  return {hi, lo, std::max({0, -hi.exponent, -lo.exponent})};
}
template <class Int>
Dyadic<Int> dyadic(const BinaryPair& b) {
  return {(Int(b.hi.mantissa) << (b.hi.exponent + b.shift)) +
              (Int(b.lo.mantissa) << (b.lo.exponent + b.shift)),
          b.shift};
}

std::string digitsOf(const cpp_int& number) { return number.str(); }
std::string digitsOf(int128 number) { return std::to_string(static_cast<std::uint64_t>(number)); }

// Seconds from whole milliseconds and the digits that follow them.
DecimalSeconds fromMillis(int128 millis, const std::string& below, std::size_t belowWidth) {
  const auto [seconds, milli] = floorDiv(millis, 1000);
  DecimalSeconds result{seconds, {}};
  appendPadded(result.fraction, digitsOf(milli), 3);
  if (belowWidth > 0) appendPadded(result.fraction, below, belowWidth);
  dropTrailingZeros(result.fraction);
  return result;
}

template <class Int>
DecimalSeconds roundedDyadic(const Dyadic<Int>& value, std::size_t digits) {
  const std::size_t below = digits - 3;
  const Int unit = Int(1) << value.shift;
  const Int scale = powerOf10<Int>(below);
  Int millis = value.numerator / unit, rest = value.numerator % unit;
  if (rest < 0) {
    --millis;
    rest += unit;
  }
  rest *= scale;
  Int count = rest / unit;
  const Int twice = Int(rest % unit) * 2;
  // The parity of the last digit is that of count: scale is even.
  if (twice > unit || (twice == unit && count % 2 != 0)) ++count;
  if (count == scale) {
    ++millis;
    count = 0;
  }
  return fromMillis(static_cast<int128>(millis), digitsOf(count), below);
}

// Nine digits of the second behind a floored millisecond and nanoseconds from there, 0 to 999999.
DecimalSeconds ofNanoseconds(std::int64_t millis, std::int64_t nanos) {
  const auto [seconds, milli] = floorDiv(millis, 1000);
  std::array<char, 9> digits;
  auto rest = static_cast<std::uint32_t>(static_cast<std::int64_t>(milli) * 1'000'000 + nanos);
  for (std::size_t i = digits.size(); i-- > 0; rest /= 10)
    digits[i] = static_cast<char>('0' + rest % 10);
  std::string_view fraction(digits.data(), digits.size());
  dropTrailingZeros(fraction);
  return {seconds, std::string(fraction)};
}

// The nearest nanosecond by doubles as far as they tell it for certain; nothing where they do not.
// Below 2^52 the part of hi behind the point is exact; adding lo and multiplying rounds to less than
// 10^-9 nanoseconds. A whole hi has as much as a quarter of a millisecond taken away by lo.
std::optional<DecimalSeconds> quickRounded(const doubledouble& pair) {
  if (!(std::fabs(pair.hi) < 0x1p52)) return std::nullopt;
  const double millis = floorDouble(pair.hi);
  const double nanos = ((pair.hi - millis) + pair.lo) * 1e6 + 0.5;
  const double count = floorDouble(nanos);
  constexpr double kUnsure = 1e-6;
  if (nanos - count < kUnsure || nanos - count > 1 - kUnsure) return std::nullopt;
  const auto whole = static_cast<std::int64_t>(millis), below = static_cast<std::int64_t>(count);
  if (below < 0) return ofNanoseconds(whole - 1, below + 1'000'000);
  return below >= 1'000'000 ? ofNanoseconds(whole + 1, below - 1'000'000)
                            : ofNanoseconds(whole, below);
}

bool isWhole(const doubledouble& x) {
  return floorDouble(x.hi) == x.hi && floorDouble(x.lo) == x.lo;
}
DecimalSeconds ofWhole(const doubledouble& pair) {
  if (pair.lo == 0.0 && std::fabs(pair.hi) < 0x1p53)
    return ofNanoseconds(static_cast<std::int64_t>(pair.hi), 0);
  return fromMillis(static_cast<int128>(pair.hi) + static_cast<int128>(pair.lo), {}, 0);
}

// count / 10^digits seconds.
DecimalSeconds fromCount(const cpp_int& count, std::size_t digits) {
  const cpp_int scale = powerOf10<cpp_int>(digits);
  cpp_int seconds = count / scale, rest = count % scale;
  if (rest < 0) {
    --seconds;
    rest += scale;
  }
  DecimalSeconds result{static_cast<int128>(seconds), {}};
  appendPadded(result.fraction, rest.str(), digits);
  dropTrailingZeros(result.fraction);
  return result;
}

bool readsAs(const DecimalSeconds& decimal, const doubledouble& pair) {
  const doubledouble read = pairOf(decimal.seconds, decimal.fraction);
  return read.hi == pair.hi && read.lo == pair.lo;
}

// Of the two decimals of so many digits next to the value, the nearer one that reads back, else the
// other if that does. What reads back is an interval around the value, so no third one can.
bool readingBack(const Dyadic<cpp_int>& value, std::size_t digits, const doubledouble& pair,
                 DecimalSeconds& result) {
  const cpp_int unit = cpp_int(1000) << value.shift;
  const cpp_int scaled = value.numerator * powerOf10<cpp_int>(digits);
  cpp_int below = scaled / unit, rest = scaled % unit;
  if (rest < 0) {
    --below;
    rest += unit;
  }
  const int nearer = 2 * rest > unit ? 1 : 0;
  for (const int up : {nearer, 1 - nearer}) {
    result = fromCount(below + up, digits);
    if (readsAs(result, pair)) return true;
  }
  return false;
}

// The smallest double is 2^-1074: no double and no midpoint of two has more digits than this.
constexpr std::size_t kMostDigits = 1100;

}  // namespace

doubledouble pairOf(int128 seconds, std::string_view fraction) {
  dropTrailingZeros(fraction);
  int128 millis = seconds * 1000;
  int unit = 100;
  for (std::size_t i = 0; i < fraction.size() && i < 3; ++i, unit /= 10)
    millis += (fraction[i] - '0') * unit;
  if (fraction.size() <= 3) return pairOfWhole(millis);

  const std::string_view below = fraction.substr(3);
  if (below.size() <= kSmallDigits && isSmall(millis)) {
    const auto pair = quickPair(static_cast<std::int64_t>(millis), numberOf<std::int64_t>(below),
                                static_cast<double>(powerOf10<std::int64_t>(below.size())));
    if (pair) return *pair;
    // 53 bits and 50 of 10^15 stay below 128 in all the steps above.
    return pairOfDigits<int128>(millis, below);
  }
  if (below.size() <= kMostDigits) return pairOfDigits<cpp_int>(millis, below);
  // Digits so far behind only tell on which side of a midpoint the value lies: any one does.
  return pairOfDigits<cpp_int>(millis, std::string(below.substr(0, kMostDigits)) + '1');
}

DecimalSeconds rounded(const doubledouble& value, std::size_t digits) {
  // The bounds below are those of parts that do not overlap.
  const doubledouble pair = two_sum(value.hi, value.lo);
  if (isWhole(pair)) return ofWhole(pair);
  if (digits == 9) {
    if (auto decimal = quickRounded(pair)) return *std::move(decimal);
  }
  digits = std::min(digits, kMostDigits);  // exact before that
  const BinaryPair b = binaryPair(pair);
  // The numerator has the bits of hi's whole part and the shift's; what is below the millisecond
  // is less than 2^shift and is multiplied by 10^6, which has 20 bits.
  const int wholeBits = std::max(std::ilogb(pair.hi), 0) + 2;
  if (digits == 9 && b.shift + std::max(wholeBits, 20) <= 125)
    return roundedDyadic(dyadic<int128>(b), digits);
  return roundedDyadic(dyadic<cpp_int>(b), digits);
}

std::size_t digitsHeld(const doubledouble& pair) {
  // Of a pair whose low part has half a unit of the high one's last place.
  constexpr int kBits = 105;
  constexpr int kFinest = -1000;
  const int exponent = pair.hi == 0.0 ? kFinest : std::max(std::ilogb(pair.hi), kFinest);
  // A binary digit is 0.30103 decimal ones; three of these lie between milliseconds and seconds.
  const int digits = (kBits - exponent) * 30103 / 100000 + 3;
  return static_cast<std::size_t>(digits);
}

DecimalSeconds shortest(const doubledouble& pair) {
  const doubledouble value = two_sum(pair.hi, pair.lo);
  // What reads back as one pair is less than a nanosecond wide. So one decimal of nine digits at
  // most does, and where one does, no shorter one differs from it.
  DecimalSeconds result = rounded(value, 9);
  if (isWhole(value) || readsAs(result, value)) return result;

  const Dyadic<cpp_int> exact = dyadic<cpp_int>(binaryPair(value));
  std::size_t tooFew = 9, enough = static_cast<std::size_t>(exact.shift) + 3;  // the value itself
  readingBack(exact, enough, value, result);
  while (tooFew + 1 < enough) {  // a longer text can always say what a shorter one does
    const std::size_t digits = (tooFew + enough) / 2;
    DecimalSeconds candidate;
    if (readingBack(exact, digits, value, candidate)) {
      enough = digits;
      result = std::move(candidate);
    } else {
      tooFew = digits;
    }
  }
  return result;
}

}  // namespace plx
