#include "elements/elements.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "datetime/exact.h"
#include "elements/time_scale.h"
#include "support/bits.h"
#include "support/cases.h"
#include "support/random.h"
#include "tools/support/npy_bytes.h"

namespace plx {
namespace {

ElementType typeOf(const char* text) {
  Complaint complaint;
  const auto type = readElementType(text, complaint);
  EXPECT_TRUE(type) << text;
  return *type;
}

TEST(NpyElements, TypesThatAreNone) {
  Cases cases(7);
  for (const char* text :
       {"", "<f3", "<M8[]", "<M8[0s]", "<M8[-1s]", "<M8[99999999999s]", "<M8[x]"}) {
    Complaint complaint;
    EXPECT_FALSE(readElementType(text, complaint)) << text;
    EXPECT_NE(complaint.what, "") << text;
    ++cases;
  }
}

constexpr const char* kTypes[] = {
    "<c16",    ">c16",    "<f8",     ">f8",     "<M8[ms]",  ">M8[ms]",   "<M8[s]",  ">M8[25s]",
    "<M8[us]", ">M8[us]", "<M8[ns]", ">M8[ns]", "<M8[D]",   ">M8[W]",    "<M8[m]",  "<M8[Y]",
    ">M8[M]",  "<M8[ps]", ">M8[fs]", "<M8[as]", "<M8[7us]", ">M8[99ns]", "<M8[3M]", "<M8[60m]",
};

// What a chunk is made of: what people have, or anything.
enum class Mix { ordinary, ordinaryWithNaN, anything };

std::string chunk(const ElementType& type, std::size_t count, Mix mix, Random& random) {
  const std::size_t swap = type.isSwapped() ? 8 : 0;
  if (type.kind == ElementType::Kind::datetime64) {
    const TimeScale scale(type.unit, type.multiple);
    std::vector<std::int64_t> counts(count);
    for (auto& c : counts) {
      c = scale.millisPerCount() > 0
              ? random.whole(-1, 1) * 10'000'000'000'000 / scale.millisPerCount()
              : random.whole(-1'000, 1'000);
      if (scale.partsPerMilli() > 1)
        c = random.whole(-9'000'000'000'000'000, 9'000'000'000'000'000);
      else if (scale.millisPerCount() > 0 && c != 0)
        c = random.whole(-std::abs(c), std::abs(c));
      if (mix != Mix::ordinary && random.oneIn(9)) c = kNaT;
      if (mix == Mix::anything && random.oneIn(3))
        c = random.whole(kNaT, std::numeric_limits<std::int64_t>::max()) >> random.whole(0, 40);
    }
    return bytesOf(counts, swap);
  }
  std::vector<double> numbers(type.bytes / 8 * count);
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const bool isLow = type.bytes == 16 && i % 2 == 1;
    numbers[i] = std::floor(random.real(-1e13, 1e13));
    if (isLow) numbers[i] = random.oneIn(2) ? 0.0 : random.real(-1e-5, 1e-5);
    if (mix != Mix::ordinary && !isLow && random.oneIn(9)) numbers[i] = kNan;
    if (mix == Mix::anything && random.oneIn(3))
      numbers[i] = random.oneIn(2) ? random.anyBits()
                                   : kAwkwardDoubles[static_cast<std::size_t>(
                                         random.whole(0, std::ssize(kAwkwardDoubles) - 1))];
  }
  return bytesOf(numbers, swap);
}

// The loops over chunks and the conversions one by one are two ways to one result: wherever a loop
// says that it holds, each element says the same, to the bit.
TEST(NpyElements, LoopsAgreeWithOneByOne) {
  Cases read(200'000), written(100'000), loops(20'000);
  Random random(1);
  for (int round = 0; round < 2'000; ++round) {
    for (const char* text : kTypes) {
      const ElementType type = typeOf(text);
      const bool keepsParts = random.oneIn(2);
      const auto elements = DatetimeElements::of(type, keepsParts);
      const std::size_t count = static_cast<std::size_t>(random.whole(0, 21));
      const std::string bytes = chunk(type, count, static_cast<Mix>(round % 3), random);
      std::vector<double> high(count), low(count);
      if (!elements->read(bytes.data(), count, high.data(), low.data())) continue;
      ++loops;
      std::vector<double> resultHigh(count), resultLow(count);
      for (std::size_t i = 0; i < count; ++i, ++read) {
        doubledouble one{};
        ASSERT_FALSE(elements->readOne(bytes.data() + i * type.bytes, one)) << text << ' ' << i;
        ASSERT_SAME_BITS(one.hi, high[i]) << text << ' ' << i;
        if (elements->hasLow() && !std::isnan(one.hi)) {
          ASSERT_SAME_BITS(one.lo, low[i]) << text << ' ' << i;
        } else if (!elements->hasLow()) {
          ASSERT_EQ(one.lo, 0) << text << ' ' << i;
        }
        // A result as the module might give it; days keep all units but years and months whole.
        resultHigh[i] = high[i] + std::floor(random.real(-1e4, 1e4)) * 604'800'000;
        if (round % 5 == 1 && random.oneIn(10)) resultHigh[i] += random.real(-9, 9);
        if (round % 5 == 2 && random.oneIn(10)) resultHigh[i] = random.anyBits();
        resultLow[i] = elements->hasLow() || (round % 5 == 3 && random.oneIn(10)) ? 1e-5 : 0.0;
        if (std::isnan(high[i])) resultHigh[i] = kNan, resultLow[i] = 0;
      }
      std::string all(bytes.size(), '?'), one(bytes.size(), '!');
      if (!elements->write({bytes.data(), high.data(), resultHigh.data(), resultLow.data(), count},
                           all.data()))
        continue;
      for (std::size_t i = 0; i < count; ++i, ++written) {
        const Slack slack{0, std::isnan(high[i])};
        const auto wrong =
            elements->writeOne(bytes.data() + i * type.bytes, {resultHigh[i], resultLow[i]}, slack,
                               one.data() + i * type.bytes);
        ASSERT_FALSE(wrong) << text << ' ' << i << ": " << wrong->what;
      }
      ASSERT_EQ(all, one) << text << " keeps parts: " << keepsParts;
    }
  }
}

// Or the loops would hold for nothing.
TEST(NpyElements, LoopsHoldForOrdinaryDatetimes) {
  Cases cases(13);
  Random random(2);
  for (const char* text : kTypes) {
    const ElementType type = typeOf(text);
    const bool isOneByOne = type.kind == ElementType::Kind::datetime64 &&
                            (type.unit <= TimeUnit::M || type.unit >= TimeUnit::ps ||
                             (type.unit >= TimeUnit::us && type.multiple > 1));
    if (isOneByOne) continue;
    for (const bool keepsParts : {false, true}) {
      const auto elements = DatetimeElements::of(type, keepsParts);
      const std::string bytes = chunk(type, 1'000, Mix::ordinaryWithNaN, random);
      std::vector<double> high(1'000), low(1'000);
      ASSERT_TRUE(elements->read(bytes.data(), 1'000, high.data(), low.data())) << text;
      std::string out(bytes.size(), '?');
      EXPECT_TRUE(
          elements->write({bytes.data(), high.data(), high.data(), low.data(), 1'000}, out.data()))
          << text;
      if (keepsParts) {
        EXPECT_TRUE(out == bytes || type.bytes == 16) << text;  // NaN clears its low part
      }
    }
    ++cases;
  }
}

TEST(NpyElements, WhereTheLoopsEnd) {
  const struct {
    const char* type;
    std::int64_t count;
    bool holds;
    const char* why;
  } rows[] = {
      {"<M8[ms]", std::int64_t{1} << 50, true, "2^50 ms"},
      {"<M8[ms]", (std::int64_t{1} << 50) + 1, false, "and one more"},
      {"<M8[ms]", -(std::int64_t{1} << 50), true, "as far before 1970"},
      {"<M8[ms]", -(std::int64_t{1} << 50) - 1, false, "and one more"},
      {"<M8[us]", 1'125'899'906'842'624'000, true, "2^50 ms"},
      {"<M8[us]", 1'125'899'906'842'625'000, false, "and one more"},
      {"<M8[us]", 1'125'899'906'842'623'999, true, "and one us less"},
      {"<M8[us]", -1, true, "the floored millisecond is -1"},
      {"<M8[us]", -1000, true, "and so it is here"},
      {"<M8[us]", -1001, true, "and here it is -2"},
      {"<M8[ns]", 9'223'372'036'852'999'999, true, "almost all that 64 bits hold"},
      {"<M8[ns]", 9'223'372'036'854'775'807, false, "the rest is done one by one"},
      {"<M8[ns]", -9'223'372'036'854'775'807, false, "and so before 1970"},
      {"<M8[ns]", -9'223'372'036'853'000'001, true, "but this is not"},
      {"<M8[ns]", kNaT, true, "no time"},
  };
  for (const auto& r : rows) {
    const ElementType type = typeOf(r.type);
    const auto elements = DatetimeElements::of(type, true);
    const std::string bytes = bytesOf(std::vector<std::int64_t>{r.count});
    double high = 0;
    const bool holds = elements->read(bytes.data(), 1, &high, nullptr);
    EXPECT_EQ(holds, r.holds) << r.type << ' ' << r.count << ": " << r.why;
    doubledouble one{};
    ASSERT_FALSE(elements->readOne(bytes.data(), one)) << r.why;
    if (holds) {
      EXPECT_SAME_BITS(high, one.hi) << r.type << ' ' << r.count << ": " << r.why;
    }
    std::string out(8, '?');
    ASSERT_FALSE(elements->writeOne(bytes.data(), one, {0, std::isnan(one.hi)}, out.data()));
    EXPECT_EQ(out, bytes) << r.type << ' ' << r.count;
  }
}

TEST(NpyElements, NumbersOfEveryType) {
  Cases cases(20);
  const auto check = [&](const char* text, const std::string& bytes, double number) {
    double read = 0;
    EXPECT_EQ(readNumbers(typeOf(text), bytes.data(), 1, &read), 1u) << text;
    EXPECT_SAME_BITS(read, number) << text;
    ++cases;
  };
  for (const bool isBig : {false, true}) {
    const auto type = [&](const char* name) { return std::string(isBig ? ">" : "<") + name; };
    const auto bytes = [&](auto x) { return bytesOf(std::vector{x}, isBig ? sizeof x : 0); };
    check(type("f8").c_str(), bytes(-0.1), -0.1);
    check(type("f4").c_str(), bytes(0.5f), 0.5);
    check(type("i8").c_str(), bytes(std::int64_t{-(1LL << 53)}), -0x1p53);
    check(type("i4").c_str(), bytes(std::int32_t{-2'000'000'000}), -2e9);
    check(type("i2").c_str(), bytes(std::int16_t{-32768}), -32768);
    check(type("u8").c_str(), bytes(std::uint64_t{1ULL << 53}), 0x1p53);
    check(type("u4").c_str(), bytes(std::uint32_t{4'000'000'000}), 4e9);
    check(type("u2").c_str(), bytes(std::uint16_t{65535}), 65535);
  }
  check("|i1", "\x80", -128);
  check("|u1", "\x80", 128);
  check("i1", "\xFF", -1);
  check("u1", "\xFF", 255);

  double numbers[3];
  const std::vector<std::int64_t> signedOnes = {5, (1LL << 53) + 1, 6};
  EXPECT_EQ(readNumbers(typeOf("<i8"), bytesOf(signedOnes).data(), 3, numbers), 1u);
  const std::vector<std::int64_t> least = {5, 6, std::numeric_limits<std::int64_t>::min()};
  EXPECT_EQ(readNumbers(typeOf("<i8"), bytesOf(least).data(), 3, numbers), 2u);
  const std::vector<std::uint64_t> unsignedOnes = {~0ULL};
  EXPECT_EQ(readNumbers(typeOf("<u8"), bytesOf(unsignedOnes).data(), 1, numbers), 0u);
}

}  // namespace
}  // namespace plx
