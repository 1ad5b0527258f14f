#include "datetime/number_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "support/bits.h"
#include "support/cases.h"
#include "tools/support/decimal_strings.h"

namespace plx {
namespace {

constexpr Form kCounts[] = {Form::seconds, Form::milliseconds, Form::microseconds,
                            Form::nanoseconds};

TEST(Count, ReadsWhatItSays) {
  const struct {
    Form form;
    const char* text;
    doubledouble pair;
    const char* why;
  } rows[] = {
      {Form::seconds, "1399710615.25", {1399710615250, 0}, "a fraction"},
      {Form::milliseconds, "1399710615250", {1399710615250, 0}, "milliseconds are the pair's own"},
      {Form::microseconds, "1399710615250000", {1399710615250, 0}, "microseconds"},
      {Form::nanoseconds, "1399710615250000000", {1399710615250, 0}, "nanoseconds"},
      {Form::seconds, "-0.25", {-250, 0}, "before 1970"},
      {Form::milliseconds, "-1.5", {-1.5, 0}, "a fraction before 1970"},
      {Form::seconds, "+5", {5000, 0}, "a plus"},
      {Form::seconds, ".5", {500, 0}, "no digit before the point"},
      {Form::seconds, "5.", {5000, 0}, "none behind it"},
      {Form::seconds, "000000000000000000000000000000000000000005", {5000, 0}, "zeros in front"},
      {Form::nanoseconds, "500000", {0.5, 0}, "half a millisecond"},
      {Form::seconds, "-0", {0, 0}, "no negative zero"},
      {Form::nanoseconds, "-0.000", {0, 0}, "in no spelling"},
  };
  Complaint complaint;
  for (const auto& r : rows) {
    const auto read = readCount(r.text, r.form, complaint);
    ASSERT_TRUE(read) << r.text << ": " << complaint.what;
    EXPECT_SAME_BITS(read->pair, r.pair) << r.why;
    EXPECT_EQ(complaint.what, "") << r.why;
  }
}

TEST(Count, RefusesWhatIsNone) {
  Complaint complaint;
  for (const char* text :
       {"",    "-",    "+",   ".",          "-.",          "1e3",     "1E3",  "0x10",
        "1,5", "1 ",   " 1",  "1_000",      "--1",         "+-1",     "1.5.", "1..5",
        "inf", "-nan", "12x", "2014-05-10", "1399710615s", "\xD9\xA5"}) {
    EXPECT_FALSE(readCount(text, Form::seconds, complaint)) << text;
    EXPECT_EQ(complaint.what, "not a number") << text;
    EXPECT_EQ(complaint.accepted, "a decimal number without an exponent, as in 1399710615.25");
  }
  for (const char* text : {"389107668898267939", "99999999999999999999999999999999999999999999",
                           "-99999999999999999999999999999999999999999999"}) {
    const bool isNear = *text == '3';
    EXPECT_EQ(readCount(text, Form::seconds, complaint).has_value(), isNear) << text;
    EXPECT_EQ(complaint.what, isNear ? "" : "out of range") << text;
  }
}

// A random number of any length as people and programs write them.
std::string randomCount(std::mt19937_64& random) {
  std::string text = random() % 2 ? "-" : "";
  const std::size_t whole = 1 + random() % 17;
  for (std::size_t i = 0; i < whole; ++i) text += static_cast<char>('0' + random() % 10);
  const std::size_t behind = random() % 10 == 0 ? random() % 1200 : random() % 25;
  if (behind > 0) text += '.';
  for (std::size_t i = 0; i < behind; ++i)
    text += static_cast<char>('0' + (random() % 3 ? random() % 10 : 0));
  return text;
}

// The same number of milliseconds.
LongDecimal millisOf(std::string text, Form form) {
  const bool negative = text.front() == '-';
  if (negative) text.erase(0, 1);
  std::size_t point = std::min(text.find('.'), text.size());
  if (point == text.size()) text += '.';
  text.insert(0, 10, '0').append(10, '0');
  point += 10;
  text.erase(point, 1);
  text.insert(point + 3 - digitsOfUnit(form), 1, '.');
  const LongDecimal millis(text);
  return negative ? -millis : millis;
}

TEST(Count, ReadingAgreesWithSumsOnPaper) {
  Cases cases(20'000);
  std::mt19937_64 random(1);
  Complaint complaint;
  for (int i = 0; i < 20'000; ++i, ++cases) {
    const std::string text = randomCount(random);
    const Form form = kCounts[i % 4];
    const auto read = readCount(text, form, complaint);
    ASSERT_TRUE(read) << text;
    const LongDecimal millis = millisOf(text, form);
    ASSERT_EQ(read->pair.hi, millis.nearestDouble()) << text;
    ASSERT_EQ(read->pair.lo, (millis - LongDecimal(read->pair.hi)).nearestDouble()) << text;
    const LongDecimal floored(std::to_string(static_cast<std::int64_t>(read->second)) + "000");
    ASSERT_FALSE((millis - floored).text().starts_with('-') && !(millis == floored)) << text;
    ASSERT_TRUE((millis - floored - LongDecimal("1000")).text().starts_with('-')) << text;
  }
}

TEST(Count, WritesTheNumberOfASecondAndItsFraction) {
  const struct {
    std::int64_t seconds;
    const char* fraction;
    Form form;
    const char* text;
  } rows[] = {
      {1399710615, "25", Form::seconds, "1399710615.25"},
      {1399710615, "25", Form::milliseconds, "1399710615250"},
      {1399710615, "0255", Form::milliseconds, "1399710615025.5"},
      {1399710615, "", Form::nanoseconds, "1399710615000000000"},
      {1399710615, "0000000001", Form::nanoseconds, "1399710615000000000.1"},
      {0, "", Form::seconds, "0"},
      {0, "0001", Form::milliseconds, "0.1"},
      {-1, "75", Form::seconds, "-0.25"},
      {-1, "75", Form::milliseconds, "-250"},
      {-1, "9999", Form::milliseconds, "-0.1"},
      {-2, "", Form::seconds, "-2"},
      {-2, "000000001", Form::nanoseconds, "-1999999999"},
      {-1, "9999999999", Form::nanoseconds, "-0.1"},
      {389107668898267939, "123456789", Form::nanoseconds, "389107668898267939123456789"},
      {-389107668898267939, "5", Form::microseconds, "-389107668898267938500000"},
  };
  for (const auto& r : rows) {
    std::string out;
    writeCount(out, r.form, {r.seconds, r.fraction});
    EXPECT_EQ(out, r.text);
  }
}

TEST(Pair, ReadsAndWritesDoubles) {
  const struct {
    const char *text, *written, *why;
  } rows[] = {
      {"1399710615250,0", "1399710615250,0", "whole milliseconds"},
      {"1399710615250.0,0.0", "1399710615250,0", "with a point"},
      {"1.39971061525e12,-0e0", "1399710615250,0", "with an exponent"},
      {"0.1,1e-20", "0.1,1e-20", "a low part"},
      {"+0.1,+1e-20", "0.1,1e-20", "a plus"},
      {"5e-324,0", "5e-324,0", "the smallest double"},
      {"1,1", "2,0", "normalised: the high part is the nearest double"},
      {"1e-20,1", "1,1e-20", "whatever the order"},
  };
  for (const auto& r : rows) {
    Complaint complaint;
    const auto pair = readPair(r.text, complaint);
    ASSERT_TRUE(pair) << r.text;
    std::string out;
    writePair(out, *pair);
    EXPECT_EQ(out, r.written) << r.why;
    EXPECT_EQ(complaint.what, "");
  }
  for (const char* text : {"", "1", "1,", ",1", "1,2,3", "1;2", "1, 2", "inf,0", "0,inf", "1e999,0",
                           "1,1e-400", "0,1e999", "0x1p3,0", "a,b"}) {
    Complaint complaint;
    EXPECT_FALSE(readPair(text, complaint)) << text;
    EXPECT_EQ(complaint.what, "not a pair of numbers") << text;
  }
}

TEST(Missing, InAnyLetterCase) {
  for (const char* text : {"", "NaN", "nan", "NAN", "NaT", "nat", "NA", "na", "Na"})
    EXPECT_TRUE(isMissing(text)) << text;
  for (const char* text : {" ", "N", "n", "NaNs", "N/A", "null", "None", "-", "-nan", "0", "nax"})
    EXPECT_FALSE(isMissing(text)) << text;
  for (const char* text : {",", "NaN,NaN", "nan,0", "NaT,", "NA,-1e-3"})
    EXPECT_TRUE(isMissingPair(text)) << text;
  for (const char* text : {"", "NaN", "0,NaN", "NaN,x", ",,", "NaN,0,0"})
    EXPECT_FALSE(isMissingPair(text)) << text;
}

}  // namespace
}  // namespace plx
