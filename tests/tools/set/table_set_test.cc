// Columns of tables, set by the program as people run it.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/cases.h"
#include "tools/support/run_plx.h"
#include "tools/support/temporary_folder.h"

namespace {

const char* const kOrders =
    "id,created_at,note\r\n"
    "1,2014-05-10T08:30:00,\"a, b\"\r\n"
    "2,\"2014-06-11T08:30:00\",\"two\nlines\"\r\n"
    "3,,x\r\n"
    "4,NaT,\"say \"\"hi\"\"\"";

// The words of a command line in which a space inside a word is written as \x01.
std::vector<std::string> wordsWithSpaces(const char* command) {
  std::vector<std::string> result = words(command);
  for (std::string& word : result) std::replace(word.begin(), word.end(), '\x01', ' ');
  return result;
}

TEST(TableSet, Rows) {
  const struct {
    const char *file, *content, *command, *printed, *why;
  } rows[] = {
      {"a.csv", kOrders, "set month 1 -c created_at a.csv",
       "id,created_at,note\r\n"
       "1,2014-01-10T08:30:00,\"a, b\"\r\n"
       "2,\"2014-01-11T08:30:00\",\"two\nlines\"\r\n"
       "3,,x\r\n"
       "4,NaT,\"say \"\"hi\"\"\"",
       "everything but the datetimes stays, byte for byte"},
      {"a.csv", kOrders, "set month 1 -c created_at --new-column january a.csv",
       "id,created_at,note,january\r\n"
       "1,2014-05-10T08:30:00,\"a, b\",2014-01-10T08:30:00\r\n"
       "2,\"2014-06-11T08:30:00\",\"two\nlines\",2014-01-11T08:30:00\r\n"
       "3,,x,\r\n"
       "4,NaT,\"say \"\"hi\"\"\",NaT",
       "a column more"},
      {"a.tsv", "when\tn\n2014-05-10\t1\n", "set day last -c when a.tsv",
       "when\tn\n2014-05-31\t1\n", "tabs by the name of the file"},
      {"a.txt", "when\tn\n2014-05-10\t1\n", "set day last -c when --tsv a.txt",
       "when\tn\n2014-05-31\t1\n", "or because they were told"},
      {"a.csv", "id;when;sum\n1;2014-05-10;3,50\n", "set day last -c when a.csv",
       "id;when;sum\n1;2014-05-31;3,50\n", "semicolons that the header shows"},
      {"a.txt", "id\twhen\n1\t2014-05-10\n", "set day last -c 2 a.txt", "id\twhen\n1\t2014-05-31\n",
       "tabs"},
      {"a.txt", "id|when\n1|2014-05-10\n", "set day last -c when a.txt", "id|when\n1|2014-05-31\n",
       "bars"},
      {"a.csv", "when,a;b\n2014-05-10,1;2\n", "set day last -c when a.csv",
       "when,a;b\n2014-05-31,1;2\n", "the one with which the column is there"},
      {"a.csv", "a;b\n2014-05-10\n", "set day last -c a;b a.csv", "a;b\n2014-05-31\n",
       "a column alone, whose name has a semicolon"},
      {"a.csv", "a;\"x;y,z\";when\n1;\";,\";2014-05-10\n", "set day last -c when a.csv",
       "a;\"x;y,z\";when\n1;\";,\";2014-05-31\n", "quotes keep their rules"},
      {"a.csv", "a:when\n1:2014-05-10\n", "set day last -c when --delimiter : a.csv",
       "a:when\n1:2014-05-31\n", "any other character, as it is told"},
      {"a.csv", "a when\n1 2014-05-10\n", "set day last -c when --delimiter space a.csv",
       "a when\n1 2014-05-31\n", "a space"},
      {"a.csv", "a;when\n1;2014-05-10\n", "set hour 5 -c 2 --delimiter ; --new-column x;y a.csv",
       "a;when;\"x;y\"\n1;2014-05-10;2014-05-10T05:00:00\n", "quotes where they are needed"},
      {"a.csv", "a ; when ;n\n1 ; 2014-05-10\t;x\n2;  ;y\n", "set day last -c when a.csv",
       "a ; when ;n\n1 ; 2014-05-31\t;x\n2;  ;y\n", "blanks around fields stay"},
      {"a.csv", "id;at;due\n1;1399710615250;5/7/2014\n2;;-\n3;NULL; 12/31/2014\n",
       "set day last -c at:ms -c due:%m/%d/%Y --na NULL,- a.csv",
       "id;at;due\n1;1401525015250;5/31/2014\n2;;-\n3;NULL; 12/31/2014\n",
       "a form and a format of each column, and what is missing"},
      {"a.csv", "at:ms,at\n2014-05-10,1399710615250\n", "set day 1 -c at:ms a.csv",
       "at:ms,at\n2014-05-01,1399710615250\n", "a name with a colon"},
      {"a.csv", "at\n10.05.2014 08:30\n05/13/2014 8:30 AM\n",
       "set day 1 -c at --format %d.%m.%Y\x01%H:%M --format %m/%d/%Y\x01%I:%M\x01%p a.csv",
       "at\n01.05.2014 08:30\n05/01/2014 8:30 AM\n", "each datetime in its own format"},
      {"a.csv", "at\non 10/05/2014 08:30\n", "set day 1 -c at:on\x01%d/%m/%Y\x01%H:%M a.csv",
       "at\non 01/05/2014 08:30\n", "a format that begins with a word, and has a colon"},
      {"a.csv", "a:b\n10/05/2014 08:30\n", "set day 1 -c a:b:%d/%m/%Y\x01%H:%M a.csv",
       "a:b\n01/05/2014 08:30\n", "a colon in the name, and one in the format"},
      {"a.csv", "100%:a\n10/05/2014\n", "set day 1 -c 100%:a:%d/%m/%Y a.csv",
       "100%:a\n01/05/2014\n", "a per cent sign in the name"},
      {"a.csv", "at\n10/05\n", "set day 1 -c at:%d/%m --year 2014 a.csv", "at\n01/05\n",
       "the year of a column's own format"},
      {"a.csv", "at\n10/05/2014\n", "set day 1 -c at:%d/%m/%Y --to iso a.csv", "at\n2014-05-01\n",
       "a format written in a form"},
      {"a.csv", "at\n2014-05-10\n", "set day 1 -c at --to-format %d;%m,%y a.csv",
       "at\n\"01;05,14\"\n", "a format that needs quotes"},
      {"a.csv", "at\n10/05/2014\n", "get month -c at --format %d/%m/%Y a.csv", "5\n",
       "what is read alone"},
      {"a.csv", "2014-05-10,7\n2014-05-11,8\n", "set day 1 -c 1 --no-header a.csv",
       "2014-05-01,7\n2014-05-01,8\n", "by position"},
      {"a.csv", "2014-05-10,7\n", "get month -c 1 --no-header --new-column month a.csv",
       "2014-05-10,7,5\n", "a column more, which nothing names"},
      {"a.csv", "t,n\n2014-05-10,3\n", "set month=@n day=@n -c t a.csv", "t,n\n2014-03-03,3\n",
       "one column for two values"},
      {"a.csv", "\"\ta\"\tb\n2014-05-10\t1\n", "set day 1 -c 1 --tsv a.csv",
       "\"\ta\"\tb\n2014-05-01\t1\n", "a tab in quotes is part of the name"},
      {"a.csv", "t,n\n\n2014-05-10,\"1\"\n", "set day 1 -c t a.csv", "t,n\n\n2014-05-01,\"1\"\n",
       "an empty line before quotes"},
      {"a.csv", "start,shift\n2014-05-10T00:00:00,7\n2014-05-11T00:00:00,-1\n",
       "set hour @shift -c start a.csv",
       "start,shift\n2014-05-10T07:00:00,7\n2014-05-10T23:00:00,-1\n", "values of another column"},
      {"a.csv", "a,b\n2014-05-10,2014-05-11\n", "set day 1 -c b -c a a.csv",
       "a,b\n2014-05-01,2014-05-01\n", "two columns"},
      {"a.csv", "a,b\n2014-05-10,2014-05-11\n",
       "set day 1 -c a -c b --new-column x --new-column y a.csv",
       "a,b,x,y\n2014-05-10,2014-05-11,2014-05-01,2014-05-01\n", "two columns more"},
      {"a.csv", "a,b\n2014-05-10,2015-06-11\n",
       "set day 1 -c b -c a --new-column of_b --new-column of_a a.csv",
       "a,b,of_b,of_a\n2014-05-10,2015-06-11,2015-06-01,2014-05-01\n",
       "each name goes with its own column, whichever is first in the table"},
      {"a.csv",
       "t,tz\n2014-07-01T12:00:00Z,Europe/Paris\n2014-07-01T12:00:00Z,Asia/Tokyo\n"
       "2014-07-01T12:00:00,\n",
       "set hour 0 -c t --zone-column tz a.csv",
       "t,tz\n2014-07-01T00:00:00+02:00,Europe/Paris\n2014-07-01T00:00:00+09:00,Asia/Tokyo\n"
       "2014-07-01T00:00:00,\n",
       "a zone for each row"},
      {"a.csv", "\xEF\xBB\xBFt\n2014-05-10\n", "set day 1 -c t a.csv",
       "\xEF\xBB\xBFt\n2014-05-01\n", "a byte-order mark"},
      {"a.csv", "t,n\n2014-05-10,1\nnonsense,2\n2014-05-12,3\n",
       "set day 1 -c t --on-error pass a.csv", "t,n\n2014-05-01,1\nnonsense,2\n2014-05-01,3\n",
       "passed over"},
      {"a.csv", "t,n\n2014-05-10,1\nnonsense,2\n2014-05-12,3\n",
       "set day 1 -c t --on-error blank a.csv", "t,n\n2014-05-01,1\n,2\n2014-05-01,3\n", "blanked"},
      {"a.csv", "t,n\n2014-05-10,1\nnonsense,2\n2014-05-12,3\n", "set day 1 -c t a.csv",
       "t,n\n2014-05-01,1\n", "stopped"},
      {"a.csv", "a,b\n2014-05-10,2014-05-11\n2014-05-12,x\n2014-05-13,2014-05-14\n",
       "set day 1 -c a -c b a.csv", "a,b\n2014-05-01,2014-05-01\n",
       "before the record, whichever of its columns is wrong"},
      {"a.csv", kOrders, "get month -c created_at a.csv", "5\n6\n\nNaT\n", "what is read alone"},
      {"a.csv", "t,n\n2014-05-10,1\n", "get day-of-week -c t --new-column weekday a.csv",
       "t,n,weekday\n2014-05-10,1,7\n", "or as a column"},
      {"a.csv", "a,b\n2014-05-10,2013-06-11\n", "get year -c a -c b a.csv", "2014,2013\n",
       "several beside each other"},
      {"a.csv", "a,b\n2014-05-10,2013-06-11\n", "get year -c b -c a a.csv", "2013,2014\n",
       "in the order that was asked for"},
      {"a.csv", "t\n1400000000\n", "set hour=0 minute=0 second=0 -c t --from s --to iso a.csv",
       "t\n2014-05-13T00:00:00\n", "numbers where the form is told, several settings"},
      {"a.csv", "", "set day 1 -c 1 --no-header a.csv", "", "nothing at all"},
      {"a.csv", "t\n2014-12-31T23:59:00\n", "set second 59.9999999999 -c t --digits 3 a.csv",
       "t\n2014-12-31T23:59:59.999\n", "what is cut stays in its year"},
      {"a.csv", "t\n2014-12-31T23:59:00\n", "set time-of-day 86399.123 -c t --digits 3 a.csv",
       "t\n2014-12-31T23:59:59.123\n", "and what the double of 86399.123 is short of is no digit"},
  };
  Cases cases(std::size(rows));
  for (const auto& row : rows) {
    ++cases;
    const TemporaryFolder folder;
    folder.write(row.file, row.content);
    const PlxResult result = runPlxIn(folder.path(""), wordsWithSpaces(row.command));
    EXPECT_EQ(result.out, row.printed) << row.command << ": " << row.why << "\n" << result.err;
  }
}

TEST(TableSet, SaysHowManyMessagesItDoesNotShow) {
  const TemporaryFolder folder;
  std::string table = "t\n";
  for (int i = 0; i < 30; ++i) table += "2014-01-31\n";
  folder.write("a.csv", table);
  const PlxResult result =
      runPlxIn(folder.path(""), words("set month 2 -c t --check report a.csv"));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 22) << result.err;
  EXPECT_TRUE(
      result.err.ends_with("plx: 10 more such messages are not shown\n"
                           "plx: 30 datetimes differ from what was asked\n"))
      << result.err;
}

TEST(TableSet, RefusesToAppendToItsInput) {
  const TemporaryFolder folder;
  const std::string file = folder.write("a.csv", "t\n2014-05-10\n");
  const std::string err = folder.write("err", "");
  for (const char* command : {"set day 1 -c t a.csv", "get day -c t a.csv", "set day 1 a.csv"}) {
    const int in = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int out = ::open(file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    const int told = ::open(err.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    EXPECT_EQ(PlxProcess(words(command), in, out, told, folder.path("")).wait().status, 4);
    for (const int descriptor : {in, out, told}) ::close(descriptor);
    EXPECT_EQ(folder.read("a.csv"), "t\n2014-05-10\n");
    EXPECT_EQ(folder.read("err"),
              "plx: a.csv: the results would be appended to the input, and read again; accepted: "
              "-i, or -o with another file\n");
  }
}

TEST(TableSet, Complaints) {
  const struct {
    const char *content, *command, *told;
    int status;
  } rows[] = {
      {"t,n\n2014-05-10,1\nx,2\n", "set day 1 -c t a.csv",
       "plx: a.csv:3:1: not a datetime: \"x\"; accepted: ", 1},
      {"n,t\n1,2014-05-10\n2,\"2014-02-30\"\n", "set day 1 -c t a.csv",
       "plx: a.csv:3:4: February 2014 has 28 days: \"2014-02-30\"; accepted: ", 1},
      {"t,v\n2014-05-10,1\n2014-05-10,x\n", "set day @v -c t a.csv",
       "plx: a.csv:3:12: not a number: \"x\"; accepted: a decimal number", 1},
      {"t,v,w\n2014-05-10,1,x\n", "set month=@v day=@w -c t a.csv",
       "plx: a.csv:2:14: not a number: \"x\"", 1},
      {"t,v\n2014-05-10,x\n", "set month=3 day=@v -c t a.csv",
       "plx: a.csv:2:12: not a number: \"x\"", 1},
      {"t\n2014-05-10\n", "set month=3 -c t -c u --csv a.csv",
       "there is no such column: \"u\"; accepted: t; or", 3},
      {"a,t\n1,2014-05-10\n", "set month=3 -c t -c u --csv a.csv",
       "there is no such column: \"u\"; accepted: a, t; or", 3},
      {"u t\n", "set month=3 -c u --delimiter tab a.csv", "the header is one field: \"u t\"", 3},
      {"u,t\n", "set month=3 -c u --delimiter space a.csv",
       "there is no such column between space, but between ',': \"u\"", 3},
      {"t,z\n2014-05-10,Europe/Nowhere\n", "set day 1 -c t --zone-column z a.csv",
       "plx: a.csv:2:12: unknown time zone: \"Europe/Nowhere\"; accepted: ", 3},
      {"t,n\n2014-05-10,1\n", "set day 1 -c when a.csv", "\"when\"", 3},
      {"t;n\n2014-05-10;1\n", "set day 1 -c t --csv a.csv",
       "plx: a.csv: there is no such column between ',', but between ';': \"t\"; accepted: "
       "--delimiter",
       3},
      {"t:n\n2014-05-10:1\n", "set day 1 -c t a.csv",
       "plx: a.csv: the header is one field: \"t:n\"; accepted: --delimiter with what stands "
       "between",
       3},
      {"t;n,x\n2014-05-10;1,2\n", "set day 1 -c 1 a.csv",
       "plx: a.csv: the header can be read with ',' and with ';' between its columns; accepted: ",
       2},
      {"t\n2014-05-10\n", "set day 1 -c t --delimiter ab a.csv",
       "plx: --delimiter: no character between fields: \"ab\"; accepted: tab, space, or one "
       "character of ASCII that is no quote and no line end\n",
       2},
      {"t\n2014-05-10\n", "set day 1 -c t --delimiter \" a.csv", "--delimiter: no character", 2},
      {"t\n2014-05-10\n", "set day 1 -c t --delimiter ; --csv a.csv", "one of --csv, --tsv", 2},
      {"t\n2014-05-10\n", "set day 1 -c t --longest 9 a.csv",
       "a.csv:2:1: the record is too long, it begins: \"2014-05-10\\n\"; accepted: records of up "
       "to 9",
       1},
      {"t\n2014-05-10\n", "set day 1 --longest 9 --on-error pass a.csv",
       "a.csv:2:1: the line is too long, it begins: \"2014-05-10\"; accepted: lines of up to 9 "
       "bytes",
       1},
      {"t\n2014-05-10\n", "set day 1 -c t --longest 9X a.csv", "--longest: not a size", 2},
      {"t,n\n2014-05-10,1\n", "set day 1 a.csv",
       "; of a table, choose a column with --column, of t, n\n", 1},
      {"t;n\n2014-05-10;1\n", "set day 1 a.csv", "--column, of t, n\n", 1},
      {"2014-05-10\nx,y\n", "set day 1 a.csv", "+hh:mm]], as in 2014-05-10T08:30:15.25\n", 1},
      {"t,n\n2014-05-10,1\n", "set day 1 -c t --new-column n a.csv",
       "plx: --new-column: the table has such a column already: \"n\"; accepted: another name", 2},
      {"t, n\n2014-05-10,1\n", "get day -c t --new-column=\tn a.csv",
       "plx: --new-column: the table has such a column already: \"\\tn\"", 2},
      {"t,n\n2014-05-10,1\n", "get day -c t -c n --new-column x --new-column x a.csv",
       "plx: --new-column: the table has such a column already: \"x\"", 2},
      {"t,n\n2014-05-10,1\n", "set day 1 -c t -c t a.csv", "given twice", 2},
      {"t\n10/05/2014\n",
       "set day 1 -c t --format %d/%m/%Y --format %m/%d/%Y --on-error pass a.csv",
       "plx: a.csv:2:1: the formats %d/%m/%Y and %m/%d/%Y read it as two different datetimes", 1},
      {"t\n10/05/2014\n", "set hour 1 -c t --format %d/%m/%Y a.csv",
       "a.csv:2:1: the format has no place for the hour: \"10/05/2014\"", 1},
      {"t\n2014-05-10\n", "set day 1 -c t --format %d/%m/%Y a.csv",
       "a.csv:2:1: not in the format %d/%m/%Y, as in 10/05/2014: \"2014-05-10\"", 1},
      {"t\n10/05\n", "set day 1 -c t --format %d/%m a.csv", "the format has no year: \"%d/%m\"", 2},
      {"t\n10/05\n", "set day 1 -c t:%d/%Q a.csv", "--column: \"%Q\" is not known in formats", 2},
      {"t\n10/05\n", "set day 1 -c t --format %d/%m --year x a.csv", "--year: not a number", 2},
      {"t\n10/05\n", "set day 1 -c t --format %F --from iso a.csv", "either by --from or by", 2},
      {"t\n10/05\n", "set day 1 -c t --to-format %F --to iso a.csv", "either by --to or by", 2},
      {"t\n10/05\n", "set day 1 -c t --to-format x a.csv", "--to-format: the format has no letters",
       2},
      {"t\n10/05\n", "set day 1 -c t --from %F a.csv", "--from: a format and no form", 2},
      {"t\n10/05/2014\n", "set day 1 -c t:%d/%m/%Y -c t a.csv", "given twice", 2},
      {"t,n\n2014-05-10,1\n", "set day 1 -c t --jobs 0 a.csv", "plx: --jobs: ", 2},
      {"t,n\n2014-05-10,1\n", "set day 1 -c t --from seconds a.csv", "unknown form: \"seconds\"",
       2},
      {"t,n\n2014-05-10,1\n", "set day 1 -c t --on-error go a.csv", "stop, blank or pass", 2},
      {"t,n\n2014-05-10,1\n", "set day 1 -c t --check go a.csv", "report, blank or stop", 2},
      {"t,n\n2014-05-10,1\n", "set day 1 -c t a.csv a.csv", "only one table", 2},
      {"t,n\n2014-05-10,1\n", "set day 1 --new-column x a.csv", "are for tables", 2},
      {"t,n\n2014-05-10,1\n", "set day 1 --csv a.csv", "--column, with a name or a number", 2},
      {"t;n\n2014-05-10;1\n", "set day 1 --delimiter ; a.csv", "--column, with a name", 2},
      {"t,n\n2014-05-10,1\n", "get day --tsv a.csv", "--column, with a name or a number", 2},
      {"t,n\n2014-05-10,1\n", "set day 1 -c t -c n --new-column x a.csv", "one for each", 2},
      {"t,n\n2014-05-10,1\n", "set day -c t", "required", 2},
      {"t\n", "set hour 0 minute=0 2014-05-10", "cannot be mixed: \"minute=0\"", 2},
      {"t\n", "set day 1 --from s 1e3", "argument: ", 1},
      {"t\n", "set day 1 --from pair 12", "argument: ", 1},
      {"t\n", "set month=2 month=2/x.csv", "month=2/x.csv: cannot open", 4},
      {"t\n2014-01-31\n", "set month 2 -c t --check stop a.csv",
       "plx: a.csv:2:1: \"2014-01-31\": there is no 31 February 2014", 1},
      {"t\n2014-01-31\n", "set month 2 -c t --check blank a.csv",
       "plx: 1 datetime differs from what was asked, and was left blank\n", 0},
      {"t\nx\n", "set day 1 -c t --on-error pass a.csv",
       "plx: 1 datetime was wrong and was left as it stood\n", 1},
      {"t\nx\n", "set day 1 -c t --on-error pass a.csv -o a.csv",
       "plx: 1 datetime was wrong and was left as it stood; a.csv was replaced\n", 1},
      {"t\nx\n", "set day 1 -c t --on-error blank a.csv -o b.csv",
       "plx: 1 datetime was wrong and was left blank; b.csv was written\n", 1},
      {"when,t\nx\n", "set day 1 -c wehn a.csv", "no such column (did you mean when?)", 3},
  };
  Cases cases(std::size(rows));
  for (const auto& row : rows) {
    ++cases;
    const TemporaryFolder folder;
    folder.write("a.csv", row.content);
    const PlxResult result = runPlxIn(folder.path(""), words(row.command));
    EXPECT_NE(result.err.find(row.told), std::string::npos) << row.command << "\n" << result.err;
    EXPECT_EQ(result.status, row.status) << row.command << "\n" << result.err;
  }
}

TEST(TableSet, ErrorsAreCounted) {
  Cases cases(1);
  const TemporaryFolder folder;
  std::string content = "t\n";
  for (int i = 0; i < 100000; ++i) content += i % 10 == 0 ? "2014-05-10\n" : "dirt\n";
  folder.write("a.csv", content);
  const PlxResult result = runPlxIn(folder.path(""), words("set day 1 -c t --on-error pass a.csv"));
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("90000 datetimes were wrong and were left as they stood"),
            std::string::npos)
      << result.err.substr(0, 2000);
  ++cases;
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 22)
      << "20 of several chunks, how many more there are, and how many in all";
}

TEST(TableSet, JobsGiveTheSame) {
  Cases cases(2);
  const TemporaryFolder folder;
  std::string content = "n,t\n";
  for (int i = 0; i < 50000; ++i) {
    content +=
        std::to_string(i) + (i % 7 == 0 ? ",\"2014-05-10T08:30:00\nx\"\n" : ",2014-05-10T08:30\n");
  }
  folder.write("a.csv", content);
  const auto run = [&](const std::string& jobs) {
    return runPlxIn(folder.path(""), words("set day 1 -c t --on-error pass a.csv --jobs " + jobs));
  };
  const PlxResult one = run("1");
  EXPECT_EQ(one.status, 1);
  for (const char* jobs : {"2", "7"}) {
    ++cases;
    EXPECT_EQ(run(jobs), one) << jobs;
  }
}

TEST(TableSet, TheInputMayBeTheOutput) {
  Cases cases(2);
  const TemporaryFolder folder;
  folder.write("a.csv", "t\n2014-05-10\n");
  const PlxResult good = runPlxIn(folder.path(""), words("set day 1 -c t a.csv -o a.csv"));
  EXPECT_EQ(good.status, 0) << good.err;
  ++cases;
  EXPECT_EQ(good.out, "");
  EXPECT_EQ(folder.read("a.csv"), "t\n2014-05-01\n");
  folder.write("a.csv", "t\n2014-05-10\nx\n");
  const PlxResult bad = runPlxIn(folder.path(""), words("set day 1 -c t a.csv -o a.csv"));
  ++cases;
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(folder.read("a.csv"), "t\n2014-05-10\nx\n") << "the old file stays whole";
}

}  // namespace
