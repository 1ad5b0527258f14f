#include "datetime/datetime_text.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <random>
#include <string>

#include "support/cases.h"

namespace plx {
namespace {

// Read and written again as it came.
std::string again(const std::string& text) {
  Complaint complaint;
  const auto read = readDatetime(text, complaint);
  if (!read) return complaint.what;
  std::string out;
  const WallTime wall{int128{read->day} * 86400 + read->secondOfDay, read->insertedSecond,
                      read->offset, read->offsetSeconds};
  writeDatetime(out, *read, wall, read->fraction);
  return out;
}

TEST(DatetimeText, ComesOutInTheFormItCameIn) {
  const struct {
    const char *text, *written, *why;
  } rows[] = {
      {"2014-05-10", "2014-05-10", "a date alone"},
      {"2014-05-10T08:30", "2014-05-10T08:30:00", "seconds are always written"},
      {"2014-05-10T08:30:15", "2014-05-10T08:30:15", "no fraction"},
      {"2014-05-10t08:30:15.25", "2014-05-10t08:30:15.25", "the small t"},
      {"2014-05-10 08:30:15.25", "2014-05-10 08:30:15.25", "one space"},
      {"2014-05-10 08:30:15,25", "2014-05-10 08:30:15,25", "the decimal comma"},
      {"2014-05-10T00:00", "2014-05-10T00:00:00", "midnight written out stays so"},
      {"2014-05-10T24:00", "2014-05-11T00:00:00", "the midnight that ends the day"},
      {"2014-12-31T24:00:00.00", "2015-01-01T00:00:00.00", "and the year"},
      {"2014-05-10T08:30Z", "2014-05-10T08:30:00Z", "UTC"},
      {"2014-05-10T08:30z", "2014-05-10T08:30:00Z", "the small z"},
      {"2014-05-10T08:30+05:30", "2014-05-10T08:30:00+05:30", "an offset"},
      {"2014-05-10T08:30-0800", "2014-05-10T08:30:00-08:00", "without a colon"},
      {"2014-05-10T08:30+02", "2014-05-10T08:30:00+02:00", "hours alone"},
      {"2014-05-10T08:30-00:00", "2014-05-10T08:30:00+00:00", "an offset of zero has one sign"},
      {"1890-05-10T08:30-04:56:02", "1890-05-10T08:30:00-04:56:02", "local mean time"},
      {"2014-05-10T08:30-23:59:59", "2014-05-10T08:30:00-23:59:59", "the largest offset"},
      {"2012-06-30T23:59:60.5Z", "2012-06-30T23:59:60.5Z", "an inserted second"},
      {"-0044-03-15", "-0044-03-15", "before year 0"},
      {"+12024-01-01", "+12024-01-01", "beyond four digits"},
      {"+2014-05-10", "2014-05-10", "a sign that is not needed"},
      {"-0000-01-01", "0000-01-01", "year 0 has no sign"},
      {"+000002014-05-10", "2014-05-10", "zeros in front of a signed year"},
      {"0000-02-29", "0000-02-29", "year 0 is a leap year"},
      {"9999-12-31", "9999-12-31", "the last of four digits"},
      {"+12330436978418-01-01", "+12330436978418-01-01", "nearly 2^52 days from 1970"},
  };
  for (const auto& r : rows) EXPECT_EQ(again(r.text), r.written) << r.why;
}

TEST(DatetimeText, SaysWhatIsWrong) {
  const struct {
    const char *text, *why;
  } rows[] = {
      {"2014-02-30", "February 2014 has 28 days"},
      {"2012-02-30", "February 2012 has 29 days"},
      {"1900-02-29", "February 1900 has 28 days"},
      {"-0045-04-31", "April -45 has 30 days"},
      {"2014-01-00", "January 2014 has 31 days"},
      {"2014-13-01", "there is no month 13"},
      {"2014-00-01", "there is no month 0"},
      {"2014-05-10T25:00", "there is no hour 25"},
      {"2014-05-10T08:60", "there is no minute 60"},
      {"2014-05-10T08:30:61", "there is no second 61"},
      {"2014-05-10T24:00:01", "24:00 is the last moment of a day"},
      {"2014-05-10T24:01", "24:00 is the last moment of a day"},
      {"2014-05-10T24:00:00.001", "24:00 is the last moment of a day"},
      {"2014-05-10T08:30+24:00", "an offset from UTC reaches from -23:59:59 to +23:59:59"},
      {"2014-05-10T08:30+05:60", "an offset from UTC reaches from -23:59:59 to +23:59:59"},
      {"+12330436978419-01-01", "the date lies more than 2^52 days from 1970"},
      {"-99999999999999999999999999-01-01", "the date lies more than 2^52 days from 1970"},
      {"+99999999999999999999999999-02-30", "the date lies more than 2^52 days from 1970"},
      {"+99999999999999-02-30", "February 99999999999999 has 28 days"},
  };
  for (const auto& r : rows) EXPECT_EQ(again(r.text), r.why) << r.text;
}

TEST(DatetimeText, SaysWhatWouldBeRight) {
  const struct {
    const char* text;
    std::string_view accepted;
  } rows[] = {
      {"nonsense", kAcceptedDatetimes},
      {"2014-02-30", kAcceptedDatetimes},
      {"+12330436978419-01-01", kAcceptedRange},
      {"+99999999999999999999-02-30", kAcceptedRange},
  };
  for (const auto& r : rows) {
    Complaint complaint;
    EXPECT_FALSE(readDatetime(r.text, complaint)) << r.text;
    EXPECT_EQ(complaint.accepted, r.accepted) << r.text;
  }
}

TEST(DatetimeText, RefusesWhatIsNoDatetime) {
  for (const char* text : {"",
                           " ",
                           "-",
                           "+",
                           "2014",
                           "2014-05",
                           "2014-05-1",
                           "2014-5-10",
                           "014-05-10",
                           "12014-05-10",
                           "+014-05-10",
                           "-44-03-15",
                           "2014/05/10",
                           "20140510",
                           "10.05.2014",
                           "2014-05-10T",
                           "2014-05-10 ",
                           " 2014-05-10",
                           "2014-05-10T08",
                           "2014-05-10T8:30",
                           "2014-05-10T08:3",
                           "2014-05-10T08:30:",
                           "2014-05-10T08:30:5",
                           "2014-05-10T08:30:15.",
                           "2014-05-10T08:30:15.2x",
                           "2014-05-10T08:30.5",
                           "2014-05-10  08:30",
                           "2014-05-10T08:30 Z",
                           "2014-05-10T08:30ZZ",
                           "2014-05-10T08:30+",
                           "2014-05-10T08:30+5",
                           "2014-05-10T08:30+5:30",
                           "2014-05-10T08:30+053",
                           "2014-05-10T08:30+05:3",
                           "2014-05-10T08:30+053015",
                           "2014-05-10T08:30+05:30:",
                           "2014-05-10T08:30+05:30:1",
                           "2014-05-10Z",
                           "2014-05-10+05:30",
                           "2014-05-10T08:30\n",
                           "2014-W19-6",
                           "2014-130",
                           "\xEF\xBB\xBF"
                           "2014-05-10",
                           "++2014-05-10",
                           "nonsense"})
    EXPECT_EQ(again(text), "not a datetime") << text;
}

TEST(DatetimeText, EveryPrefixAndEveryChangedByteIsRefusedOrRead) {
  Cases cases(20'000);
  const std::string whole = "-12014-05-10T08:30:15.25+05:30:15";
  std::mt19937_64 random(1);
  Complaint complaint;
  for (std::size_t n = 0; n <= whole.size(); ++n, ++cases) {
    const bool good = readDatetime(whole.substr(0, n), complaint).has_value();
    EXPECT_EQ(good, complaint.what.empty()) << whole.substr(0, n);
  }
  for (int i = 0; i < 20'000; ++i, ++cases) {
    std::string text = whole.substr(random() % 3, random() % 40);
    if (!text.empty()) text[random() % text.size()] = static_cast<char>(random());
    const auto read = readDatetime(text, complaint);
    ASSERT_EQ(read.has_value(), complaint.what.empty()) << text;
    // What was read reads the same again once written.
    if (read) {
      ASSERT_EQ(again(again(text)), again(text)) << text;
    }
  }
}

TEST(DatetimeText, DaysAreThoseOfTheStandardLibrary) {
  using namespace std::chrono;
  Cases cases(146'097 * 2);
  Complaint complaint;
  for (sys_days day = sys_days(year(1600) / 1 / 1); day < sys_days(year(2400) / 1 / 1);
       day += days(1), ++cases) {
    const year_month_day ymd(day);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(ymd.year()),
                  static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()));
    const auto read = readDatetime(text, complaint);
    ASSERT_TRUE(read) << text;
    ASSERT_EQ(read->day, day.time_since_epoch().count()) << text;
    ASSERT_EQ(again(text), text);
  }
}

TEST(DatetimeText, RoundTripsFarAway) {
  Cases cases(100'000);
  std::mt19937_64 random(2);
  std::uniform_int_distribution<std::int64_t> days(-kMaxDays, kMaxDays);
  const DatetimeText date;
  std::string text;
  Complaint complaint;
  for (int i = 0; i < 100'000; ++i, ++cases) {
    const std::int64_t day = days(random);
    text.clear();
    writeDatetime(text, date, {int128{day} * 86400}, "");
    const auto read = readDatetime(text, complaint);
    ASSERT_TRUE(read) << text << ": " << complaint.what;
    ASSERT_EQ(read->day, day) << text;
  }
}

TEST(DatetimeText, TheFirstAndTheLastDay) {
  std::string text;
  writeDatetime(text, {}, {kMaxSeconds}, "");
  EXPECT_EQ(again(text), text);
  std::string before;
  writeDatetime(before, {}, {-kMaxSeconds}, "");
  EXPECT_EQ(again(before), before);
  EXPECT_EQ(text + " " + before, "+12330436978418-07-07 -12330436974479-06-28");
}

TEST(DatetimeText, ADateAloneGrowsATimeOfDay) {
  std::string out;
  Complaint complaint;
  const auto date = readDatetime("2014-05-10", complaint);
  ASSERT_TRUE(date);
  writeDatetime(out, *date, {int128{date->day} * 86400 + 3600}, "");
  EXPECT_EQ(out, "2014-05-10T01:00:00");
  out.clear();
  writeDatetime(out, *date, {int128{date->day} * 86400}, "5");
  EXPECT_EQ(out, "2014-05-10T00:00:00.5");
}

TEST(LooksLikeDatetime, DigitsAndADash) {
  for (const char* text : {"2014-02-30", "-0044-13-01", "+12024-1", "2014-5"})
    EXPECT_TRUE(looksLikeDatetime(text)) << text;
  for (const char* text : {"", "-", "log.txt", "2014.txt", "2014-", "2014-log", "-x"})
    EXPECT_FALSE(looksLikeDatetime(text)) << text;
}

}  // namespace
}  // namespace plx
