// Arguments and options at their edges: the last that is taken, and the first that is not.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "support/cases.h"
#include "tools/support/npy_bytes.h"
#include "tools/support/run_plx.h"

namespace {

// A part of what is printed, or told where the status is not 0.
TEST(Options, AtTheirEdges) {
  const TemporaryFolder folder;
  folder.write("a.csv", "at,x\n2014-05-10,1\n");
  folder.write("long.csv", "at,x\n2014-05-10," + std::string(1500, '1') + '\n');
  folder.write("2014.csv", "2014-05-10\n");
  folder.write("values", "1\n");
  folder.write("empty.tsv", "");
  folder.write("t.npy", npyOf("<M8[D]", std::vector<std::int64_t>{16200}));
  const struct {
    const char* command;
    int status;
    const char *part, *why;
  } rows[] = {
      {"get month -- --quiet=1", 4, "--quiet=1: cannot open: No such file", "no option behind --"},
      {"help", 0, "Usage: plx [", "as --help"},
      {"help set", 0, "Usage: plx set", "as set --help"},
      {"help sett", 2, "help: no such command: \"sett\"", "none of this name"},
      {"help set get", 2, "help: no such command: \"get\"", "one command at a time"},
      {"--module none.so help set", 0, "Usage: plx set", "which needs no module"},
      {"--module", 2, "--module needs a PATH", "nothing behind it"},
      {"rules --module", 2, "plx: --module needs a PATH; see plx rules --help", "nor here"},
      {"components --module x --module y", 2, "plx: --module is given more than once;", "twice"},
      {"set month 3 2014-05-10 -z UTC -z UTC", 2, "plx: --zone is given more than once;", "twice"},
      {"set month 3 2014-05-10 --nosuch=1", 2, "not expected: --nosuch=1", "no option"},
      {"set =3 2014-05-10", 3, "unknown component: \"\"", "no name"},
      {"set month+=1 Day=2", 4, "Day=2: cannot open", "a capital letter is no component's"},
      {"set month 3 day=2", 2, "the two ways of setting cannot be mixed: \"day=2\"", "at the end"},
      {"set month 3 day=2 2014-05-10", 2, "cannot be mixed: \"day=2\"", "before the inputs"},
      {"set month=@values day=@values 2014-05-10", 2, "one file of values is read at a time", ""},
      {"set month=3/4 2014-05-10", 3, "unknown component: \"month=3/4\"", "the name of a file"},
      {"set month=@none/v 2014-05-10", 4, "none/v: cannot open", "but for a file of values"},
      {"set month 3 2014.csv/1", 4, "no datetime that is read, and there is no such file",
       "nothing is within a file"},
      {"set month 3 05/10 --year 9999 --format %m/%d", 0, "03/10", "the last year"},
      {"set month 3 05/10 --year 10000 --format %m/%d", 2, "--year: not a number", "no year"},
      {"set month 3 05/10 --year=-1 --format %m/%d", 2, "--year: not a number", "too early"},
      {"set month 3 05/10 --year 12x --format %m/%d", 2, "--year: not a number", "more than one"},
      {"set month 3 --fold twice 2014-05-10", 2, "--fold: unknown: \"twice\"; accepted: later,",
       ""},
      {"set month 3 --gap none 2014-05-10", 2, "--gap: unknown: \"none\"; accepted: shift,", ""},
      {"set month 3 --week-start last 2014-05-10", 2, "--week-start: not a day of the week", ""},
      {"set month 3 --week-start day 2014-05-10", 2, "not a day of the week: \"day\"", ""},
      {"set month 3 --zone-column z", 2, "--zone-column, --new-column and --no-header are for", ""},
      {"set month 3 --no-header", 2, "--zone-column, --new-column and --no-header are for", ""},
      {"set month 3 --jsonl -c .a --no-header", 2, "and the input is JSON lines", "of a table"},
      {"set month 3 --jsonl -c .a --new-column b", 2, "and the input is JSON lines", "of a table"},
      {"set month 3 --jsonl -c .a --csv", 2, "and the input is JSON lines", "two kinds at once"},
      {"set month 3 --jsonl -c .a --tsv", 2, "and the input is JSON lines", "two kinds at once"},
      {"set month 3 --tsv -c .a a.csv", 3, "there is no such column: \".a\"", "a column's name"},
      {"set month 3 -c .a empty.tsv", 1, "empty.tsv: the table is empty", "or of this file"},
      {"set month 3 2014-05-10T08:30 --progress", 0, "2014-03-10T08:30:00", "told beside it"},
      {"set month 3 2014-05-10 --longest 9", 1, "argument: the line is too long, it begins: ", ""},
      {"set month 3 x1 --format %d-%m-%Y", 4, "x1: cannot open", "begins as no day does"},
      {"set month 3 NaN --format %s", 4, "NaN: cannot open", "no datetime that could be set"},
      {"set month 3 2014-05-10T08:30:15.25 --digits 1000", 0, "T08:30:15.25", "as many as one may"},
      {"set month 3 2014-05-10T08:30:15.25 --digits 1001", 2, "--digits: not a number", "too many"},
      {"set month 3 -c at a.csv --longest 1024G", 0, "2014-03-10,1", "2^40 bytes"},
      {"set month 3 -c at a.csv --longest 1025G", 2,
       "--longest: not a size that it takes: \"1025G\"; accepted: 1 to 1099511627776 bytes, which "
       "are 1024G",
       "more"},
      {"set month 3 -c at a.csv --longest=", 2, "--longest needs a SIZE", "of nothing"},
      {"set month 3 -c at a.csv --longest K", 2, "not a size that it takes: \"K\"", "of nothing"},
      {"set month 3 -c at a.csv --longest 0M", 2, "not a size that it takes: \"0M\"", ""},
      {"set month 3 -c at a.csv --longest 1099511627777", 2, "not a size that it takes",
       "a byte more"},
      {"set month 3 -c at a.csv --jobs 65", 2, "--jobs: not a number that it takes: \"65\"", ""},
      {"set month 3 -c at long.csv --longest 1K", 1, "records of up to 1024 bytes",
       "of a kibibyte"},
      {"set month 3 -c at long.csv --longest 2K", 0, "2014-03-10,1111", "of two"},
      {"explain day 1 NaT", 1, "argument: not a datetime: \"NaT\"", "nothing to explain"},
      {"explain day 1 2014-05-10T08:30[Asia/Tokyo] -z UTC+1", 0, "Sat 2014-05-10 00:30:00",
       "its wall time is no part of what is explained"},
      {"explain day 1 2014-05-10T08:30:15.123456789012", 0, "01 08:30:15.123456789012",
       "every digit that came in"},
      {"rules diff --since 2100", 2, "--since: not a year that it takes: \"2100\"", "too late"},
      {"rules diff --since 1799", 2, "--since: not a year that it takes: \"1799\"", "too early"},
      {"rules diff --since 20140", 2, "--since: not a year that it takes: \"20140\"", ""},
      {"rules --module none.so diff --since x", 2, "--since: not a year", "a module stands before"},
      {"rules --help", 0, "Usage: plx rules", ""},
      {"rules diff --help", 0, "Usage: plx rules diff", ""},
      {"rules update --help", 0, "Usage: plx rules update", ""},
      {"set month 3 t.npy --on-error stop -o out.npy", 0, "", "as without it"},
      {"set month 3 t.npy --on-error pass -o out.npy", 2, "--on-error is for text", ""},
      {"set month 3 t.npy --jobs 2 -o out.npy", 0, "", "threads work on arrays, too"},
      {"set month 3 t.npy --jobs 0 -o out.npy", 2, "--jobs: not a number that it takes", ""},
      {"set month 3 t.npy t.npy", 2, "of .npy arrays, one at a time is set", ""},
      {"set month+=1 t.npy", 2, "month+=1 is for text, and the input is an .npy array", ""},
      {"set hour=up:3 t.npy", 2, "hour=up:3 is for text", ""},
      {"set date=2014-05-10 t.npy", 2, "date=2014-05-10 is for text", ""},
      {"set iso-week=2 t.npy", 2, "iso-week=2 is for text", ""},
      {"set month 3 t.npy --together", 2, "--together, --clip and --week-start are for text", ""},
      {"set month 3 t.npy --clip", 2, "--together, --clip and --week-start are for text", ""},
      {"set month 3 t.npy --week-start mon", 2, "--clip and --week-start are for text", ""},
      {"get month a.csv -c at --new-column m -i", 0, "", "adds a column"},
  };
  Cases cases(std::size(rows));
  for (const auto& row : rows) {
    ++cases;
    const PlxResult result = runPlxIn(folder.path(""), words(row.command));
    EXPECT_EQ(result.status, row.status) << row.command << ": " << row.why << '\n' << result;
    const std::string& said = row.status == 0 ? result.out : result.err;
    EXPECT_NE(said.find(row.part), std::string::npos) << row.command << '\n' << result;
  }
}

// Which of the formats was meant is no matter of one row.
TEST(Options, FormatsThatDifferEndTheRunWhateverIsToBecomeOfErrors) {
  const PlxResult result =
      runPlx(words("set day 1 -c t --format %d/%m/%Y --format %m/%d/%Y --on-error pass"),
             "t\n10/10/2014\n10/05/2014\n10/10/2014\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "t\n01/10/2014\n") << result;
}

// What arrays take beside new values: a whole time of day, the last one, and an array of values.
TEST(Options, WhatArraysAreSetTo) {
  const TemporaryFolder folder;
  folder.write("t.npy", npyOf("<M8[s]", std::vector<std::int64_t>{5, 86400 + 7}));
  folder.write("v.npy", npyOf("<i8", std::vector<std::int64_t>{3, 4}));
  const struct {
    const char* setting;
    std::vector<std::int64_t> seconds;
  } rows[] = {
      {"time=08:30", {30600, 86400 + 30600}},
      {"hour=last", {23 * 3600 + 5, 86400 + 23 * 3600 + 7}},
      {"hour=@v.npy", {3 * 3600 + 5, 86400 + 4 * 3600 + 7}},
  };
  Cases cases(std::size(rows));
  for (const auto& row : rows) {
    ++cases;
    const PlxResult result = runPlxIn(folder.path(""), {"set", row.setting, "t.npy"});
    ASSERT_EQ(result.status, 0) << row.setting << '\n' << result.err;
    EXPECT_EQ(numbersOf<std::int64_t>(result.out), row.seconds) << row.setting;
  }
}

// As where it is not set.
TEST(Options, ColumnsOfZeroTellNothing) {
  const auto command = words("explain month 3 2014-05-10");
  const PlxResult plain = runPlx(command);
  EXPECT_EQ(plain.status, 0) << plain;
  for (const char* columns : {"0", "-5", "wide", ""}) {
    ASSERT_EQ(::setenv("COLUMNS", columns, 1), 0);
    EXPECT_EQ(runPlx(command), plain) << columns;
  }
  ASSERT_EQ(::setenv("COLUMNS", "40", 1), 0);
  EXPECT_NE(runPlx(command).out, plain.out);
  ::unsetenv("COLUMNS");
}

}  // namespace
