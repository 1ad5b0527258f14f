// The program as people use it: what it prints, what it says when something is wrong, and how it
// ends.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/built.h"
#include "support/cases.h"
#include "tools/support/npy_bytes.h"
#include "tools/support/run_plx.h"
#include "tools/support/zone_files.h"

namespace {

using testing::Test;

// Everything on one line of standard error.
bool isOneLine(const std::string& message) {
  return !message.empty() && message.find('\n') == message.size() - 1;
}

TEST(Plx, SetsOneDatetime) {
  const struct {
    const char *command, *printed, *why;
  } rows[] = {
      {"set month 13 2014-05-10T08:30", "2015-01-10T08:30:00", "carried into the next year"},
      {"set month 13 2014-05-10T08:30:15.25", "2015-01-10T08:30:15.25", "the fraction stays"},
      {"set hour 2 2014-03-09T12:50 --zone America/New_York", "2014-03-09T03:50:00-04:00",
       "02:50 was skipped"},
      {"set second 30.5 --zone UTCLeapSeconds 2012-06-30T23:59:60.5", "2012-06-30T23:59:30.5Z",
       "an inserted second"},
      {"set day 0 2014-05-10", "2014-04-30", "a date stays one"},
      {"set hour 1 2014-05-10", "2014-05-10T01:00:00", "or grows a time of day"},
      {"set day-of-week 0 --zone Europe/Paris 2014-05-10", "2014-05-10", "a date in a zone"},
      {"set second 30.1 2014-05-10T08:30", "2014-05-10T08:30:30.1", "30.1 and no more digits"},
      {"set second 59.9999999999 2014-05-10T08:30 --digits 3", "2014-05-10T08:30:59.999",
       "digits that are cut are not rounded up before"},
      {"set second 30.1 2014-05-10T08:30 --exact", "2014-05-10T08:30:30.1",
       "30.1 seconds are 30100 milliseconds exactly"},
      {"set second 0.0001 2014-05-10T08:30 --exact", "2014-05-10T08:30:00.00010000000000000000555",
       "the tenth of a millisecond is a double"},
      {"set day 11 2014-05-10T08:30:15.1234567890123456", "2014-05-11T08:30:15.1234567890123456",
       "as many digits as came in"},
      {"set day 11 2014-05-10T08:30:15,1234567895", "2014-05-11T08:30:15,1234567895",
       "the decimal comma stays"},
      {"set day 11 2014-05-10t08:30z", "2014-05-11t08:30:00Z", "t stays, z is Z"},
      {"set hour 1 2014-05-10T08:30+05:30", "2014-05-10T01:30:00+05:30",
       "its own offset is its zone"},
      {"set hour 1 2014-05-10T08:30[-04:30]", "2014-05-10T01:30:00-04:30[-04:30]",
       "or one in brackets"},
      {"set hour 1 2014-05-10T08:30+00:00", "2014-05-10T01:30:00+00:00", "an offset of zero"},
      {"set hour 1 2014-05-10T08:30-00:00", "2014-05-10T01:30:00-00:00", "or one nobody knows"},
      {"set hour 1 1890-05-10T08:30-04:56:02", "1890-05-10T01:30:00-04:56:02", "with seconds"},
      {"set hour 1 2014-05-10T08:30Z --zone Asia/Kolkata", "2014-05-10T01:00:00+05:30",
       "an instant, shown in the zone"},
      {"set hour 1 2014-05-10T08:30+05:30 -z UTC", "2014-05-10T01:00:00Z", "or in UTC"},
      {"set hour 1 -z utc 2014-05-10T08:30", "2014-05-10T01:30:00Z", "in any letter case"},
      {"set minute 30 2014-11-02T01:30-04:00 -z America/New_York", "2014-11-02T01:30:00-05:00",
       "the first occurrence moves to the second"},
      {"set year -44 2014-03-15", "-0044-03-15", "a negative value"},
      {"set month 4 -0044-03-15", "-0044-04-15", "a negative year"},
      {"set second -.5 2014-05-10", "2014-05-09T23:59:59.5", "no digit before the point"},
      {"set second -1e3 2014-05-10", "2014-05-09T23:43:20", "an exponent"},
      {"set second 1e+1 2014-05-10", "2014-05-10T00:00:10", "a plus in the exponent"},
      {"set year 12024 2014-05-10", "+12024-05-10", "five digits take a sign"},
      {"set year 0 2014-05-10", "0000-05-10", "year 0"},
      {"set 7 13 2014-05-10", "2015-01-10", "by selector"},
      {"set 12 1 2014-05-10", "2014-05-01", "by the second selector of the day"},
      {"set hour 5 2014-05-10T24:00", "2014-05-11T05:00:00", "midnight is of the next day"},
      {"set hour 5 -z -08:00 2014-05-10", "2014-05-10T05:00:00-08:00", "a negative offset as zone"},
      {"set hour 5 -z-08:00 2014-05-10", "2014-05-10T05:00:00-08:00", "written together"},
      {"set hour 5 --zone=-08:00 2014-05-10", "2014-05-10T05:00:00-08:00", "or with a sign"},
      {"set --exact -z UTC hour 5 2014-05-10", "2014-05-10T05:00:00Z", "options first"},
      {"set hour 5 -- 2014-05-10", "2014-05-10T05:00:00", "after the end of options"},
      {"set quarter 5 2014-05-10 -z Europe/Paris", "2015-01-10", "the first month of the quarter"},
      {"set time-of-day 2147483 2014-05-10 -z UTC+1", "2014-06-03T20:31:23+01:00",
       "the last second"},
      {"set time-of-day 1e10 2014-05-10", "2331-03-30T17:46:40", "no bound without a zone"},
      {"set day 2 +144683-05-23T16:29:30.496Z -z Etc/GMT", "+144683-05-02T16:29:30.496+00:00",
       "the last instant of a calendar"},
      {"set day 31 -140744-08-10T07:30:29.504+00:00", "-140744-08-31T07:30:29.504+00:00",
       "and the first"},
      {"set day-of-week -2147483648 2014-05-10 -z UTC+1", "2014-05-08", "the least value"},
      {"set second 0 +12330436978418-07-07T00:00:00.5", "+12330436978418-07-07T00:00:00",
       "the last second"},
      {"set month 7 +12330436978418-07-06", "+12330436978418-07-06", "nearly 2^52 days away"},
  };
  for (const auto& r : rows)
    EXPECT_EQ(runPlx(words(r.command)), (PlxResult{0, std::string(r.printed) + "\n", "", 0}))
        << r.command << ": " << r.why;
}

TEST(Plx, ReadsSpacesAndSeveralArguments) {
  EXPECT_EQ(runPlx({"set", "hour", "5", "2014-05-10 08:30", "2014-05-11"}).out,
            "2014-05-10 05:30:00\n2014-05-11T05:00:00\n");
}

TEST(Plx, RoundingCarriesUpToTheDate) {
  EXPECT_EQ(runPlx({"set", "year", "2014", "2013-12-31T23:59:59.9999999999"}).out,
            "2014-12-31T23:59:59.9999999999\n");
  EXPECT_EQ(runPlx({"set", "second", "59.9999999999", "2013-12-31T23:59"}).out,
            "2014-01-01T00:00:00\n");
  EXPECT_EQ(
      runPlx({"set", "second", "59.9999999999", "2014-03-09T01:59", "-z", "America/New_York"}).out,
      "2014-03-09T03:00:00-04:00\n");
  EXPECT_EQ(
      runPlx({"set", "second", "59.9999999999", "2012-06-30T23:59", "-z", "UTCLeapSeconds"}).out,
      "2012-06-30T23:59:60Z\n");
}

TEST(Plx, ReadsFilesAndStandardInput) {
  const TemporaryFolder folder;
  folder.write("a.txt", "2014-05-10\n2014-05-11T08:30\n");
  folder.write("b.txt", "2014-06-10");
  folder.write("components", "2014-08-10\n");
  folder.write("[x]", "2014-09-10\n");
  const struct {
    std::vector<std::string> inputs;
    const char *printed, *why;
  } rows[] = {
      {{"a.txt"}, "2014-05-01\n2014-05-01T08:30:00\n", "a file"},
      {{}, "2014-07-01\n", "standard input"},
      {{"-"}, "2014-07-01\n", "by its name"},
      {{"b.txt", "-", "2014-05-31"},
       "2014-06-01\n2014-07-01\n2014-05-01\n",
       "in their order, each line whole"},
      {{"components"}, "2014-08-01\n", "a file with the name of a command"},
      {{"[x]"}, "2014-09-01\n", "or in brackets"},
      {{"./a.txt", "./b.txt"}, "2014-05-01\n2014-05-01T08:30:00\n2014-06-01\n", "by their paths"},
  };
  for (const auto& r : rows) {
    std::vector<std::string> arguments = {"set", "day", "1"};
    arguments.insert(arguments.end(), r.inputs.begin(), r.inputs.end());
    EXPECT_EQ(runPlxIn(folder.path(""), arguments, "2014-07-10\n"),
              (PlxResult{0, r.printed, "", 0}))
        << r.why;
  }
}

TEST(Plx, KeepsWhatStandsAroundTheDatetimes) {
  const struct {
    const char *input, *output, *why;
  } rows[] = {
      {"2014-05-10\r\n2014-05-11\r\n", "2014-05-01\r\n2014-05-01\r\n", "CRLF"},
      {"2014-05-10\n\n2014-05-11\n", "2014-05-01\n\n2014-05-01\n", "empty lines"},
      {"\n\r\n\n", "\n\r\n\n", "nothing but empty lines"},
      {"", "", "nothing at all"},
      {"\xEF\xBB\xBF"
       "2014-05-10\n",
       "\xEF\xBB\xBF"
       "2014-05-01\n",
       "a byte-order mark"},
      {"2014-05-10\n2014-05-11", "2014-05-01\n2014-05-01\n", "a last line without its end"},
  };
  for (const auto& r : rows)
    EXPECT_EQ(runPlx({"set", "day", "1"}, r.input), (PlxResult{0, r.output, "", 0})) << r.why;
}

// In the middle of the output it would be part of a line, and that line no datetime.
TEST(Plx, KeepsAByteOrderMarkAtTheStartOnly) {
  const TemporaryFolder folder;
  const std::string mark = "\xEF\xBB\xBF";
  folder.write("marked", mark + "2014-05-10\n");
  folder.write("mark", mark);
  folder.write("plain", "2014-06-10\n");
  folder.write("empty", "");
  const struct {
    const char* inputs;
    std::string output;
  } rows[] = {
      {"marked marked", mark + "2014-05-01\n2014-05-01\n"},
      {"plain marked", "2014-06-01\n2014-05-01\n"},
      {"2014-07-10 marked", "2014-07-01\n2014-05-01\n"},
      {"empty marked", mark + "2014-05-01\n"},
      {"mark marked", mark + "\n2014-05-01\n"},
  };
  for (const auto& r : rows)
    EXPECT_EQ(runPlxIn(folder.path(""), words(std::string("set day 1 ") + r.inputs)).out, r.output)
        << r.inputs;
}

// What is printed can be read again: to the second, also where doubles count in steps of days.
TEST(Plx, PrintsNothingBeyondTheLastSecond) {
  for (const char* command :
       {"set second 1 +12330436978418-07-07", "set hour 1 +12330436978418-07-07",
        "set hour -1 -12330436974479-06-28", "set hour 1 -z UTC +12330436978418-07-07",
        "set second -0.5 -12330436974479-06-28",
        "set day 8 +12330436978418-07-07T00:00 -z UTCLeapSeconds"}) {
    const PlxResult result = runPlx(words(command));
    EXPECT_EQ(result.status, 1) << command << ": " << result;
    EXPECT_EQ(result.out, "") << command;
    EXPECT_NE(result.err.find("; accepted: dates within 2^52 days"), std::string::npos)
        << result.err;
  }
}

TEST(Plx, KeepsTheOrderOfLinesOfSeveralZones) {
  EXPECT_EQ(runPlx({"set", "hour", "1"},
                   "2014-05-10T08:30+02:00\n2014-05-10\n2014-05-10T08:30Z\n\n2014-05-11T08:30+02\n"
                   "2014-05-10T08:30-04:00\n2014-05-12T08:30Z\n")
                .out,
            "2014-05-10T01:30:00+02:00\n2014-05-10T01:00:00\n2014-05-10T01:30:00Z\n\n"
            "2014-05-11T01:30:00+02:00\n2014-05-10T01:30:00-04:00\n2014-05-12T01:30:00Z\n");
}

TEST(Plx, TakesValuesFromAFileInStep) {
  const TemporaryFolder folder;
  folder.write("values", "1\n2\r\n3");
  folder.write("gap", "1\n\n3\n\n");
  folder.write("none", "");
  folder.write("wrong", "1\nx\n");
  const std::string three = "2014-05-10\n2014-05-11\n2014-05-12\n";
  const std::string in = folder.path("");
  EXPECT_EQ(runPlxIn(in, {"set", "month", "@values"}, three).out,
            "2014-01-10\n2014-02-11\n2014-03-12\n");
  EXPECT_EQ(
      runPlxIn(in, {"set", "month", "@values", "2014-05-10", "-"}, "2014-05-11\n\n2014-05-12\n"),
      (PlxResult{0, "2014-01-10\n2014-02-11\n\n2014-03-12\n", "", 0}));
  EXPECT_EQ(runPlxIn(in, {"set", "month", "@gap"}, "2014-05-10\n\n2014-05-12\n"),
            (PlxResult{0, "2014-01-10\n\n2014-03-12\n", "", 0}))
      << "empty lines in both";
  EXPECT_EQ(runPlxIn(in, {"set", "month", "@-", "2014-05-10"}, "2\n").out, "2014-02-10\n");

  EXPECT_EQ(runPlxIn(in, {"set", "month", "@values"}, three + "2014-05-13\n"),
            (PlxResult{1, "2014-01-10\n2014-02-11\n2014-03-12\n",
                       "plx: -:4:1: values has no value left for this datetime: \"2014-05-13\"; "
                       "accepted: one value for each\n",
                       0}));
  EXPECT_EQ(runPlxIn(in, {"set", "month", "@none", "2014-05-10"}),
            (PlxResult{1, "",
                       "plx: argument: none has no value left for this datetime: \"2014-05-10\"; "
                       "accepted: one value for each\n",
                       0}));
  EXPECT_EQ(
      runPlxIn(in, {"set", "month", "@values"}, "2014-05-10\n"),
      (PlxResult{1, "2014-01-10\n",
                 "plx: values:2:1: there are more values than datetimes: \"2\"; accepted: one "
                 "value for each\n",
                 0}));
  EXPECT_EQ(
      runPlxIn(in, {"set", "month", "@gap"}, three),
      (PlxResult{
          1, "2014-01-10\n",
          "plx: gap:2:1: not a number: \"\"; accepted: a number such as 13, jan to dec, last\n",
          0}));
  EXPECT_EQ(
      runPlxIn(in, {"set", "month=@values", "day=3"}, "2014-05-10\n2014-05-11\n\n2014-05-12\n\n"),
      (PlxResult{0, "2014-01-03\n2014-02-03\n\n2014-03-03\n\n", "", 0}))
      << "beside a value for all, and an empty line behind the last of the file";
  EXPECT_EQ(
      runPlxIn(in, {"set", "day=3", "month=@wrong"}, three).err,
      "plx: wrong:2:1: not a number: \"x\"; accepted: a number such as 13, jan to dec, last\n");
  const PlxResult wrong = runPlxIn(in, {"set", "month", "@wrong"}, "2014-05-10\n\n2014-05-12\n");
  EXPECT_TRUE(wrong.err.starts_with("plx: wrong:2:1: not a number: \"x\"")) << wrong;
}

TEST(Plx, SaysWhatIsWrongAndWhere) {
  const TemporaryFolder folder;
  folder.write("log", "2014-05-10\n2014-05-11\nnonsense\x1B[0m\n2014-05-12\n");
  folder.write("offsets", "2014-05-10\n2014-05-10T08:30+02:00\n");
  folder.write("far", "2014-05-10\n\n+200000-01-01\n");
  folder.write("2014-05-10", "2014-07-10\n");
  const struct {
    const char* command;
    int status;
    const char *out, *err;
  } rows[] = {
      {"set day 1 log", 1, "2014-05-01\n2014-05-01\n",
       "log:3:1: not a datetime: \"nonsense\\x1B[0m\"; accepted: "
       "YYYY-MM-DD[Thh:mm[:ss[.digits]][Z|+hh:mm]], as in 2014-05-10T08:30:15.25"},
      {"set day 1", 1, "",
       "-:1:1: not a datetime: \"from stdin\"; accepted: "
       "YYYY-MM-DD[Thh:mm[:ss[.digits]][Z|+hh:mm]], as in 2014-05-10T08:30:15.25"},
      {"set day 1 2014-01-31 2014-02-30", 1, "2014-01-01\n",
       "argument: February 2014 has 28 days, and there is no such file: \"2014-02-30\"; accepted: "
       "YYYY-MM-DD[Thh:mm[:ss[.digits]][Z|+hh:mm]], as in 2014-05-10T08:30:15.25"},
      {"set day 1 2014-05-10", 0, "2014-05-01\n", ""},
      {"set day 1 ./2014-05-10", 0, "2014-07-01\n", ""},
      {"set day 1 none", 4, "", "none: cannot open: No such file or directory"},
      {"set month 1 day 2", 4, "",
       "argument: no datetime, and there is no such file: \"day\"; accepted: several settings as "
       "month=1 day=2, datetimes, files"},
      {"set day 1 10.05.2024", 4, "",
       "argument: no datetime that is read, and there is no such file: \"10.05.2024\"; accepted: "
       "YYYY-MM-DD[Thh:mm[:ss[.digits]][Z|+hh:mm]], as in 2014-05-10T08:30:15.25"},
      {"set month janury 2014-05-10", 1, "",
       "VALUE: not a number (did you mean January?): \"janury\"; accepted: a number such as 13, "
       "jan to dec, last"},
      {"set day 1 2014-05-10 --zone", 2, "", "--zone needs a ZONE; see plx set --help"},
      {"set day 1 .", 4, "", ".: cannot read: Is a directory"},
      {"set day @none 2014-05-10", 4, "", "none: cannot open: No such file or directory"},
      {"set day 1 2012-06-30T23:59:60", 1, "",
       "argument: there is no second 60: \"2012-06-30T23:59:60\"; accepted: 23:59:60 of the UTC "
       "days "
       "that ended with a leap second, the last on 2012-06-30, with --zone UTCLeapSeconds"},
      {"set day x 2014-05-10", 1, "",
       "VALUE: not a number: \"x\"; accepted: a decimal number such as 13, -0.5 or 1e3"},
      {"set day 1.5 2014-05-10", 1, "",
       "VALUE: not a whole number: \"1.5\"; accepted: whole numbers; only second and time-of-day "
       "take fractions"},
      {"set second 1e999 2014-05-10", 1, "",
       "VALUE: the number is beyond the range of a double: \"1e999\"; accepted: a decimal number "
       "such as 13, -0.5 or 1e3"},
      {"set second -1e-400 2014-05-10", 1, "",
       "VALUE: the number is nearer to 0 than any double: \"-1e-400\"; accepted: a decimal number "
       "such as 13, -0.5 or 1e3"},
      {"set year 1e14 2014-05-10", 1, "",
       "argument: the result is out of range: \"2014-05-10\"; accepted: dates within 2^52 days of "
       "1970, from -12330436974479-06-28 to +12330436978418-07-07"},
      {"set second 1e308 2014-05-10", 1, "",
       "argument: the result is out of range: \"2014-05-10\"; accepted: dates within 2^52 days of "
       "1970, from -12330436974479-06-28 to +12330436978418-07-07"},
      {"set day 1 -z UTC+1 far", 1, "2014-05-01\n\n",
       "far:3:1: out of range: \"+200000-01-01\"; accepted: in a time zone, from "
       "-140744-08-10T07:30:29.504Z to +144683-05-23T16:29:30.496Z"},
      {"set year 200000 -z UTC+1 2014-05-10", 1, "",
       "argument: the value or the result is out of range: \"2014-05-10\"; accepted: in a time "
       "zone, from "
       "-140744-08-10T07:30:29.504Z to +144683-05-23T16:29:30.496Z"},
      {"set second 1e14 -z UTC+1 2014-05-10", 1, "",
       "argument: the result is out of range: \"2014-05-10\"; accepted: in a time zone, from "
       "-140744-08-10T07:30:29.504Z to +144683-05-23T16:29:30.496Z"},
      {"set time-of-day 2147483.5 -z UTC+1 2014-05-10", 1, "",
       "argument: VALUE: the time of day is out of range for \"2014-05-10\": \"2147483.5\"; "
       "accepted: in a time zone, seconds from -2147483 to 2147483"},
      {"set hour 1e10 -z UTC+1 2014-05-10", 1, "",
       "argument: VALUE: the value is out of range for \"2014-05-10\": \"1e10\"; accepted: in a "
       "time zone, numbers from -2147483648 to 2147483647"},
      {"set hour 2147483648 offsets", 1, "+246998-02-15T08:00:00\n",
       "offsets:2:1: VALUE: the value is out of range for \"2014-05-10T08:30+02:00\": "
       "\"2147483648\"; accepted: in a time zone, numbers from -2147483648 to 2147483647"},
      {"set day 1 -z Mars/Base 2014-05-10", 3, "",
       "--zone: unknown time zone: \"Mars/Base\"; accepted: UTC, UTCLeapSeconds, local, an "
       "identifier such as Europe/Paris in its own letter case, or an offset such as UTC+05:30 or "
       "-08:00"},
      {"set days 1 2014-05-10", 3, "",
       "COMPONENT: unknown component (did you mean day?): \"days\"; accepted: year, quarter, "
       "month, week-of-year, day, "
       "day-of-year, day-of-week, hour, minute, second, time-of-day, date, time, iso-year, "
       "iso-week, or a selector number; see plx "
       "components"},
      {"set 8 1 2014-05-10", 3, "",
       "COMPONENT: unknown component: \"8\"; accepted: year, quarter, month, week-of-year, day, "
       "day-of-year, day-of-week, hour, minute, second, time-of-day, date, time, iso-year, "
       "iso-week, or a selector number; see plx "
       "components"},
      {"set day @- -", 2, "",
       "the values and the datetimes cannot both come from standard input; "
       "accepted: @FILE, or INPUT"},
      {"set day", 2, "", "VALUE is required; see plx set --help"},
      {"set", 2, "", "COMPONENT is required; see plx set --help"},
      {"", 2, "",
       "a command is missing: set, get, explain, zones, rules or components; see plx --help"},
      {"set day 1 2014-05-10 --zoned", 2, "", "not expected: --zoned; see plx set --help"},
      {"sett day", 2, "", "not expected: sett day; see plx --help"},
      {"--module x sett day", 2, "", "not expected: sett day; see plx --help"},
      {"components x", 2, "", "not expected: x; see plx components --help"},
      {"set day 1 2014-05-10 --exact=1", 2, "", "--exact takes no value; see plx set --help"},
      {"--version=", 2, "", "--version takes no value; see plx --help"},
      {"set day 1 2014-05-10 --zone --exact", 2, "",
       "--zone takes a value, and --exact is an option"},
      {"set day 1 2014-05-10 -z -x", 2, "", "--zone takes a value, and -x is an option"},
      {"--module --exact set day 1 2014-05-10", 2, "",
       "--module takes a value, and --exact is an option"},
  };
  for (const auto& r : rows) {
    const std::string err = *r.err == '\0' ? "" : "plx: " + std::string(r.err) + "\n";
    EXPECT_EQ(runPlxIn(folder.path(""), words(r.command), "from stdin\n"),
              (PlxResult{r.status, r.out, err, 0}))
        << r.command;
  }
}

TEST(Plx, TellsAFileThatCannotBeOpenedFromOneThatIsNotThere) {
  const TemporaryFolder folder;
  ASSERT_EQ(::symlink("2014-02-30", folder.path("2014-02-30").c_str()), 0);
  EXPECT_EQ(
      runPlxIn(folder.path(""), {"set", "day", "1", "2014-02-30"}),
      (PlxResult{4, "", "plx: 2014-02-30: cannot open: Too many levels of symbolic links\n", 0}));
  EXPECT_EQ(runPlx({"set", "day", "1", "2014-02-30T00:00:00." + std::string(300, '5')}).status, 1)
      << "too long for a file's name";
}

TEST(Plx, TakesEmptyArgumentsForWhatTheyAre) {
  EXPECT_EQ(runPlx({"set", "day", "1", "2014-05-10", "--zone", ""}).out, "2014-05-01\n");
  EXPECT_EQ(runPlx({"set", "day", "1", ""}),
            (PlxResult{4, "", "plx: \"\": cannot open: No such file or directory\n", 0}));
  EXPECT_EQ(runPlx({"set", "day", "1", "2014-05-10", "--longest", ""}).err.substr(0, 45),
            "plx: --longest: not a size that it takes: \"\";");
  EXPECT_EQ(runPlx({"set", "day", "1", "-i", "a", "--backup", ""}).err,
            "plx: --backup: not the end of a file's name: \"\"; accepted: a suffix such as .bak\n");
  EXPECT_EQ(runPlx({"set", "day", "@", "2014-05-10"}),
            (PlxResult{4, "", "plx: \"\": cannot open: No such file or directory\n", 0}));
}

TEST(Plx, TakesEveryByteOfAnArgument) {
  EXPECT_EQ(runPlx({"set", "day", "1\x01", "2014-05-10"}).err,
            "plx: VALUE: not a number: \"1\\x01\"; accepted: a decimal number such as 13, -0.5 "
            "or 1e3\n");
  EXPECT_EQ(runPlx({"set", "day", "1",
                    "\x01"
                    "2014-05-10"})
                .err,
            "plx: \\x01"
            "2014-05-10: cannot open: No such file or directory\n");
  EXPECT_EQ(runPlx({"components", "\x01x\x01"}).err,
            "plx: not expected: \\x01x\\x01; see plx components --help\n");
}

TEST(Plx, RefusesOptionsThatMakeNoSense) {
  for (const char* command :
       {"set day 1 2014-05-10 --exact=3", "set day 1 2014-05-10 --zone", "--version=1",
        "set day 1 2014-05-10 -z UTC -z UTC", "set day 1 2014-05-10 -x", "set day 1 --module"}) {
    const PlxResult result = runPlx(words(command));
    EXPECT_EQ(result.status, 2) << command;
    EXPECT_TRUE(isOneLine(result.err)) << result.err;
    EXPECT_EQ(result.out, "") << command;
  }
}

TEST(Plx, RefusesWhatIsNoDecimalNumber) {
  for (const char* value :
       {"",   " ",   "nan", "NaN",   "-nan",  "inf",    "-inf",  "Infinity", "0x10",
        "1e", "1e+", "e5",  ".",     "-",     "+",      "--5",   "+-5",      "1,5",
        "1 ", " 1",  "1x",  "1_000", "1e999", "-1e999", "1e-999"}) {
    const PlxResult result = runPlx({"set", "second", value, "2014-05-10"});
    // What begins with two dashes can only be an option.
    EXPECT_EQ(result.status, std::string_view(value) == "--5" ? 2 : 1) << '"' << value << '"';
    EXPECT_TRUE(isOneLine(result.err)) << result.err;
    EXPECT_EQ(result.out, "");
  }
}

// Of several lines that are wrong in several ways, the first one in the file is told.
TEST(Plx, StopsAtTheFirstLineThatIsWrong) {
  Cases cases(4 * 4);
  const std::string good = "2014-05-10T00:00+01:00\n";
  // Each is found at another stage: by the reader, by the module, by the writer.
  const std::string bad[] = {"2014-13-01\n", "+144683-05-01T00:00+01:00\n",
                             "+12330436978418-01-01\n", "2014-05-10T00:00:60\n"};
  for (const std::string& first : bad) {
    for (const std::string& second : bad) {
      const PlxResult result =
          runPlx({"set", "month", "12"}, good + "\n" + good + first + good + second);
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(result.out, "2014-12-10T00:00:00+01:00\n\n2014-12-10T00:00:00+01:00\n");
      EXPECT_TRUE(result.err.starts_with("plx: -:4:1: ")) << result.err;
      ++cases;
    }
  }
}

TEST(Plx, TellsItsVersions) {
  const PlxResult result = runPlx({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(result.out.starts_with("plx ")) << result.out;
  for (const std::string& piece : std::vector<std::string>{
           "\nmodule            " + built("plx_datetime.so") + " (host interface ",
           "\nICU               ", "\ntime-zone data    20",
           "\nlast leap second  2012-06-30T23:59:60Z\n"})
    EXPECT_NE(result.out.find(piece), std::string::npos) << piece << " in\n" << result.out;
}

TEST(Plx, KnowsAnArrayByItsNameOrItsBytes) {
  const TemporaryFolder folder;
  const std::string array = npyOf("<f8", std::vector<double>{0.0});
  for (const char* name : {"times.npy", "TIMES.NPY", "times"}) {
    const std::string path = folder.write(name, array);
    const PlxResult set = runPlx({"set", "day", "2", path});
    EXPECT_EQ(set.status, 0) << set;
    ASSERT_TRUE(set.out.starts_with("\x93NUMPY")) << name;
    EXPECT_EQ(numbersOf<double>(set.out), std::vector<double>{86'400'000.0}) << name;
    const PlxResult get = runPlx({"get", "day", path});
    EXPECT_EQ(get.status, 2) << get;
    EXPECT_TRUE(isOneLine(get.err)) << get.err;
    EXPECT_NE(get.err.find("the input is an .npy array"), std::string::npos) << get.err;
  }
}

TEST(Plx, TellsThatWeeksOfArraysAreCountedByTheModule) {
  const TemporaryFolder folder;
  const std::string path = folder.write("t.npy", npyOf("<f8", std::vector<double>{0.0}));
  const auto set = [&](const std::string& options) {
    return runPlx(words("set week-of-year=1 " + options + " " + path));
  };
  const PlxResult zoned = set("-z Europe/Paris");
  EXPECT_EQ(zoned.status, 0);
  EXPECT_TRUE(isOneLine(zoned.err)) << zoned.err;
  EXPECT_NE(zoned.err.find("the last days of December may be in week 1"), std::string::npos);
  EXPECT_EQ(set("-z UTC").err, "");
  for (const char* option : {"--in-line", "--exact", "--match x"}) {
    const PlxResult refused = set(option);
    EXPECT_EQ(refused.status, 2) << option;
    EXPECT_NE(refused.err.find("is for text"), std::string::npos) << refused.err;
  }
}

TEST(Plx, SetsAnArrayThatComesThroughAPipe) {
  const TemporaryFolder folder;
  const std::string bytes = npyOf("<f8", std::vector<double>{0.0, 86400000.0, -1.5});
  folder.write("t.npy", bytes);
  const std::string plx = built("plx");
  const auto run = [&](const std::string& command) {
    return std::system(("cd '" + folder.path("") + "' && " + command).c_str());
  };
  ASSERT_EQ(run(plx + " set day 5 t.npy > whole.npy"), 0);
  ASSERT_EQ(run("cat t.npy | " + plx + " set day 5 > piped.npy"), 0);
  ASSERT_EQ(run(plx + " set day 5 - < t.npy > redirected.npy"), 0);
  ASSERT_EQ(
      run("(head -c 3 t.npy; sleep 0.1; tail -c +4 t.npy) | " + plx + " set day 5 -o late.npy"), 0);
  EXPECT_NE(folder.read("whole.npy"), bytes);
  for (const char* name : {"piped.npy", "redirected.npy", "late.npy"})
    EXPECT_EQ(folder.read(name), folder.read("whole.npy")) << name;
  // What only begins like one is text, as is the rest of a file.
  folder.write("skipped", bytes.substr(0, 6) + "2014-05-10\n");
  EXPECT_EQ(run("(dd bs=6 count=1 of=first 2> err; " + plx + " set day 5 > rest) < skipped"), 0);
  EXPECT_EQ(folder.read("rest"), "2014-05-05\n");
  EXPECT_EQ(run("printf '2014' | " + plx + " set day 5 2> err"), 256);
  EXPECT_NE(folder.read("err").find("a number without its unit"), std::string::npos);
  EXPECT_EQ(run("true | " + plx + " set day 5 > none"), 0);
  EXPECT_EQ(folder.read("none"), "");
  EXPECT_EQ(run("printf '\\223NUM' | " + plx + " set day 5 2> err"), 256);
  EXPECT_NE(folder.read("err").find("not a datetime"), std::string::npos) << folder.read("err");
}

// Once in a run, by every command, and on no other line.
TEST(Plx, WarnsPastTheTableOfLeapSeconds) {
  const TemporaryFolder folder;
  const std::string array = folder.write("times.npy", npyOf("<f8", std::vector<double>{1.5e12}));
  const std::string early = folder.write("early.npy", npyOf("<f8", std::vector<double>{1.4e12}));
  const struct {
    std::vector<std::string> arguments;
    bool warns;
  } rows[] = {
      {{"set", "second", "1", "2015-07-01", "2016-07-01"}, true},
      {{"set", "second", "1", "2015-06-30T23:59:59"}, false},
      {{"get", "second", "2015-07-01"}, true},
      {{"get", "second", "2015-06-30T23:59:59"}, false},
      {{"explain", "second", "1", "2015-07-01"}, true},
      {{"explain", "second", "1", "2015-06-30T23:59:59"}, false},
      {{"set", "second", "1", array}, true},
      {{"set", "second", "1", early}, false},
  };
  Cases cases(std::size(rows));
  for (const auto& row : rows) {
    ++cases;
    for (const bool leaps : {true, false}) {
      std::vector<std::string> arguments = row.arguments;
      arguments.insert(arguments.end(), {"-z", leaps ? "UTCLeapSeconds" : "UTC"});
      const PlxResult result = runPlx(arguments);
      EXPECT_EQ(result.status, 0) << result;
      EXPECT_EQ(result.err.starts_with("plx: warning: the table of leap seconds ends with 2012"),
                row.warns && leaps)
          << arguments[0] << ' ' << arguments[3] << ' ' << result.err;
      EXPECT_EQ(isOneLine(result.err), row.warns && leaps) << result.err;
    }
  }
}

// In a time zone the module keeps what is below a millisecond as one double: some eighteen digits of the second. Without
// one it keeps some twenty-two.
TEST(Plx, KeepsDigitsOfASecondThatIsLeftAlone) {
  Cases cases(3 * 3 * 17);
  const std::string all = "9876543210123456789012345";
  std::string datetimes;
  std::vector<std::string> fractions;
  for (std::size_t digits = 9; digits <= all.size(); ++digits) {
    fractions.push_back(all.substr(0, digits - 1) + '7');  // no zero at the end
    datetimes += "2014-05-10T08:30:15." + fractions.back() + '\n';
  }
  for (const char* zone : {"", "America/New_York", "+05:30"}) {
    for (const char* setting : {"day=11", "hour=3", "minute+=61"}) {
      const PlxResult result = runPlx({"set", setting, "-z", zone}, datetimes);
      EXPECT_EQ(result.err, "");
      std::istringstream lines(result.out);
      std::string line;
      for (std::size_t i = 0; std::getline(lines, line); ++i, ++cases) {
        ASSERT_LT(i, fractions.size());
        const std::string written = line.substr(line.find('.') + 1);
        EXPECT_EQ(written.substr(0, written.find_first_not_of("0123456789")), fractions[i])
            << zone << ' ' << setting;
      }
    }
  }
}

// So many nines are rounded up into the next second, and so many zeros away, as far as a result holds them.
TEST(Plx, DigitsOfASecondThatIsReplacedDoNotStay) {
  const struct {
    const char *setting, *of9, *of0;  // the latter of 15.000...1
  } rows[] = {
      {"second=59", "2014-12-31T23:59:59", "2014-12-31T23:59:59"},
      {"second=30.5", "2014-12-31T23:59:30.5", "2014-12-31T23:59:30.5"},
      {"time=09:30", "2014-12-31T09:30:00", "2014-12-31T09:30:00"},
      {"time-of-day=5", "2014-12-31T00:00:05", "2014-12-31T00:00:05"},
      {"minute=up:15", "2015-01-01T00:00:00", "2015-01-01T00:00:00"},
      {"second=down:5", "2014-12-31T23:59:55", "2014-12-31T23:59:15"},
  };
  const std::string nines = "59." + std::string(26, '9'),
                    zeros = "15." + std::string(25, '0') + '1';
  Cases cases(std::size(rows) * 4);
  for (const auto& row : rows) {
    for (const std::string zone : {"", "+01:00"}) {
      for (const auto& [seconds, result] : {std::pair(nines, row.of9), std::pair(zeros, row.of0)}) {
        EXPECT_EQ(runPlx({"set", row.setting, "2014-12-31T23:59:" + seconds + zone}),
                  (PlxResult{0, result + zone + '\n', "", 0}))
            << row.setting;
        ++cases;
      }
    }
  }
  EXPECT_EQ(runPlx({"set", "second+=1", "2014-12-31T23:59:" + nines}).out,
            "2015-01-01T00:00:00." + std::string(26, '9') + '\n');
}

// A time at the edge of a gap is a whole second, whatever digits the time had that the clock skips.
TEST(Plx, DigitsDoNotStayAtTheEdgeOfAGap) {
  Cases cases(24);
  for (const std::string fraction :
       {".25", ".99999999999999999999999", ".00000000000000000000001"}) {
    for (const auto& [setting, time] :
         {std::pair("hour=2", "08:30:15"), std::pair("year=2014", "02:30:15")}) {
      for (const auto& [gap, edge] :
           {std::pair("start", "01:59:59-05:00"), std::pair("end", "03:00:00-04:00")}) {
        for (const bool another : {false, true}) {
          std::vector<std::string> arguments = {"set", setting};
          if (another) arguments.push_back("day=9");
          arguments.insert(arguments.end(), {"-z", "America/New_York", "--gap", gap,
                                             "2014-03-09T" + (time + fraction)});
          EXPECT_EQ(runPlx(arguments).out, std::string("2014-03-09T") + edge + '\n')
              << setting << fraction;
          ++cases;
        }
      }
    }
  }
}

TEST(Plx, TellsThatDigitsWereCut) {
  const auto told = [&](const std::string& fraction) {
    return runPlx({"set", "hour", "2", "-z", "America/New_York", "--gap", "start",
                   "2014-03-09T08:30:15." + fraction})
        .err;
  };
  EXPECT_EQ(told("123456789"), "");
  EXPECT_EQ(
      told("12345678901234567890123"),
      "plx: digits of seconds that a result cannot hold were cut: as a rule from the twenty-third "
      "on, in a time zone from the nineteenth on\n");
}

TEST(Plx, Helps) {
  for (const char* command :
       {"--help", "-h", "set --help", "set -h", "components --help", "set day -h"}) {
    const PlxResult result = runPlx(words(command));
    EXPECT_EQ(result.status, 0) << command;
    EXPECT_EQ(result.err, "") << command;
    EXPECT_NE(result.out.find("Usage: plx"), std::string::npos) << result.out;
    EXPECT_EQ(result.out.back(), '\n');
  }
}

TEST(Plx, LoadsTheModuleItIsGiven) {
  const std::string module = built("plx_datetime.so");
  EXPECT_EQ(runPlx({"set", "day", "1", "2014-05-10", "--module", module}).out, "2014-05-01\n");
  EXPECT_EQ(runPlx({"--module", module, "set", "day", "1", "2014-05-10"}).out, "2014-05-01\n");
  EXPECT_EQ(runPlx({"--module=" + module, "set", "day", "1", "2014-05-10"}).out, "2014-05-01\n");
  EXPECT_EQ(runPlx({"--module", module, "components"}), runPlx({"components"}));
  EXPECT_EQ(runPlx({"--module", module, "--version"}).status, 0);
  EXPECT_EQ(runPlx({"--module", "none.so", "set", "day", "1", "2014-05-10"}).status, 4);
  const std::string program = built("plx");
  for (const char* path : {"none.so", "/dev/null", program.c_str()}) {
    const PlxResult result = runPlx({"set", "day", "1", "2014-05-10", "--module", path});
    EXPECT_EQ(result.status, 4) << path;
    EXPECT_TRUE(isOneLine(result.err)) << result.err;
    EXPECT_NE(result.err.find(path), std::string::npos) << result.err;
  }
}

// A machine set to another language, encoding and zone gives the same results.
TEST(Plx, DependsOnNoSettingOfTheUser) {
  ASSERT_EQ(::setenv("LC_ALL", "fi_FI.UTF-8", 1), 0);
  const TemporaryFolder zones;
  std::filesystem::create_directory(zones.path("Asia"));
  zones.write("Asia/Tokyo", zoneFile(9 * 3600, {{0, 9 * 3600}}));
  ASSERT_EQ(::setenv("TZDIR", zones.path("").c_str(), 1), 0);
  ASSERT_EQ(::setenv("TZ", "Asia/Tokyo", 1), 0);
  EXPECT_EQ(runPlx({"set", "second", "1.5", "2014-05-10", "-z", "UTC+5:30"}).out,
            "2014-05-10T00:00:01.5+05:30\n");
  EXPECT_EQ(runPlx({"set", "second", "1", "2014-05-10", "-z", "UTC+5.30"}).status, 3);
  EXPECT_EQ(runPlx({"set", "second", "1", "2014-05-10"}).out, "2014-05-10T00:00:01\n");
  EXPECT_EQ(runPlx({"set", "day=2", "second=1", "2014-05-10", "-z", "local"}).out,
            "2014-05-02T00:00:01+09:00\n");
  EXPECT_EQ(runPlx({"set", "year=200000", "day=2", "2014-05-10", "-z", "local"}).status, 1);
  EXPECT_EQ(runPlx({"set", "second", "1", "2014-05-10", "-z", "local"}).out,
            "2014-05-10T00:00:01+09:00\n");
  ::unsetenv("LC_ALL");
  ::unsetenv("TZ");
  ::unsetenv("TZDIR");
}

}  // namespace
