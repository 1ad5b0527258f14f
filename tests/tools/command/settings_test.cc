// Dates, times, relative values, multiples, ISO weeks and settings of the date as one, as people type them.
#include <gtest/gtest.h>

#include <string>

#include "set/short_zone_names.h"
#include "support/cases.h"
#include "tools/support/run_plx.h"

namespace {

// What is printed, with line ends for the spaces between results.
TEST(Settings, Rows) {
  const struct {
    const char *command, *printed, *why;
  } rows[] = {
      {"set time=09:30 2014-05-10T08:30:15.25", "2014-05-10T09:30:00", "the whole time of day"},
      {"set time 09:30:15.5 2014-05-10", "2014-05-10T09:30:15.5", "with a fraction"},
      {"set date=2024-02-29 2014-05-10T08:30:15.25", "2024-02-29T08:30:15.25", "the time stays"},
      {"set date=2024-060 2014-05-10", "2024-02-29", "in any form of a date"},
      {"set hour+=1 2014-11-02T00:30 -z America/New_York --fold earlier",
       "2014-11-02T01:30:00-04:00", "of a relative result that comes twice, the first"},
      {"set hour+=1 2014-11-02T00:30 -z America/New_York", "2014-11-02T01:30:00-05:00",
       "or the second"},
      {"set month=nov day=2 2014-05-10T01:30 -z America/New_York --together --fold earlier",
       "2014-11-02T01:30:00-04:00", "of settings that are resolved as one, too"},
      {"set hour+=1 2014-03-09T01:30 -z America/New_York --gap start", "2014-03-09T01:59:59-05:00",
       "of a relative result that is skipped, the last second before"},
      {"set day=3 2014-11-02T01:30 -z America/New_York --fold same", "2014-11-03T01:30:00-05:00",
       "a datetime that comes twice is the second"},
      {"set day=9 2014-03-09T02:30 -z America/New_York --fold earlier", "2014-03-09T03:30:00-04:00",
       "one that is skipped is as much later as the gap is long"},
      {"set month=feb hour=6 day=10 2014-01-29 -z Europe/Paris --quiet --together",
       "2014-02-10T06:00:00+01:00", "settings of the date with one of the clock between them"},
      {"set date=2014-03-09 2014-05-10T02:30 -z America/New_York", "2014-03-09T03:30:00-04:00",
       "one call of the module: only the result meets a gap"},
      {"set date=2014-01-31 month=feb 2014-05-10", "2014-03-03", "in turn, as others"},
      {"set month=feb day=last 2014-01-31 2014-01-15 --together", "2014-02-28 2014-02-28",
       "the last of February"},
      {"set day=last month=feb 2014-01-31 --together", "2014-02-28", "in any order"},
      {"set month=feb day=10 2014-05-31 --together", "2014-02-10", "nothing carries on the way"},
      {"set year=2015 day-of-year=60 2016-02-29 --together --check stop", "2015-03-01",
       "the day that was kept is set after all"},
      {"set month+=1 day=last 2014-01-31 2014-12-31 --together", "2014-02-28 2015-01-31",
       "the end of the next month"},
      {"set hour=6 month=feb minute=0 day=last 2014-01-31 --together", "2014-02-28T06:00:00",
       "settings of the clock stay in turn"},
      {"set day-of-week=mon month=feb day=last 2014-05-10 --together", "2014-02-24",
       "the day of the week comes last"},
      {"set date=2014-03-31 month+=-1 2014-05-10 --together --clip", "2014-02-28",
       "from a date that is set"},
      {"set quarter=last day=15 2014-05-10 --together", "2014-10-15",
       "a name with another setting"},
      {"set month 2 2014-05-31 --clip", "2014-02-28", "a new month, too"},
      {"set month+=1 2014-01-31 2014-12-15", "2014-03-03 2015-01-15", "as the module carries"},
      {"set month+=1 2014-01-31 2014-12-15 --clip", "2014-02-28 2015-01-15", "or not"},
      {"set month-=1 2014-03-31T10:00Z --clip", "2014-02-28T10:00:00Z", "backwards"},
      {"set year+=1 2016-02-29", "2017-03-01", "from a leap day"},
      {"set quarter+=1 2014-11-15", "2015-02-15", "three months"},
      {"set quarter 1 2014-06-15", "2014-01-15", "a new one begins with its first month"},
      {"set day+=30 2014-11-30T02:30 -z America/New_York", "2014-12-30T02:30:00-05:00",
       "on the clock of the zone"},
      {"set hour-=6 2014-03-09T05:30 -z America/New_York", "2014-03-08T23:30:00-05:00",
       "hours of the clock, not of time that passes"},
      {"set hour+=24 2014-03-08T05:30 -z America/New_York", "2014-03-09T05:30:00-04:00",
       "a day of 23 hours"},
      {"set second+=0.25 2014-05-10T08:30:59.9", "2014-05-10T08:31:00.15", "with a fraction"},
      {"set second-=60 2014-05-10T08:30:59.123456789123", "2014-05-10T08:29:59.123456789123",
       "every digit stays"},
      {"set second+=1 2012-06-30T23:59:59.5 -z UTCLeapSeconds", "2012-07-01T00:00:00.5Z",
       "an inserted second is passed over, as the module passes it"},
      {"set week-of-year+=1 2014-12-31", "2015-01-07", "seven days"},
      {"set iso-year+=1 2015-12-31 --clip", "2016-12-29", "the last week of the year"},
      {"set minute=down:15 2014-05-10T08:44:59.9", "2014-05-10T08:30:00",
       "nothing stays behind it"},
      {"set minute down:15 2014-05-10T08:44:59.9", "2014-05-10T08:30:00", "without the sign"},
      {"set minute=up:15 2014-05-10T08:45:00 2014-05-10T08:45:00.001 2014-05-10T23:50",
       "2014-05-10T08:45:00 2014-05-10T09:00:00 2014-05-11T00:00:00", "up to the next hour or day"},
      {"set minute=nearest:15 2014-05-10T08:37:30 2014-05-10T08:37:29.9999",
       "2014-05-10T08:45:00 2014-05-10T08:30:00", "half way is the later one"},
      {"set minute=down:7 2014-05-10T08:59", "2014-05-10T08:56:00", "within the hour"},
      {"set minute=up:7 2014-05-10T08:59", "2014-05-10T09:00:00", "whose end is a multiple, too"},
      {"set hour=down:6 2014-05-10T08:37Z", "2014-05-10T06:00:00Z", "of hours"},
      {"set time-of-day=down:5400 2014-05-10T08:37", "2014-05-10T07:30:00", "of the day"},
      {"get iso-week 2014-12-29 2021-01-01", "1 53", "by ISO 8601"},
      {"get iso-year 2014-12-29 2021-01-01", "2015 2020", "and the year that it belongs to"},
      {"set iso-week=last 2015-05-10 2014-05-10", "2016-01-03 2014-12-27", "53 or 52"},
      {"set iso-week=1 iso-year=2013 1965-01-01 --together", "2013-01-04",
       "though 2013 has no week 53"},
      {"get date 2014-05-11T08:30:15.25", "2014-05-11", "the date"},
      {"get time 2014-05-11T08:30:15.25", "08:30:15.25", "the time of day"},
      {"get time 2012-06-30T23:59:60.5 -z UTCLeapSeconds", "23:59:60.5", "inserted"},
      {"get day-of-week 2014-05-11 --week-start mon", "7", "Sunday comes last"},
      {"set day-of-week mon 2014-05-11 --week-start mon", "2014-05-05", "a name is a day"},
      {"set day-of-week sun 2014-05-10 --week-start mon", "2014-05-11", "of the same week"},
      {"set week-of-year 2 2014-01-01 --week-start wed", "2014-01-08",
       "1 January begins the first"},
      {"get week-of-year 2014-12-31 2014-12-31T00:00Z 2014-12-31T00:00+00:00", "53 53 53",
       "one rule"},
      {"get week-of-year 2014-12-31 -z Etc/UTC", "53", "for zones, too"},
  };
  Cases cases(std::size(rows));
  for (const auto& row : rows) {
    ++cases;
    std::string printed;
    for (const std::string& word : words(row.printed)) printed += word + '\n';
    EXPECT_EQ(runPlx(words(row.command)), (PlxResult{0, printed, "", 0}))
        << row.command << ": " << row.why;
  }
}

TEST(Settings, SaysWhatIsWrong) {
  const struct {
    const char *command, *told;
    int status;
  } rows[] = {
      {"set month +1 2014-05-31",
       "VALUE: looks relative: \"+1\"; accepted: 1 for a new value, "
       "month+=1",
       1},
      {"set month=+1 2014-05-31", "month+=1 for so much more", 1},
      {"set time=9 2014-05-10", "not a time of day: \"9\"; accepted: a time such as 09:30", 1},
      {"set time=24:00 2014-05-10", "not a time of day", 1},
      {"set time=09:30Z 2014-05-10", "not a time of day", 1},
      {"set date=2014-02-30 2014-05-10", "February 2014 has 28 days", 1},
      {"set date=2014-02-28T00 2014-05-10", "not a date", 1},
      {"set date+=1 2014-05-10", "day+=1", 1},
      {"set hour+=0.5 2014-05-10", "no difference", 1},
      {"set month+=last 2014-05-10", "no difference", 1},
      {"set iso-week=1.5 2014-05-10", "not a whole number", 1},
      {"set day=down:7 2014-05-10", "hour, minute, second and time-of-day", 1},
      {"set minute=down:61 2014-05-10", "no multiples of this", 1},
      {"set minute=up:0 2014-05-10", "no multiples of this", 1},
      {"set month=1 day-of-year=2 --together 2014-05-11",
       "month and day-of-year cannot be resolved together", 2},
      {"set iso-week=1 month=2 --together 2014-05-11", "cannot be resolved together", 2},
      {"get month 2014-05-11 --week-start monady", "did you mean Monday?", 2},
      {"set moth 1 2014-05-11", "unknown component (did you mean month?): \"moth\"", 3},
      {"set huor 1 2014-05-11", "unknown component (did you mean hour?): \"huor\"", 3},
      {"set month janaury 2014-05-11", "not a number (did you mean January?)", 1},
      {"set year+=300000 2014-05-10 -z Europe/Paris", "out of range", 1},
      {"set day+=1e300 2014-05-10", "out of range", 1},
      {"set quarter+=1e308 2014-05-10", "the result is out of range: \"2014-05-10\"", 1},
      {"set year=1e14 month+=1 2014-05-10", "the result is out of range", 1},
      {"set year=1e14 day=last 2014-05-10", "the result is out of range", 1},
      {"set year=200000 month+=1 2014-05-10 -z UTC+1", "the value or the result is out of range",
       1},
      {"set year=200000 day=1 2014-05-10 -z Europe/Paris --fold error", "out of range", 1},
      {"set year=200000 day=1 2014-05-10 -z UTC+1 --check report", "out of range", 1},
      {"set year=1e14 2014-05-10 --check report", "the result is out of range", 1},
      {"set time-of-day+=2147484 2014-05-10 -z UTC+1",
       "argument: the time of day is out of range: \"2014-05-10\"; accepted: in a time zone, "
       "seconds from -2147483 to 2147483",
       1},
      {"set hour+=3e9 2014-05-10 -z UTC+1",
       "argument: the value is out of range: \"2014-05-10\"; accepted: in a time zone, numbers "
       "from -2147483648 to 2147483647",
       1},
      {"set hour+=1 2014-11-02T00:30 -z America/New_York --fold error",
       "this time comes twice, as the clock goes back from 02:00:00 to 01:00:00, and is the "
       "second: \"2014-11-02T00:30\"; accepted: times that come once, or --fold",
       1},
      {"set day 1 2014-05-10 -z europe/paris", "unknown time zone (did you mean Europe/Paris?)", 3},
      {"set day 1 2014-05-10 -z Europe/Pariss", "did you mean Europe/Paris?", 3},
      {"set day 1 2014-05-10 -z NewYork", "did you mean America/New_York?", 3},
      {"set day 1 2014-05-10 -z Kathmandu", "did you mean Asia/Kathmandu?", 3},
      {"explain hour 2 2014-03-09 -z America/NewYork", "did you mean America/New_York?", 3},
      {"set day 1 2014-05-10 -z CEX", "unknown time zone: \"CEX\"", 3},
      {"set day 1 2014-05-10 -z nowhere-near", "unknown time zone: \"nowhere-near\"", 3},
      {"set day 1 2014-05-10 --year 2014",
       "--year: nothing takes it: \"2014\"; accepted: a --format without a year", 2},
      {"set day 1 --format %F --year 2014 2014-05-10", "--year: nothing takes it", 2},
      {"get day -c x:%F --year 2014", "--year: nothing takes it", 2},
      {"set day 1 --in-line --format %F --year 2014", "--year: nothing takes it", 2},
      {"set day 1 --format %Y-%U-%w 2014-05-6",
       "%U has days at both ends of a year in weeks 0 and 53: \"%Y-%U-%w\"; accepted: the weeks of "
       "ISO 8601, %G-W%V-%u",
       2},
      {"set day 1 --to-format %W 2014-05-10", "%W has days at both ends", 2},
      {"explain month=feb day=last 2014-01-31", "explain tells of one setting: \"day=last\"", 2},
      {"set day 1 --format %A-%d-%B-%Y Sunday-10-May-2014",
       "that day is a Saturday, in the format %A-%d-%B-%Y, and there is no such file", 1},
      {"set day 1 --format %A-%d-%B-%Y nosuch", "nosuch: cannot open", 4},
  };
  Cases cases(std::size(rows));
  for (const auto& row : rows) {
    ++cases;
    const PlxResult result = runPlx(words(row.command));
    EXPECT_EQ(result.status, row.status) << row.command << '\n' << result;
    EXPECT_NE(result.err.find(row.told), std::string::npos) << row.command << '\n' << result;
  }
}

TEST(Settings, HintsAtWhatTheFirstLineLooksLike) {
  Cases cases(7);
  const struct {
    const char *command, *input, *told;
  } rows[] = {
      {"set day 1 -c due", "id due\n1 2014-05-10\n",
       "the header is one field: \"id due\"; accepted: --delimiter"},
      {"set day 1 -c due", "\"id;due\"\n1;2014-05-10\n", "the header is one field: \"id;due\""},
      {"set day 1 -c a", "{\"a\":\"2014-05-10\"}\n", "as in --column .created"},
      {"set day 1 -c a", "a\n10/05/2014\n",
       "not a datetime, unless --format tells how it is written: \"10/05/2014\""},
      {"get day", "10.5.14\n", "unless --format tells how it is written"},
      {"set hour 1 -c a --zone-column z", "a,z\n2014-05-10T10:00Z,europe/paris\n",
       "unknown time zone (did you mean Europe/Paris?): \"europe/paris\""},
      {"set day 1", "{\"a\":\"2014-05-10\"}\n", "of JSON lines, choose a value with --column"},
  };
  for (const auto& row : rows) {
    const PlxResult result = runPlx(words(row.command), row.input);
    EXPECT_NE(result.status, 0) << row.command;
    EXPECT_NE(result.err.find(row.told), std::string::npos) << row.command << '\n' << result;
    ++cases;
  }
}

TEST(Settings, ADatetimeTypedInAFormatIsReadInItsZone) {
  EXPECT_EQ(runPlx(words("set second=30 -z UTCLeapSeconds --format %FT%T 2012-06-30T23:59:60")),
            (PlxResult{0, "2012-06-30T23:59:30\n", "", 0}));
}

// That settings in turn carried on the way is said once.
TEST(Settings, HintsAtTogether) {
  const std::string hint = "--together";
  const auto hints = [&](const char* command) {
    const PlxResult result = runPlx(words(command));
    EXPECT_EQ(result.status, 0) << result;
    const std::size_t first = result.err.find(hint);
    if (first == std::string::npos) return 0;
    return result.err.find(hint, first + 1) == std::string::npos ? 1 : 2;
  };
  EXPECT_EQ(hints("set month=feb day=last 2014-01-31 2014-03-31"), 1);
  EXPECT_EQ(hints("set month=feb day=10 2014-01-29"), 1);
  EXPECT_EQ(hints("set month=feb day=last 2014-01-28"), 0) << "nothing carried";
  EXPECT_EQ(hints("set month=mar day=last 2014-01-31"), 0);
  EXPECT_EQ(hints("set day=1 month=feb 2014-01-31"), 0);
  EXPECT_EQ(hints("set month=feb 2014-01-31"), 0) << "one setting, which is told by --check";
  EXPECT_EQ(hints("set month=feb day=last 2014-01-31 --together"), 0);
  EXPECT_EQ(hints("set month=feb day=last 2014-01-31 --clip"), 0);
  EXPECT_EQ(hints("set month=feb hour=6 day=10 2014-01-29"), 1) << "one of the clock between them";
  EXPECT_EQ(hints("set month=feb year=2015 2014-05-31"), 0) << "nor is there a 31 February as one";
  EXPECT_EQ(hints("set month=feb day=30 2014-01-31"), 1)
      << "nor a 30 February, but in turn 30 March";
  EXPECT_EQ(hints("set year=2015 month=feb 2016-02-29"), 1);
  EXPECT_EQ(hints("set month=feb day=30 2014-01-28"), 0) << "which only carries in the end";
  EXPECT_EQ(hints("set day=31 month=feb year=2016 2014-01-15"), 1);
  EXPECT_EQ(hints("set iso-year=2014 iso-week=5 2015-12-31"), 1) << "there is no week 53 in 2014";
  EXPECT_EQ(hints("set quarter=1 day-of-week=4 year=2013 2014-12-29"), 0)
      << "which as one is another day, but all of these exist";
  EXPECT_EQ(hints("set month=feb date=2014-05-30 month=jun 2014-01-31"), 0) << "the date is new";
  EXPECT_EQ(hints("set month=feb day=10 day=12 2014-01-31"), 0)
      << "which cannot be resolved as one";
  const PlxResult zones =
      runPlx(words("set month=feb day=10"), "2014-01-31T00:00Z\n2014-01-31T00:00+01:00\n");
  EXPECT_EQ(zones.out, "2014-03-10T00:00:00Z\n2014-03-10T00:00:00+01:00\n");
  EXPECT_EQ(zones.err.find(hint), zones.err.rfind(hint)) << "in two zones, " << zones.err;
  EXPECT_NE(zones.err.find(hint), std::string::npos);
}

// What --check tells of settings that are more than new values: not that they carry, which was asked.
TEST(Settings, AreChecked) {
  const struct {
    const char *command, *told;
  } rows[] = {
      {"month+=1 2014-12-15", ""},
      {"day-=40 2014-12-15", ""},
      {"hour+=30 2014-12-15", ""},
      {"minute=up:15 2014-12-31T23:59", ""},
      {"date=2024-02-29 2014-12-15", ""},
      {"month=2 day+=40 2014-12-15", ""},
      {"month=2 2014-12-31 --clip", ""},
      {"iso-week=last 2015-12-15", ""},
      {"month+=1 2014-01-31", "there is no 31 February 2014"},
      {"year+=1 2016-02-29", "there is no 29 February 2017"},
      {"iso-week=53 2014-05-10", "iso-week 53 carried over"},
      {"iso-year=2014 2015-12-31", "there is no ISO week 53 in 2014: 2015-01-01T00:00:00"},
      {"month=13 day=1 2014-05-01 --together", "month 13 carried over"},
      {"month=feb day=31 2014-05-01 --together", "there is no 31 February 2014: 2014-03-03"},
      {"month=feb year=2015 2014-05-31 --together", "there is no 31 February 2015: 2015-03-03"},
      {"date=2014-05-31 month-=3 2014-01-31 --together", "; date 2014-05-31 carried over: 2014-0"},
      {"date=2014-03-09 2014-05-10T02:30 -z America/New_York", "02:30:00 is skipped"},
      {"hour+=1 2014-11-02T00:30 -z America/New_York", "comes twice"},
      {"day-of-week=0 2014-05-11T00:00Z", "day-of-week 0 carried over"},
      {"month+=1 day=last 2014-01-31 --together", ""},
      {"day=3 2014-11-02T01:30 -z America/New_York",
       "\"2014-11-02T01:30\": the datetime comes twice, as the clock goes back from 02:00:00 to "
       "01:00:00\n"},
      {"day=3 2014-03-09T02:30 -z America/New_York",
       "\"2014-03-09T02:30\": the datetime does not exist: 02:30:00 is skipped on 2014-03-09"},
      {"month=13 2014-11-02T01:30 -z America/New_York",
       "to 01:00:00; month 13 carried over: 2015-01-02T01:30:00-05:00\n"},
  };
  Cases cases(std::size(rows));
  for (const auto& row : rows) {
    ++cases;
    const PlxResult result = runPlx(words(std::string("set --check report ") + row.command));
    EXPECT_EQ(result.status, 0) << result;
    EXPECT_EQ(result.err.empty(), row.told[0] == '\0') << row.command << '\n' << result;
    EXPECT_NE(result.err.find(row.told), std::string::npos) << row.command << '\n' << result;
  }
}

// Where a result differs from what was asked, and cannot be written either, the error alone is told.
TEST(Settings, AnErrorSaysMoreThanAFinding) {
  const PlxResult result =
      runPlx(words("set year=9999 month=13 --check report --to rfc3339 --on-error pass"),
             "2014-05-10T00:00Z\n2014-05-10\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "2014-05-10T00:00Z\n2014-05-10\n");
  EXPECT_EQ(result.err.find("carried over"), std::string::npos) << result.err;
  EXPECT_TRUE(result.err.ends_with("plx: 2 datetimes were wrong and were left as they stood\n"))
      << result.err;
}

// A date as people write it, which only a format tells how to read, is told apart from other texts.
TEST(Settings, HintsAtAFormat) {
  const struct {
    const char* text;
    bool hints;
  } rows[] = {{"1/2/3", true},     {"2014/5/10", true},  {"10.05.14 8:30", true},
              {"/5/2014", false},  {"20145/5/1", false}, {"1//3", false},
              {"1/234/5", false},  {"10/05", false},     {"10/05/x", false},
              {"10/05.14", false}, {"a/b/c", false}};
  Cases cases(std::size(rows));
  for (const auto& row : rows) {
    const PlxResult result = runPlx(words("get day"), std::string(row.text) + '\n');
    EXPECT_EQ(result.status, 1) << row.text;
    const bool hints =
        result.err.find("unless --format tells how it is written") != std::string::npos;
    EXPECT_EQ(hints, row.hints) << result.err;
    ++cases;
  }
}

// Names that are near to no zone's are told in each row as in the first, however many there are.
TEST(Settings, TellsWhatZoneWasMeantInEachRow) {
  std::string table = "t,z\n";
  for (int i = 0; i < 110; ++i) table += "2014-05-10,Nowhere/At/All" + std::to_string(i) + '\n';
  table += "2014-05-10,Europe/Pari\n2014-05-10,Europe/Pari\n";
  const PlxResult all = runPlx(words("get day -c t --zone-column z --on-error pass"), table);
  EXPECT_TRUE(all.err.ends_with("plx: 112 datetimes were wrong and were left as they stood\n"))
      << all.err;
  const std::string last = table.substr(table.find("2014-05-10,Europe"));
  const PlxResult two =
      runPlx(words("get day -c t --zone-column z --on-error pass"), "t,z\n" + last);
  std::size_t hints = 0;
  for (std::size_t at = 0; (at = two.err.find("did you mean Europe/Paris?", at)) < two.err.size();
       ++at)
    ++hints;
  EXPECT_EQ(hints, 2u) << two.err;
}

// Names that mean several zones are read as ICU reads them, and told of once.
TEST(Settings, TellsOfShortZoneNames) {
  const char* const told =
      "plx: time zone BST was read as Asia/Dhaka; if another was meant: Europe/London, "
      "Pacific/Bougainville\n";
  EXPECT_EQ(runPlx(words("set hour 0 2014-05-10 -z BST")), (PlxResult{0, "2014-05-10\n", told, 0}));
  EXPECT_EQ(runPlx(words("set hour 0 2014-05-10 -z BST --quiet")),
            (PlxResult{0, "2014-05-10\n", "", 0}));
  EXPECT_EQ(runPlx(words("set hour 0 2014-05-10 -z Asia/Dhaka")),
            (PlxResult{0, "2014-05-10\n", "", 0}));
  const PlxResult rows = runPlx({"get", "hour", "-c", "t", "--zone-column", "z"},
                                "t,z\n2014-05-10T08,BST\n2014-05-10T08,IST\n2014-05-10T08,BST\n");
  EXPECT_EQ(rows.out, "8\n8\n8\n");
  EXPECT_EQ(rows.err, std::string(told) +
                          "plx: time zone IST was read as Asia/Kolkata; if another was meant: "
                          "Asia/Jerusalem, Europe/Dublin\n");
}

// What is said that they are read as is so, winter and summer.
TEST(Settings, KnowsWhatShortZoneNamesAreReadAs) {
  Cases cases(22);
  for (const plx::ShortZoneName& zone : plx::kShortZoneNames) {
    const std::string read(zone.read.substr(0, zone.read.find(" all year")));
    for (const char* datetime : {"2014-01-10T08:30Z", "2014-07-10T08:30Z"}) {
      const auto shown = [&](const std::string& name) {
        return runPlx({"set", "hour+=0", datetime, "-z", name}).out;
      };
      EXPECT_EQ(shown(std::string(zone.name)), shown(read)) << zone.name;
      ++cases;
    }
  }
}

TEST(Settings, TakeValuesOfEachRow) {
  EXPECT_EQ(runPlx({"set", "month+=@-", "--clip", "2014-01-31", "2014-03-31"}, "1\n-1\n").out,
            "2014-02-28\n2014-02-28\n");
  EXPECT_EQ(runPlx({"set", "day-=@-", "2014-01-31", "2014-03-31"}, "1\n-1\n").out,
            "2014-01-30\n2014-04-01\n");
  EXPECT_EQ(runPlx({"set", "date=@-", "2014-01-31T10:00"}, "2024-02-29\n").out,
            "2024-02-29T10:00:00\n");
  const PlxResult table =
      runPlx({"set", "time=@at", "-c", "day"}, "day,at\n2014-01-31,09:30\n2014-02-28,\n");
  EXPECT_EQ(table.out, "day,at\n2014-01-31T09:30:00,09:30\n");
  EXPECT_NE(table.err.find("-:3:12: not a time of day"), std::string::npos) << table;
}

}  // namespace
