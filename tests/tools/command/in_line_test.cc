// plx on logs: the datetime in each line is set, and everything else stays.
#include <gtest/gtest.h>

#include <string>

#include "support/cases.h"
#include "table/pattern.h"
#include "tools/support/run_plx.h"

namespace {

PlxResult inLine(const std::vector<std::string>& more, std::string_view input) {
  std::vector<std::string> arguments = {"set", "minute=0", "second=0", "--in-line"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return runPlx(arguments, input);
}

TEST(InLine, LogsAsTheyAre) {
  Cases cases(39);
  const struct {
    const char *in, *out, *why;
  } rows[] = {
      {"2014-05-10T08:30:15.25Z INFO started", "2014-05-10T08:00:00Z INFO started", "ISO"},
      {"[2014-05-10 08:30:15,123] x", "[2014-05-10 08:00:00] x", "a blank and a comma"},
      {"2014-05-10T08:30:15+0200 host cron[12]: x", "2014-05-10T08:00:00+02:00 host cron[12]: x",
       "journald, short-iso"},
      {"at=2014-05-10T08:30 user=12", "at=2014-05-10T08:00:00 user=12", "without seconds"},
      {"x (2014-05-10T08:30:15Z).", "x (2014-05-10T08:00:00Z).", "at the end of a sentence"},
      {"2014-05-10T08:30:15-04:00[America/New_York] x",
       "2014-05-10T08:00:00-04:00[America/New_York] x", "a zone in brackets"},
      {"2014-05-10 08:30:15 ample", "2014-05-10 08:00:00 ample", "a word that begins as AM does"},
      {"2014-05-10T08:30:15Z[UTC] x", "2014-05-10T08:00:00Z[UTC] x", "which may be UTC"},
      {"2014-05-10T08:30:15+02:00[+02:00] x", "2014-05-10T08:00:00+02:00[+02:00] x",
       "or an offset"},
      {"2014-05-10T08:30:15Z[main] x", "2014-05-10T08:00:00Z[main] x",
       "brackets of something else"},
      {"2014-05-10 08:30:15 +0200 x", "2014-05-10 08:00:00 +0200 x", "git's offset"},
      {"2014-05-10 08:30:15.123 UTC [7] LOG:  x", "2014-05-10 08:00:00.000 UTC [7] LOG:  x",
       "a database's"},
      {"127.0.0.1 - - [10/Oct/2000:13:55:36 -0700] \"GET /a/2014-05-10.png HTTP/1.0\" 200 2326",
       "127.0.0.1 - - [10/Oct/2000:13:00:00 -0700] \"GET /a/2014-05-10.png HTTP/1.0\" 200 2326",
       "a web server's; the name of a file is no datetime"},
      {"2014/05/10 08:30:15 [error] 31#0: *5 open()", "2014/05/10 08:00:00 [error] 31#0: *5 open()",
       "nginx's errors"},
      {"2014/05/10 08:30:15.123456 x", "2014/05/10 08:00:00.000000 x", "with a fraction"},
      {"[Wed Oct 11 14:32:52 2000] [error] x", "[Wed Oct 11 14:00:00 2000] [error] x",
       "Apache's errors"},
      {"[Wed Oct 11 14:32:52.123456 2000] x", "[Wed Oct 11 14:00:00.000000 2000] x",
       "and newer ones"},
      {"Date: Sat, 10 May 2014 08:30:15 +0200", "Date: Sat, 10 May 2014 08:00:00 +0200", "mail"},
      {"2014-05-10 08:30:15 ERROR id 1234-567 v1.2.3",
       "2014-05-10 08:00:00 ERROR id 1234-567 v1.2.3", "other numbers"},
      {"550e8400-e29b-41d4-2014-05-10 2014-05-10T08:30:15 x",
       "550e8400-e29b-41d4-2014-05-10 2014-05-10T08:00:00 x", "the end of a longer name"},
      {"2014-05-10T08:30:15 backup-2014-05-09.tar.gz 2014-05-08-b",
       "2014-05-10T08:00:00 backup-2014-05-09.tar.gz 2014-05-08-b", "names with dates"},
      {"2014-05-10T08:30:15Z due 2014-06-01", "2014-05-10T08:00:00Z due 2014-06-01",
       "a time of day goes before a date alone"},
      {"Sat 2014-05-10 08:30:15 UTC host x", "Sat 2014-05-10 08:00:00 UTC host x",
       "journald, short-full"},
      {"Last-Modified: Sat, 10 May 2014 08:30:15 GMT",
       "Last-Modified: Sat, 10 May 2014 08:00:00 GMT", "HTTP"},
      {"expires 9 May 2014 08:30:15 GMT x", "expires 9 May 2014 08:00:00 GMT x",
       "and without the weekday"},
      {"10 May 2014 08:30:15 INFO x", "10 May 2014 08:00:00 INFO x", "nor a zone behind it"},
      {"1:M 10 May 2014 08:30:15.123 # x", "1:M 10 May 2014 08:00:00.000 # x", "with a fraction"},
      {"Date: Sat, 10 May 2014 08:30:15 +0200 (CEST)",
       "Date: Sat, 10 May 2014 08:00:00 +0200 (CEST)", "an offset that is told twice"},
      {"Wed Oct 11 14:32:52 UTC 2000", "Wed Oct 11 14:00:00 UTC 2000", "date"},
      {"Oct 11 14:32:52 2000: %LINK", "Oct 11 14:00:00 2000: %LINK", "a year of its own"},
      {"Oct 11 2000 14:32:52 x", "Oct 11 2000 14:00:00 x", "and elsewhere"},
      {"2014-05-10 8:30:15 x", "2014-05-10 8:00:00 x", "an hour of one digit"},
      {"2014-05-10T08:30:15Z wrote 2014-05-09T07:15:00.tar.gz",
       "2014-05-10T08:00:00Z wrote 2014-05-09T07:15:00.tar.gz", "a name behind it"},
      {"2014-05-10 08:30:15,250 GET /,200", "2014-05-10 08:00:00 GET /,200",
       "a comma before the fraction"},
      {"\xff\xfe 2014-05-10T08:30:15Z \x80", "\xff\xfe 2014-05-10T08:00:00Z \x80", "any bytes"},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(inLine({}, std::string(r.in) + "\r\n"),
              (PlxResult{0, std::string(r.out) + "\r\n", "", 0}))
        << r.why;
    ++cases;
  }
  for (const char* line : {"Oct 10 13:55:36 host cron[12]: x", "Oct  1 13:55:36 host x",
                           "Feb 29 13:55:36.123456 host x"}) {
    std::string expected = line;
    expected.replace(expected.find("55:36"), 5, "00:00");
    if (const std::size_t at = expected.find(".123456"); at != std::string::npos)
      expected.replace(at, 7, ".000000");
    EXPECT_EQ(inLine({"--year", "2016"}, line).out, expected + "\n");
    ++cases;
  }
  EXPECT_EQ(
      runPlx(words("set day=1 --in-line --format %d.%m.%Y"), "am 10.05.2014, nicht 2014-05-10\n"),
      (PlxResult{0, "am 01.05.2014, nicht 2014-05-10\n", "", 0}));
  ++cases;
  EXPECT_EQ(runPlx(words("get hour --in-line"), "a 2014-05-10T08:30 b\nnone\n").out, "8\n\n");
}

TEST(InLine, LinesWithoutADatetimePass) {
  const std::string log = "2014-05-10T08:30:15Z failed\n  at f (x.cc:12)\n\n\tcaused by 17\n";
  EXPECT_EQ(inLine({}, log).out,
            "2014-05-10T08:00:00Z failed\n  at f (x.cc:12)\n\n\tcaused by 17\n");
  const PlxResult none = inLine({}, "Oct 10 13:55:36 host x\nnothing\n");
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.out, "Oct 10 13:55:36 host x\nnothing\n");
  EXPECT_EQ(
      none.err,
      "plx: -: no line has a datetime that is known; accepted: logs of web servers, journald and "
      "the like, those of syslog with --year, and any other with --format\n");
  EXPECT_EQ(inLine({}, ""), (PlxResult{0, "", "", 0}));
}

TEST(InLine, WhatIsNotSureIsToldAndLeft) {
  Cases cases(4);
  const struct {
    const char *line, *message;
  } rows[] = {
      {"from 2014-05-10T08:30:15Z to 2014-05-11T08:30:15Z",
       "-:1:30: one of 2 datetimes in this line: \"2014-05-11T08:30:15Z\"; accepted: one that has "
       "a "
       "time of day; or --match REGEX for the part of the line that has it"},
      {"from 2014-05-10 to 2014-05-11",
       "-:1:20: one of 2 datetimes in this line: \"2014-05-11\"; accepted: one that has a time of "
       "day; "
       "or --match REGEX for the part of the line that has it"},
      {"Sat 2014-05-10 08:30:15 CEST host x",
       "-:1:25: the abbreviation of a zone would stay behind the datetime: \"CEST host x\"; "
       "accepted: "
       "times with an offset, with UTC or with a zone's identifier"},
      {"2014-02-30T08:30:15Z x",
       "-:1:1: February 2014 has 28 days: \"2014-02-30T08:30:15Z\"; accepted: "
       "YYYY-MM-DD[Thh:mm[:ss[.digits]][Z|+hh:mm]], as in 2014-05-10T08:30:15.25"},
  };
  for (const auto& r : rows) {
    const std::string line = r.line + std::string("\n");
    EXPECT_EQ(inLine({}, line), (PlxResult{1, "", "plx: " + std::string(r.message) + "\n", 0}));
    EXPECT_EQ(inLine({"--on-error", "pass"}, line).out, line);
    ++cases;
  }
}

// Each of these came out wrong, or was left out, without a word.
TEST(InLine, NothingOfADatetimeIsLeftBesideIt) {
  Cases cases(28);
  constexpr const char *kOffset = "the offset from UTC would stay behind the datetime",
                       *kUnclear = "where the datetime ends is not clear",
                       *kApart = "a time of day stands apart from the date";
  const struct {
    const char *options, *line, *at, *message;
  } rows[] = {
      {"", "2014-05-10 08:30:15 PM x", "21", "AM or PM would stay behind the datetime"},
      {"", "2014-05-10 08:30:15 p.m. x", "21", "AM or PM would stay behind the datetime"},
      {"--format %d.%m.%Y_%H:%M", "10.05.2014_08:30am", "1", kUnclear},
      {"", "2014-05-10T08:30:15 +02:00 x", "21", kOffset},
      {"", "2014-05-10T08:30 -0700", "18", kOffset},
      {"", "2014-05-10 08:30:15,123 +02 x", "25", kOffset},
      {"", "2014/05/10 08:30:15 UTC", "21", kOffset},
      {"", "2014-05-10 08:30:15 (UTC)", "22", kOffset},
      {"--year 2014", "Oct 11 14:32:52 Z x", "17", kOffset},
      {"--year 2014 --format %b-%d-%H:%M", "Oct-11-14:32 2000 x", "14",
       "the year would stay behind the datetime"},
      {"", "Sat 2014-05-10T08:30:15 x", "1", "the day of the week would stay before the datetime"},
      {"--format %d.%m.%Y", "Saturday, 10.05.2014", "1",
       "the day of the week would stay before the datetime"},
      {"", "id,2014-05-10 08:30:15,2014-05-11", "4", kUnclear},
      {"", "2014-05-10 08:30:15,200,GET", "1", kUnclear},
      {"", "x,2014-05-10 08:30:15,200", "3", kUnclear},
      {"", "2014-05-10 08:30:15:123 x", "1", kUnclear},
      {"", "10/Oct/2000:13:55:36-0700 x", "1", kUnclear},
      {"", "2014-05-10T8:30 x", "1", kUnclear},
      {"", "2014-05-10 08:30:15:123 after 2014-05-09 07:00:00", "1", kUnclear},
      {"", "2014-05-10\t08:30:15 x", "12", kApart},
      {"", "2014-05-10,08:30 x", "12", kApart},
      {"", "08:30:15 2014-05-10 x", "1", kApart},
      {"--format %d.%m.%Y", "am 10.05.2014 um 8:30 Uhr", "18", kApart},
      {"--year 2014", "Feb 29 08:30:00 host x", "1",
       "February 2014 has 28 days, in the format %b %e %H:%M:%S"},
      {"--year 2014", "Feb 29 08:30:00 host due 2014-06-01", "1",
       "February 2014 has 28 days, in the format %b %e %H:%M:%S"},
      {"", "[Wed Oct 11 14:32:52 2001] x", "2",
       "that day is a Thursday, in the format %a %b %e %H:%M:%S %Y"},
      {"", "[10/Oct/2000:25:55:36 -0700] x", "2",
       "there is no hour 25, in the format %d/%b/%Y:%H:%M:%S %z"},
      {"", "Wed Oct 11 14:32:52 CEST 2000", "1",
       "the abbreviation of a time zone may mean several of them, in the format %a %b %e %H:%M:%S "
       "%Z %Y"},
  };
  for (const auto& r : rows) {
    const std::string line = r.line + std::string("\n");
    const PlxResult result = inLine(words(r.options), line);
    EXPECT_EQ(result.status, 1) << line;
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.starts_with(std::string("plx: -:1:") + r.at + ": " + r.message + ": "))
        << line << result.err;
    ++cases;
  }
  const std::string apart = "2014-05-10\t08:30:15 x\n";
  EXPECT_EQ(runPlx(words("set day=1 --in-line"), apart).out, "2014-05-01\t08:30:15 x\n")
      << "the time of day is neither read nor set";
  EXPECT_EQ(runPlx(words("get hour --in-line"), apart).status, 1);
  EXPECT_EQ(runPlx(words("get day --in-line"), apart).out, "10\n");
  EXPECT_EQ(runPlx(words("set day=1 --in-line"), "id,2014-05-10,5\n").out, "id,2014-05-01,5\n")
      << "digits behind the comma are no part of a date alone";
}

// Of a date alone: which times of day the clock's components would be set without.
TEST(InLine, ATimeOfDayApartFromTheDate) {
  const struct {
    const char* line;
    bool isTold;
  } rows[] = {
      {"2014-05-10 at 12:30", true},
      {"2014-05-10 x_12:30", true},
      {"2014-05-10 T12:30 x", true},
      {"2014-05-10 [8:30:15]", true},
      {"2014-05-10", false},
      {"2014-05-10 took 3 s", false},
      {"2014-05-10 a: b", false},
      {"2014-05-10 :30", false},
      {"2014-05-10 x 1:2", false},
      {"2014-05-10 x 123:45", false},
      {"2014-05-10 x 1.12:30", false},
      {"2014-05-10 x a12:30", false},
      {"2014-05-10 10.0.0.1:80", false},
      {"2014-05-10 host:8080", false},
      {"2014-05-10 [fe80::12:30]", false},
      {"2014-05-10 x:12:30 y", false},
      {"2014-05-10 x 1:2 12:30", true},
  };
  Cases cases(std::size(rows));
  for (const auto& row : rows) {
    ++cases;
    const std::string line = row.line + std::string("\n");
    const PlxResult result = runPlx(words("set hour=3 --in-line"), line);
    EXPECT_EQ(result.status, row.isTold ? 1 : 0) << line << result;
    EXPECT_EQ(result.out, row.isTold ? "" : "2014-05-10T03:00:00" + line.substr(10)) << line;
    const bool isTold =
        result.err.find(": a time of day stands apart from the date: ") < result.err.size();
    EXPECT_EQ(isTold, row.isTold) << result.err;
  }
  // One that is not set does not matter, unless the result is to be written in another form.
  const std::string line = "2014-05-10 at 08:30\n";
  EXPECT_EQ(runPlx(words("set day=3 --in-line"), line).out, "2014-05-03 at 08:30\n");
  for (const char* other :
       {"set day=3 --in-line --to iso", "set day=3 --in-line --to-format %d.%m.%Y"})
    EXPECT_EQ(runPlx(words(other), line).status, 1) << other;
}

TEST(InLine, CountsOfSeconds) {
  EXPECT_EQ(runPlx(words("set hour=3 --in-line --format %s"), "at 1399710615 x\n"),
            (PlxResult{0, "at 1399692615 x\n", "", 0}));
}

TEST(InLine, ALineThatIsTooLongEndsIt) {
  const PlxResult result =
      inLine({"--longest", "20"}, "2014-05-10T08:30 a\n2014-05-10T08:30:15 b\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "2014-05-10T08:00:00 a\n");
  EXPECT_TRUE(result.err.starts_with("plx: -:2:1: the line is too long, it begins: "))
      << result.err;
}

TEST(InLine, AllInBracketsBelongsToIt) {
  EXPECT_EQ(
      inLine({"--to", "rfc3339"}, "2014-05-10T08:30:15-04:00[America/New_York][u-ca=gregory] x\n"),
      (PlxResult{0, "2014-05-10T08:00:00-04:00 x\n", "", 0}));
}

TEST(InLine, MatchChoosesThePart) {
  Cases cases(8);
  const std::string line = "from 2014-05-10T08:30:15Z to 2014-05-11T08:30:15Z\n";
  const std::string first = "from 2014-05-10T08:00:00Z to 2014-05-11T08:30:15Z\n",
                    second = "from 2014-05-10T08:30:15Z to 2014-05-11T08:00:00Z\n";
  const struct {
    const char* pattern;
    std::string out;
  } rows[] = {{"from (\\S+)", first},    {"^.{25}", first},        {"to (\\S+)", second},
              {"to .*", second},         {"(?i)TO (.*)$", second}, {"(?<=to )\\d.*", second},
              {"2014.* to (.*)", second}};
  for (const auto& r : rows) {
    EXPECT_EQ(inLine({"--match", r.pattern}, line), (PlxResult{0, r.out, "", 0})) << r.pattern;
    ++cases;
  }
  EXPECT_EQ(inLine({"--match", "^.{19}"}, "2014-05-10T08:30:15.25Z x\n").out,
            "2014-05-10T08:00:00.25Z x\n")
      << "nothing is read beyond it";
  EXPECT_EQ(inLine({"--match", "until (.*)"}, line).status, 1) << "no line has it";
  EXPECT_FALSE(plx::Pattern("(until)?(.*)").find("2014-05-10")) << "its first group is not there";
  EXPECT_FALSE(plx::Pattern("(a)|b.*").find("b 2014-05-10")) << "nor any behind it";
  const PlxResult wrong = inLine({"--match", "to (.*"}, line);
  EXPECT_EQ(wrong.status, 2);
  EXPECT_TRUE(wrong.err.starts_with(
      "plx: --match: not a regular expression at character 7: missing closing parenthesis: "))
      << wrong.err;
  EXPECT_EQ(inLine({"--match", "(a+)+$"}, std::string(40, 'a') + "b\n" + line).status, 1);
  ++cases;
}

TEST(InLine, SeveralLogsInPlace) {
  const TemporaryFolder folder;
  folder.write("a.log", "2014-05-10T08:30:15Z a\n");
  folder.write("b.log", "b [10/Oct/2000:13:55:36 -0700]\n");
  EXPECT_EQ(runPlxIn(folder.path(""), words("set minute=0 second=0 --in-line -i a.log b.log")),
            (PlxResult{0, "", "", 0}));
  EXPECT_EQ(folder.read("a.log") + folder.read("b.log"),
            "2014-05-10T08:00:00Z a\nb [10/Oct/2000:13:00:00 -0700]\n");
}

TEST(InLine, Refusals) {
  Cases cases(3);
  const struct {
    const char *command, *message;
  } rows[] = {
      {"set day 1 --match x", "--match goes with --in-line"},
      {"set day 1 --in-line -c x", "--in-line is for lines, and --column for tables"},
      {"set day 1 --in-line --from s",
       "--in-line finds datetimes of the recognised forms; accepted: --format for others"},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(runPlx(words(r.command)),
              (PlxResult{2, "", "plx: " + std::string(r.message) + "\n", 0}))
        << r.command;
    ++cases;
  }
}

}  // namespace
