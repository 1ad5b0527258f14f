#include "datetime/number_text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "datetime/datetime_text.h"
#include "datetime/digits.h"
#include "datetime/scanner.h"
#include "messages/letters.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedCounts =
    "a decimal number without an exponent, as in 1399710615.25";
constexpr std::string_view kAcceptedPairs =
    "two numbers of milliseconds since 1970, as in 1399710615250,0";

// More digits than any count within the range has in nanoseconds, and few enough for 128 bits.
constexpr std::size_t kMostWholeDigits = 31;

int128 wholeOf(std::string_view digits) {
  int128 number = 0;
  while (!digits.empty()) {  // 64 bits hold eighteen digits, and cost less
    const std::size_t n = digits.size() < 18 ? digits.size() : 18;
    std::int64_t part = 0;
    for (const char c : digits.substr(0, n)) part = part * 10 + (c - '0');
    number = number * powerOf10<std::int64_t>(n) + part;
    digits.remove_prefix(n);
  }
  return number;
}

void appendPaddedNumber(std::string& out, std::int64_t number, std::size_t width) {
  std::array<char, 20> digits;
  const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  appendPadded(out, {digits.data(), static_cast<std::size_t>(end - digits.data())}, width);
}

void appendNumber(std::string& out, int128 number) {
  constexpr std::int64_t kPart = powerOf10<std::int64_t>(18);
  std::array<char, 20> digits;
  const bool isLarge = number >= kPart;
  const auto first = static_cast<std::int64_t>(isLarge ? number / kPart : number);
  const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), first).ptr;
  out.append(digits.data(), static_cast<std::size_t>(end - digits.data()));
  if (isLarge) appendPaddedNumber(out, static_cast<std::int64_t>(number % kPart), 18);
}

// A number and its sign: what counts forward from the second before becomes what counts back from
// the second after.
struct Magnitude {
  bool negative;
  int128 seconds;
  std::string fraction;
};
Magnitude magnitudeOf(const DecimalSeconds& decimal) {
  if (decimal.seconds >= 0) return {false, decimal.seconds, decimal.fraction};
  Magnitude result{true, -decimal.seconds, decimal.fraction};
  if (result.fraction.empty()) return result;
  --result.seconds;
  for (char& digit : result.fraction) digit = static_cast<char>('0' + ('9' - digit));
  ++result.fraction.back();  // it was no zero
  return result;
}

}  // namespace

bool isCount(Form form) {
  return form == Form::seconds || form == Form::milliseconds || form == Form::microseconds ||
         form == Form::nanoseconds;
}

std::size_t digitsOfUnit(Form form) {
  switch (form) {
    case Form::milliseconds:
      return 3;
    case Form::microseconds:
      return 6;
    case Form::nanoseconds:
      return 9;
    default:
      return 0;
  }
}

std::optional<CountText> readCount(std::string_view text, Form form, Complaint& complaint) {
  complaint = {};
  Scanner scan(text);
  const bool negative = scan.oneOf("+-") == '-';
  std::string_view whole = scan.digits();
  const bool hasPoint = scan.skip('.');
  const std::string_view fraction = hasPoint ? scan.digits() : std::string_view();
  if (!scan.atEnd() || whole.size() + fraction.size() == 0) {
    complaint = {"not a number", kAcceptedCounts};
    return std::nullopt;
  }
  while (whole.starts_with('0')) whole.remove_prefix(1);
  if (whole.size() > kMostWholeDigits) {
    complaint = {"out of range", kAcceptedRange};
    return std::nullopt;
  }

  const std::size_t unit = digitsOfUnit(form);
  const auto [second, rest] = floorDiv(wholeOf(whole), powerOf10<std::int64_t>(unit));
  if (second > kMaxSeconds) {
    complaint = {"out of range", kAcceptedRange};
    return std::nullopt;
  }
  std::string digits;
  std::string_view below = fraction;
  if (unit > 0) {
    digits.reserve(unit + fraction.size());
    appendPaddedNumber(digits, static_cast<std::int64_t>(rest), unit);
    below = digits += fraction;
  }
  const doubledouble pair = pairOf(second, below);
  if (!negative) return CountText{pair, second, fraction};
  const bool isWhole = below.find_first_not_of('0') == std::string_view::npos;
  // 0 - x has no negative zeros. Rounding to nearest is the same on both sides of zero.
  return CountText{{0.0 - pair.hi, 0.0 - pair.lo}, isWhole ? -second : -second - 1, fraction};
}

void writeCount(std::string& out, Form form, const DecimalSeconds& decimal) {
  const std::size_t unit = digitsOfUnit(form);
  Magnitude number = magnitudeOf(decimal);
  std::string& fraction = number.fraction;
  std::int64_t rest = 0;
  for (std::size_t i = 0; i < unit; ++i)
    rest = rest * 10 + (i < fraction.size() ? fraction[i] - '0' : 0);
  fraction.erase(0, unit);

  if (number.negative) out += '-';
  appendNumber(out, number.seconds * powerOf10<std::int64_t>(unit) + rest);
  if (fraction.empty()) return;
  out += '.';
  out += fraction;
}

DecimalText readDecimal(std::string_view text, double& number) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  if (text.find_first_not_of("0123456789+-.eE") != std::string_view::npos) return DecimalText::none;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec == std::errc::invalid_argument || result.ptr != end) return DecimalText::none;
  if (result.ec == std::errc()) return DecimalText::number;
  // Which of the two it is, that function does not say. This one expects the point of the C locale,
  // which the program never leaves.
  return std::isinf(std::strtod(std::string(text).c_str(), nullptr)) ? DecimalText::tooLarge
                                                                     : DecimalText::tooSmall;
}

std::optional<doubledouble> readPair(std::string_view text, Complaint& complaint) {
  complaint = {"not a pair of numbers", kAcceptedPairs};
  bool found = false;
  Scanner scan(text);
  const std::string_view high = scan.until(',', found);
  if (!found) return std::nullopt;
  double hi = 0, lo = 0;
  if (readDecimal(high, hi) != DecimalText::number ||
      readDecimal(scan.rest(), lo) != DecimalText::number)
    return std::nullopt;
  complaint = {};
  return two_sum(hi, lo);
}

bool isMissingPair(std::string_view text) {
  bool found = false;
  Scanner scan(text);
  if (!isMissing(scan.until(',', found)) || !found) return false;
  double low = 0;
  return isMissing(scan.rest()) || readDecimal(scan.rest(), low) == DecimalText::number;
}

void writePair(std::string& out, const doubledouble& pair) {
  std::array<char, 64> text;  // a double takes at most 24
  char* const last = text.data() + text.size();
  char* end = std::to_chars(text.data(), last, pair.hi).ptr;
  *end++ = ',';
  end = std::to_chars(end, last, pair.lo).ptr;
  out.append(text.data(), static_cast<std::size_t>(end - text.data()));
}

bool isMissing(std::string_view text) {
  return text.empty() || areEqualInAnyCase(text, "nan") || areEqualInAnyCase(text, "nat") ||
         areEqualInAnyCase(text, "na");
}

}  // namespace plx
