// Decimal seconds and the pairs of doubles that stand for them, converted exactly.
//
//   pair     {hi, lo}: milliseconds since 1970-01-01T00:00:00, as the module takes them
//   seconds  whole seconds since 1970-01-01T00:00:00, floored
//   fraction decimal digits behind the point of the second, always counted forward in time
//
// All functions hold for instants within kMaxSeconds; nothing is ever rounded twice.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "arith/doubledouble.h"

namespace plx {

__extension__ typedef __int128 int128;  // 2^52 days in milliseconds need 79 bits

// 2^52 days: so far the calendar's doubles count days exactly.
inline constexpr std::int64_t kMaxDays = std::int64_t{1} << 52;
inline constexpr int128 kMaxSeconds = int128{kMaxDays} * 86400;
inline constexpr double kMaxMillis = 0x1p52 * kMillisPerDay;

// Quotient and remainder with 0 <= remainder < divisor. floorDiv(-1, 86400) is {-1, 86399}.
struct Division {
  int128 quotient, remainder;
};
constexpr Division floorDiv(int128 value, int128 divisor) {
  const auto small = static_cast<std::int64_t>(value), by = static_cast<std::int64_t>(divisor);
  if (small == value && by == divisor) {  // many times faster, and almost every value
    const std::int64_t quotient = small / by, remainder = small % by;
    if (remainder < 0) return {quotient - 1, remainder + by};
    return {quotient, remainder};
  }
  Division d{value / divisor, value % divisor};
  if (d.remainder < 0) d = {d.quotient - 1, d.remainder + divisor};
  return d;
}

struct DecimalSeconds {
  int128 seconds;
  std::string fraction;  // without trailing zeros; empty for a whole second
};

// hi is the double nearest to the decimal, lo the double nearest to what is left (ties to even), and
// both are normalised once more: what is left may round up to half of hi's last place.
// Any number of digits. pairOf(1, "5") is {1500, 0}.
doubledouble pairOf(int128 seconds, std::string_view fraction);

// The decimal of at most `digits` digits, 9 or more, that is nearest to the pair's exact value, a
// tie going to the even one. {1500.0000001, 0} gives 1.5, and {999.9999999, 0} gives 1. The pair need
// not be normalised: {1000, -0.5} gives 0.9995.
DecimalSeconds rounded(const doubledouble& value, std::size_t digits);

// How many digits behind the point of the second pairs of this size tell apart, 10 at least: 22 for
// datetimes of these years, whose pairs are 2^-65 ms apart.
std::size_t digitsHeld(const doubledouble& pair);

// The decimal of the fewest digits that pairOf turns into the same pair; among two such, the
// nearer. A pair that is not normalised counts as the normalised one of equal value.
DecimalSeconds shortest(const doubledouble& pair);

}  // namespace plx
