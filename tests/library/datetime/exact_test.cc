#include "datetime/exact.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <string>

#include "support/bits.h"
#include "support/cases.h"
#include "support/length.h"
#include "tools/support/decimal_strings.h"
#include "tools/support/pairs.h"

namespace plx {
namespace {

std::string textOf(int128 number) {
  const bool negative = number < 0;
  if (negative) number = -number;
  std::string text;
  do {
    text.insert(text.begin(), static_cast<char>('0' + static_cast<int>(number % 10)));
    number /= 10;
  } while (number != 0);
  if (negative) text.insert(text.begin(), '-');
  return text;
}

// The same instant in milliseconds.
LongDecimal millisOf(int128 seconds, const std::string& fraction) {
  std::string below = fraction;
  if (below.size() < 3) below.append(3 - below.size(), '0');
  below.insert(3, 1, '.');
  // The fraction counts forward from a floored second.
  return LongDecimal(textOf(seconds).append("000")) + LongDecimal(below);
}
// What hi leaves over can round up to half of hi's last place: then hi is one of two doubles of equal
// distance, and a pair is normalised where it is the even one.
doubledouble nearestPair(const LongDecimal& millis) {
  const double hi = millis.nearestDouble();
  return two_sum(hi, (millis - LongDecimal(hi)).nearestDouble());
}

LongDecimal valueOf(const doubledouble& pair) {
  return LongDecimal(pair.hi) + LongDecimal(pair.lo);
}

TEST(PairOf, KnownValues) {
  const struct {
    std::int64_t seconds;
    const char* fraction;
    doubledouble pair;
    const char* why;
  } rows[] = {
      {0, "", {0, 0}, "the epoch"},
      {1, "5", {1500, 0}, "one digit is tenths of a second"},
      {1, "500000000000", {1500, 0}, "zeros at the end say nothing"},
      {-1, "999", {-1, 0}, "a fraction counts forward from the second before"},
      {1399710615, "25", {1399710615250, 0}, "2014-05-10T08:30:15.25"},
      {0, "0001", {0x1.999999999999ap-4, -0x1.999999999999ap-58}, "a tenth is no binary fraction"},
      {389107668898267939, "", {389107668898267939000.0, 16568}, "beyond 2^53 ms lo is needed"},
      {9007199254740, "993", {9007199254740992.0, 1}, "a tie of hi goes to the even double"},
      {9007199254740, "995", {9007199254740996.0, -1}, "which may be the one above"},
  };
  for (const auto& r : rows) {
    EXPECT_SAME_BITS(pairOf(r.seconds, r.fraction), r.pair) << r.why;
  }
}

TEST(Rounded, HalfGoesToTheEvenDigitOfTheExactValue) {
  const struct {
    doubledouble pair;
    std::int64_t seconds;
    const char* fraction;
    const char* why;
  } rows[] = {
      {{30100, 0}, 30, "1", "no zeros at the end"},
      {{30100.000000000004, 0}, 30, "1", "what a product of doubles leaves over is not shown"},
      {{0x1p-7, 0}, 0, "000007812", "7812.5 nanoseconds exactly: a tie, to the even digit"},
      {{0x3p-7, 0}, 0, "000023438", "23437.5: a tie, to the even digit above"},
      {{0x1p-7, kSmallest}, 0, "000007813", "the smallest excess breaks the tie"},
      {{0x3p-7, -kSmallest}, 0, "000023437", "and so does the smallest lack"},
      {{-0x1p-7, 0}, -1, "999992188", "ties before 1970 too"},
      {{999.9999999, 0}, 1, "", "a carry into the second"},
      {{86399999.9999999, 0}, 86400, "", "and from there to the next day"},
      {{-kSmallest, 0}, 0, "", "just before the epoch is the epoch"},
  };
  for (const auto& r : rows) {
    const DecimalSeconds d = rounded(r.pair, 9);
    EXPECT_EQ(static_cast<std::int64_t>(d.seconds), r.seconds) << r.why;
    EXPECT_EQ(d.fraction, r.fraction) << r.why;
  }
}

TEST(Rounded, MoreDigitsWhereTheyAreWanted) {
  EXPECT_EQ(rounded({0x1p-7, 0}, 10).fraction, "0000078125");
  EXPECT_EQ(rounded({0.1, 0}, 12).fraction, "0001");
  EXPECT_EQ(rounded({0.1, 0}, 30).fraction, "000100000000000000005551115123");
  EXPECT_EQ(rounded({kSmallest, 0}, 1'000'000).fraction.size(), 1077u);
}

TEST(Shortest, KnownValues) {
  const struct {
    doubledouble pair;
    const char* fraction;
    const char* why;
  } rows[] = {
      {{30100, 0}, "1", "a text that people write"},
      {pairOf(0, "1234567"), "1234567", "seven digits"},
      {pairOf(1399710615, "123456789012345"), "123456789012345", "fifteen digits"},
      {pairOf(1399710615, "000000000000001"), "000000000000001", "zeros in front stay"},
      {{0.1, 0},
       "0001000000000000000055511151231257827021181583404541015625",
       "a low part of zero is as exact as any other"},
  };
  for (const auto& r : rows) EXPECT_EQ(shortest(r.pair).fraction, r.fraction) << r.why;
}

TEST(Exact, EveryNormalisedPairComesBackFromItsShortestText) {
  Cases cases(ofWhole(100'000));
  Pairs pairs(1);
  for (int i = 0; i < ofWhole(100'000); ++i, ++cases) {
    const doubledouble pair = pairs.next();
    const DecimalSeconds text = shortest(pair);
    const doubledouble read = pairOf(text.seconds, text.fraction);
    // Zeros have no sign in a text.
    ASSERT_TRUE(read.hi == pair.hi && read.lo == pair.lo) << "case " << i << ": " << pair;
    ASSERT_TRUE(text.fraction.empty() || text.fraction.back() != '0');
  }
}

// A decimal of one digit less on either side of the value must read as another pair.
TEST(Exact, NoShorterTextReadsBack) {
  Cases cases(ofWhole(4'000));
  Pairs pairs(2);
  for (int i = 0; i < ofWhole(10'000); ++i) {
    const doubledouble pair = pairs.next();
    const DecimalSeconds text = shortest(pair);
    if (text.fraction.empty()) continue;
    std::string below = text.fraction;
    below.pop_back();
    const doubledouble down = pairOf(text.seconds, below);
    std::string above = below;
    int128 seconds = text.seconds;
    std::size_t at = above.size();
    while (at > 0 && above[at - 1] == '9') above[--at] = '0';
    if (at > 0) {
      ++above[at - 1];
    } else {
      ++seconds;
    }
    const doubledouble up = pairOf(seconds, above);
    ASSERT_FALSE(down.hi == pair.hi && down.lo == pair.lo) << "case " << i << ": " << pair;
    ASSERT_FALSE(up.hi == pair.hi && up.lo == pair.lo) << "case " << i << ": " << pair;
    ++cases;
  }
}

// The text of a random instant with a random number of digits.
struct Text {
  std::int64_t seconds;
  std::string fraction;
};
class Texts {
 public:
  explicit Texts(unsigned seed) : random_(seed) {}
  Text next() {
    const int bits = std::uniform_int_distribution<int>(0, 62)(random_);
    std::uniform_int_distribution<std::int64_t> seconds(-(std::int64_t{1} << bits),
                                                        std::int64_t{1} << bits);
    // Mostly what people write, sometimes more than any double tells.
    const int longest = random_() % 20 == 0 ? 1200 : random_() % 3 == 0 ? 60 : 12;
    const int length = std::uniform_int_distribution<int>(0, longest)(random_);
    Text text{seconds(random_), {}};
    const bool sparse = random_() % 4 == 0;
    for (int i = 0; i < length; ++i) {
      const auto digit = static_cast<char>(random_() % 10);
      text.fraction += static_cast<char>('0' + (sparse && random_() % 8 != 0 ? 0 : digit));
    }
    return text;
  }

 private:
  std::mt19937_64 random_;
};

TEST(Exact, ReadingAgreesWithFromCharsAndSumsOnPaper) {
  Cases cases(ofWhole(20'000));
  Texts texts(3);
  for (int i = 0; i < ofWhole(20'000); ++i, ++cases) {
    const Text text = texts.next();
    const LongDecimal millis = millisOf(text.seconds, text.fraction);
    const doubledouble pair = pairOf(text.seconds, text.fraction);
    const doubledouble expected = nearestPair(millis);
    ASSERT_EQ(pair.hi, expected.hi) << "case " << i << ": " << millis.text();
    ASSERT_EQ(pair.lo, expected.lo) << "case " << i << ": " << millis.text();
  }
}

// Midpoints between two doubles, and what lies a digit beyond them; and midpoints between two low parts.
TEST(Exact, ReadingBreaksTiesToEven) {
  Cases cases(4 * ofWhole(3'000));
  std::mt19937_64 random(4);
  for (int i = 0; i < ofWhole(3'000); ++i) {
    const double hi = std::ldexp(std::uniform_real_distribution<double>(1, 2)(random),
                                 std::uniform_int_distribution<int>(-60, 60)(random));
    const double half = (std::nextafter(hi, INFINITY) - hi) / 2;
    const LongDecimal tie = LongDecimal(hi) + LongDecimal(half);
    const double lo = half * std::uniform_real_distribution<double>(0.25, 0.5)(random);
    const LongDecimal tieOfLo =
        LongDecimal(hi) + LongDecimal(lo) + LongDecimal((std::nextafter(lo, INFINITY) - lo) / 2);
    for (const LongDecimal& millis :
         {tie, tie + LongDecimal(kSmallest), tie - LongDecimal(kSmallest), tieOfLo}) {
      std::string digits = millis.text();
      const std::size_t point = digits.find('.');
      const std::string whole = digits.substr(0, point - 3);
      const std::string fraction = digits.substr(point - 3, 3) + digits.substr(point + 1);
      int128 seconds = 0;
      for (const char c : whole) seconds = seconds * 10 + (c - '0');
      const doubledouble pair = pairOf(seconds, fraction);
      const doubledouble expected = nearestPair(millis);
      ASSERT_EQ(pair.hi, expected.hi) << "case " << i << ": " << digits;
      ASSERT_EQ(pair.lo, expected.lo) << "case " << i;
      ++cases;
    }
  }
}

// Near the smallest doubles, where lo has one bit left.
TEST(Exact, ReadingNormalisesWhatRoundsUpToHalfAPlace) {
  Cases cases(2);
  const std::string fraction = std::string(309, '0') + "161768632";
  for (const int128 second : {0, -1}) {
    ++cases;
    std::string digits = fraction;
    if (second < 0) {  // counted forward
      for (char& c : digits) c = static_cast<char>('0' + '9' - c);
      ++digits.back();
    }
    const doubledouble pair = pairOf(second, digits);
    EXPECT_EQ(std::fabs(pair.hi), 0x1.d14bec51aabe6p-1020);
    EXPECT_EQ(std::fabs(pair.lo), 0x1p-1073);
    EXPECT_EQ(pair.hi > 0, pair.lo > 0);
    EXPECT_EQ(pair.hi > 0, second == 0);
  }
}

// As above, with the fifteen digits at most that need no big integers: odd multiples of half the
// last place of hi, or the nearest such decimals, and the decimals next to them.
TEST(Exact, ReadingBreaksTiesOfFewDigits) {
  Cases cases(ofWhole(30'000));
  std::mt19937_64 random(6);
  for (int i = 0; i < ofWhole(10'000); ++i) {
    const int exponent = std::uniform_int_distribution<int>(0, 51)(random);
    const double hi = std::ldexp(std::uniform_real_distribution<double>(1, 2)(random), exponent);
    const LongDecimal exactTie = LongDecimal(hi) + LongDecimal(std::ldexp(0.5, exponent - 52));
    const LongDecimal tie = exactTie.roundedTo(15);
    const LongDecimal unit("0.000000000000001");
    for (const LongDecimal& millis : {tie, tie + unit, tie - unit}) {
      const std::string digits = millis.text();
      const std::size_t point = digits.find('.');
      const std::int64_t seconds = std::stoll(digits.substr(point - 18, 15));
      const std::string fraction = digits.substr(point - 3, 3) + digits.substr(point + 1, 15);
      const doubledouble pair = pairOf(seconds, fraction);
      ASSERT_EQ(pair.hi, millis.nearestDouble()) << "case " << i << ": " << digits;
      ASSERT_EQ(pair.lo, (millis - LongDecimal(pair.hi)).nearestDouble()) << "case " << i;
      ++cases;
    }
  }
}

// Half a nanosecond is 2^-7 milliseconds and odd multiples of it, and next to it is what lo adds.
TEST(Exact, WritingBreaksTiesOfNanoseconds) {
  Cases cases(ofWhole(70'000));
  std::mt19937_64 random(7);
  for (int i = 0; i < ofWhole(10'000); ++i) {
    const auto whole = static_cast<double>(static_cast<std::int64_t>(random() % (1ull << 45)));
    const double hi = (i % 2 ? whole : -whole) + static_cast<double>(random() % 256) / 256;
    for (const double lo : {0.0, kSmallest, -kSmallest, 0x1p-60, -0x1p-60, 1e-12, -1e-12}) {
      const doubledouble pair{hi, lo};
      const DecimalSeconds d = rounded(pair, 9);
      ASSERT_EQ(millisOf(d.seconds, d.fraction), valueOf(pair).roundedTo(6)) << pair;
      ++cases;
    }
  }
}

// Whole seconds, less what lo takes away.
TEST(Exact, WritingGoesBelowAWholeSecond) {
  EXPECT_EQ(rounded({1399710615000, -0.0001}, 9).fraction, "9999999");
  Cases cases(ofWhole(10'000));
  std::mt19937_64 random(9);
  for (int i = 0; i < ofWhole(10'000); ++i, ++cases) {
    const double hi =
        1000 * static_cast<double>(static_cast<std::int64_t>(random() % (1ull << 42)));
    const double half = (std::nextafter(hi, INFINITY) - hi) / 2;
    const doubledouble pair{hi, -half * std::uniform_real_distribution<double>(0, 1)(random)};
    const DecimalSeconds d = rounded(pair, 9);
    ASSERT_EQ(millisOf(d.seconds, d.fraction), valueOf(pair).roundedTo(6)) << pair;
  }
}

// Neither the order of the two matters nor whether they overlap.
TEST(Exact, WritingTakesPairsThatAreNotNormalised) {
  Cases cases(9 + ofWhole(10'000));
  const doubledouble rows[] = {{1000, -0.5}, {0, 0.25},      {-0.25, 1000},
                               {0.5, -0.5},  {0.5, -1e-9},   {999, 1.000001},
                               {0.25, 1e12}, {-0.25, -1e15}, {0x1p-60, 0x1p70}};
  for (const doubledouble& pair : rows) {
    const DecimalSeconds d = rounded(pair, 9);
    EXPECT_EQ(millisOf(d.seconds, d.fraction), valueOf(pair).roundedTo(6)) << pair;
    ++cases;
  }
  std::mt19937_64 random(8);
  std::uniform_real_distribution<double> mantissa(-2, 2);
  std::uniform_int_distribution<int> exponent(-70, 70);
  for (int i = 0; i < ofWhole(10'000); ++i, ++cases) {
    const doubledouble pair{std::ldexp(mantissa(random), exponent(random)),
                            std::ldexp(mantissa(random), exponent(random))};
    const DecimalSeconds d = rounded(pair, 9);
    ASSERT_EQ(millisOf(d.seconds, d.fraction), valueOf(pair).roundedTo(6)) << pair;
  }
}

TEST(Exact, WritingAgreesWithRoundingOnPaper) {
  Cases cases(ofWhole(30'000));
  Pairs pairs(5);
  for (int i = 0; i < ofWhole(10'000); ++i) {
    const doubledouble pair = pairs.next();
    for (const std::size_t digits : {9u, 12u, 40u}) {
      const DecimalSeconds d = rounded(pair, digits);
      // Milliseconds have three digits less behind the point.
      ASSERT_EQ(millisOf(d.seconds, d.fraction), valueOf(pair).roundedTo(digits - 3))
          << "case " << i << ": " << pair << " to " << digits;
      ++cases;
    }
  }
}

}  // namespace
}  // namespace plx
