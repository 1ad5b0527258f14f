#include "datetime/datetime_text.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

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
      {"2014-05-10T08:30-00:00", "2014-05-10T08:30:00-00:00", "an offset that nobody knows"},
      {"2014-05-10T08:30-00", "2014-05-10T08:30:00-00:00", "in hours alone"},
      {"2014-05-10T08", "2014-05-10T08:00:00", "hours alone"},
      {"2014-05-10 08-05:30", "2014-05-10 08:00:00-05:30", "and an offset"},
      {"2014-05-10T24", "2014-05-11T00:00:00", "the midnight that ends the day, in hours"},
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

      {"2014-130", "2014-130", "an ordinal date"},
      {"2014-130T08:30Z", "2014-130T08:30:00Z", "with a time"},
      {"2014-001", "2014-001", "the first day of a year"},
      {"2016-366 24:00", "2017-001 00:00:00", "the last one's last moment"},
      {"-0004-366", "-0004-366", "a leap year before year 0"},
      {"+12014-060T08", "+12014-060T08:00:00", "beyond four digits"},

      {"2014-W19-6", "2014-W19-6", "a week date"},
      {"2014-W19-6T08:30:15,25-04", "2014-W19-6T08:30:15,25-04:00", "with a time"},
      {"2009-W53-7", "2009-W53-7", "2010-01-03 lies in the last week of the year before"},
      {"2009-W01-1", "2009-W01-1", "and 2008-12-29 in the first one of the year after"},
      {"2009-W01-1T24:00", "2009-W01-2T00:00:00", "the next day"},
      {"-0044-W11-1", "-0044-W11-1", "before year 0"},
      {"+10000-W01-1", "+10000-W01-1", "beyond four digits"},
      {"9999-W52-5T24:00", "9999-W52-6T00:00:00", "10000-01-01 has a year of four digits here"},

      {"20140510T083015", "20140510T083015", "the basic format"},
      {"20140510t0830", "20140510t083000", "seconds are written here too"},
      {"20140510T08", "20140510T080000", "hours alone"},
      {"20140510T083015.25Z", "20140510T083015.25Z", "a fraction and UTC"},
      {"20140510T083015-0430", "20140510T083015-0430", "an offset"},
      {"20140510T083015-04", "20140510T083015-0400", "in hours alone"},
      {"20140510T083015-04:30", "20140510T083015-0430", "or with a colon"},
      {"20140510T083015-045602", "20140510T083015-045602", "or with seconds"},
      {"20140510T083015-00", "20140510T083015-0000", "or one that nobody knows"},
      {"20120630T235960.5Z", "20120630T235960.5Z", "an inserted second"},
      {"2014130T0830", "2014130T083000", "a basic ordinal date"},
      {"2014W196", "2014W196", "a basic week date alone has a letter"},
      {"2014W196T0830", "2014W196T083000", "and may have a time"},
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
      {"2014-366", "2014 has 365 days"},
      {"2016-367T08:30", "2016 has 366 days"},
      {"2014-000", "2014 has 365 days"},
      {"2014366T08", "2014 has 365 days"},
      {"2014-W53-1", "2014 has 52 weeks"},
      {"2015-W54-1", "2015 has 53 weeks"},
      {"2020-W54-1", "2020 has 53 weeks"},
      {"2014-W00-1", "2014 has 52 weeks"},
      {"2014W531", "2014 has 52 weeks"},
      {"2014-W19-0", "days of the week reach from 1, Monday, to 7"},
      {"2014-W19-8", "days of the week reach from 1, Monday, to 7"},
      {"+99999999999999999999999999-366", "the date lies more than 2^52 days from 1970"},
      {"-99999999999999999999999999-W54-1", "the date lies more than 2^52 days from 1970"},
      {"+12330436978419-W01-1", "the date lies more than 2^52 days from 1970"},
      {"20141301T08", "there is no month 13"},
      {"20140230T08", "February 2014 has 28 days"},
      {"20140510T0860", "there is no minute 60"},
      {"2014-05-10T25", "there is no hour 25"},
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
                           "2014-05",
                           "2014-05-1",
                           "2014-5-10",
                           "014-05-10",
                           "12014-05-10",
                           "+014-05-10",
                           "-44-03-15",
                           "2014/05/10",
                           "10.05.2014",
                           "2014-05-10T",
                           "2014-05-10 ",
                           " 2014-05-10",
                           "2014-05-10T8:30",
                           "2014-05-10T0830",
                           "2014-05-10T083015",
                           "20140510T08:30",
                           "20140510T8",
                           "20140510T083",
                           "20140510T08301",
                           "20140510T0830.5",
                           "20140510T083015.",
                           "20140510 083015",
                           "20140510Z",
                           "20140510T",
                           "+0020140510T0830",
                           "0020140510T0830",
                           "201405T0830",
                           "140510T0830",
                           "2014-0510",
                           "201405-10",
                           "2014-05-10W",
                           "2014-W19",
                           "2014-W196",
                           "2014W19-6",
                           "2014W19",
                           "2014-W1-6",
                           "2014-w19-6",
                           "W19-6",
                           "2014-1300",
                           "2014-13",
                           "2014-130Z",
                           "2014-130T",
                           "2014-W19-6Z",
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
                           "\xEF\xBB\xBF"
                           "2014-05-10",
                           "++2014-05-10",
                           "nonsense"})
    EXPECT_EQ(again(text), "not a datetime") << text;
}

TEST(DatetimeText, ANumberNeedsItsUnit) {
  for (const char* text : {"2014", "20140510", "2014130", "0", "-1", "+5", "1399710615.25", ".5",
                           "5.", "12345678901234567890123456789012345678901234567890"}) {
    Complaint complaint;
    EXPECT_FALSE(readDatetime(text, complaint)) << text;
    EXPECT_EQ(complaint.what, "a number without its unit") << text;
    EXPECT_TRUE(complaint.accepted.starts_with("--from s, ms, us or ns")) << text;
  }
}

TEST(DatetimeText, TheFormThatIsAskedForAndNoOther) {
  const char* const calendar = "2014-05-10T08:30+05:30";
  const char* const ordinal = "2014-130T08:30";
  const char* const week = "2014-W19-6T08:30";
  const char* const rfc3339 = "2014-05-10T08:30:15.25-04:00";
  const char* const rfc9557 = "2014-05-10T08:30:15-04:00[America/New_York]";
  const struct {
    Form form;
    std::vector<const char*> read, refused;
    const char* why;
  } rows[] = {
      {Form::recognised,
       {calendar, ordinal, week, rfc3339, rfc9557},
       {"20140510"},
       "not a datetime"},
      {Form::calendar,
       {calendar, rfc3339, "20140510", "20140510T0830"},
       {ordinal, week, rfc9557, "2014130", "2014W196", "1399710615"},
       "not a calendar date"},
      {Form::ordinal,
       {ordinal, "2014130", "2014130T0830"},
       {calendar, week, rfc3339, rfc9557, "20140510", "20140510T08"},
       "not an ordinal date"},
      {Form::week,
       {week, "2014W196", "2014W196T0830"},
       {calendar, ordinal, rfc3339, rfc9557, "20140510"},
       "not a week date"},
      {Form::rfc3339,
       {rfc3339, "2014-05-10t08:30:15z", "2014-05-10 08:30:60-00:00"},
       {calendar, ordinal, week, rfc9557, "2014-05-10", "2014-05-10T08:30:15",
        "+2014-05-10T08:30:15Z", "2014-05-10T08:30:15,25Z", "2014-05-10T24:00:00Z",
        "2014-05-10T08:30:15+05", "2014-05-10T08:30:15+0530", "2014-05-10T08:30:15+05:30:15",
        "20140510T083015Z", "20140510"},
       "not a datetime of RFC 3339"},
      {Form::rfc9557,
       {rfc3339, rfc9557, "2014-05-10T08:30:15Z[u-ca=gregory]"},
       {calendar, ordinal, week, "2014-05-10T08:30-04:00[America/New_York]",
        "2014-05-10T08:30:15[America/New_York]"},
       "not a datetime of RFC 9557"},
  };
  for (const auto& r : rows) {
    for (const char* text : r.read) {
      Complaint complaint;
      DatetimeText read;
      EXPECT_TRUE(readDatetime(text, r.form, read, complaint)) << text << ": " << complaint.what;
      EXPECT_EQ(complaint.what, "") << text;
      if (r.form != Form::recognised) {
        EXPECT_EQ(read.form, r.form) << text;
      }
    }
    for (const char* text : r.refused) {
      if (r.form == Form::recognised) continue;
      Complaint complaint;
      DatetimeText read;
      EXPECT_FALSE(readDatetime(text, r.form, read, complaint)) << text;
      EXPECT_EQ(complaint.what, r.why) << text;
    }
  }
}

TEST(DatetimeText, Suffixes) {
  const std::string datetime = "2014-05-10T08:30-04:00";
  const struct {
    const char *suffix, *zone, *tags, *why;
  } rows[] = {
      {"[America/New_York]", "America/New_York", "", "a zone"},
      {"[!America/New_York]", "America/New_York", "", "a critical one"},
      {"[+05:30]", "+05:30", "", "an offset"},
      {"[u-ca=gregory]", "", "[u-ca=gregory]", "a tag"},
      {"[UTC][u-ca=hebrew][_x=a-1-B]", "UTC", "[u-ca=hebrew][_x=a-1-B]", "a zone and tags"},
  };
  Complaint complaint;
  for (const auto& r : rows) {
    const std::string text = datetime + r.suffix;
    const auto read = readDatetime(text, complaint);
    ASSERT_TRUE(read) << r.suffix << ": " << complaint.what;
    EXPECT_EQ(read->form, Form::rfc9557) << r.why;
    EXPECT_EQ(read->suffix.zone, r.zone) << r.why;
    EXPECT_EQ(read->suffix.tags, r.tags) << r.why;
    std::string written;
    writeSuffix(written, read->suffix.zone, read->suffix);
    EXPECT_EQ(written, r.suffix) << r.why;
  }
  for (const char* suffix : {"[",
                             "[]",
                             "]",
                             "[!]",
                             "[UTC",
                             "[UTC]]",
                             "[UTC]x",
                             " [UTC]",
                             "[UTC][UTC]",
                             "[u-ca=a][UTC]",
                             "[u-ca=]",
                             "[=a]",
                             "[u=a=b]",
                             "[U=a]",
                             "[u=-a]",
                             "[u=a-]",
                             "[u=a--b]",
                             "[u=a_b]",
                             "[America/New York]",
                             "[Europe/Z\xC3\xBCrich]",
                             "[1u=a]"})
    EXPECT_EQ(again(datetime + suffix), "not a datetime") << suffix;
  using namespace std::string_literals;
  EXPECT_EQ(again(datetime + "[America/New_York\0]"s), "not a datetime");
  for (const char* date : {"2014-05-10", "2014-130T08:30Z", "2014-W19-6T08:30Z", "20140510T0830Z"})
    EXPECT_EQ(again(std::string(date) + "[UTC]"), "not a datetime") << date;
  EXPECT_EQ(again(datetime + "[!u-ca=hebrew]"), "the critical tag u-ca=hebrew has no meaning here");
  EXPECT_EQ(again(datetime + "[UTC][!u-ca=gregory]"),
            "the critical tag u-ca=gregory has no meaning here");
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

// Weeks by the standard library: counted from the Monday of the week that has 4 January.
TEST(DatetimeText, WeeksAndDaysOfTheYearAreThoseOfTheStandardLibrary) {
  using namespace std::chrono;
  Cases cases(146'097 * 2);
  for (sys_days day = sys_days(year(1600) / 1 / 1); day < sys_days(year(2400) / 1 / 1);
       day += days(1), ++cases) {
    const weekday ofWeek(day);
    year y = year_month_day(day + days(4 - static_cast<int>(ofWeek.iso_encoding()))).year();
    const sys_days fourth(y / 1 / 4);
    const sys_days monday = fourth - days(weekday(fourth).iso_encoding() - 1);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-W%02d-%u", static_cast<int>(y),
                  static_cast<int>((day - monday).count() / 7 + 1), ofWeek.iso_encoding());
    Complaint complaint;
    auto read = readDatetime(text, complaint);
    ASSERT_TRUE(read) << text;
    ASSERT_EQ(read->day, day.time_since_epoch().count()) << text;
    ASSERT_EQ(again(text), text);

    y = year_month_day(day).year();
    std::snprintf(text, sizeof text, "%04d-%03d", static_cast<int>(y),
                  static_cast<int>((day - sys_days(y / 1 / 1)).count() + 1));
    read = readDatetime(text, complaint);
    ASSERT_TRUE(read) << text;
    ASSERT_EQ(read->day, day.time_since_epoch().count()) << text;
    ASSERT_EQ(again(text), text);
  }
}

TEST(DatetimeText, RoundTripsFarAway) {
  Cases cases(100'000);
  std::mt19937_64 random(2);
  std::uniform_int_distribution<std::int64_t> days(-kMaxDays, kMaxDays);
  DatetimeText date;
  std::string text;
  Complaint complaint;
  constexpr Form kForms[] = {Form::calendar, Form::ordinal, Form::week};
  for (int i = 0; i < 100'000; ++i, ++cases) {
    date.form = kForms[i % 3];
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
  for (const char* text : {"2014-02-30", "-0044-13-01", "+12024-1", "2014-5", "2014-W54-1",
                           "2014W196", "20141301T08", "2014130T0830", "2014-400"})
    EXPECT_TRUE(looksLikeDatetime(text)) << text;
  for (const char* text : {"", "-", "log.txt", "2014.txt", "2014-", "2014-log", "-x", "20140510",
                           "20140510.txt", "2014Work", "5T1", "2014-W", "20140510Tx"})
    EXPECT_FALSE(looksLikeDatetime(text)) << text;
}

}  // namespace
}  // namespace plx
