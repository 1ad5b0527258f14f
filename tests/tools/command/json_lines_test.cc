// plx on JSON lines: the values at some paths are set, and every other byte stays.
#include <gtest/gtest.h>

#include <string>

#include "support/cases.h"
#include "tools/support/pipe.h"
#include "tools/support/run_plx.h"

namespace {

TEST(JsonLines, OnlyTheValueChanges) {
  Cases cases(18);
  const struct {
    const char *command, *in, *out, *why;
  } rows[] = {
      {"set day 1 -c .at",
       "{ \"id\" :1.0e0, \"at\":\t\"2014-05-10T08:30:00Z\" ,\"e\":\"\\u00e9\\/\"}\r\n",
       "{ \"id\" :1.0e0, \"at\":\t\"2014-05-01T08:30:00Z\" ,\"e\":\"\\u00e9\\/\"}\r\n",
       "spaces, line ends, numbers and escapes elsewhere"},
      {"set day 1 -c .at", R"({"at":"2014-05-10T08:30:00\u002b02:00"})",
       R"({"at":"2014-05-01T08:30:00+02:00"})", "a string that changes is written without escapes"},
      {"set day 1 -c .o.at -c .by", R"({"by":"2014-06-20","o":{"x":0,"at":"2014-05-10"}})",
       R"({"by":"2014-06-01","o":{"x":0,"at":"2014-05-01"}})", "in the order of the line"},
      {"set day 1 -c .o.at -c .by", R"({"o":{"at":"2014-05-10"},"by":"2014-06-20"})",
       R"({"o":{"at":"2014-05-01"},"by":"2014-06-01"})", "in either order"},
      {"set day 1 -c .[1]", "[\"2014-05-10\",\"2014-05-10\"]\n",
       "[\"2014-05-10\",\"2014-05-01\"]\n", "an element of an array"},
      {"set day 1 -c . --jsonl", "\"2014-05-10\"\n\n \t\nnull\n", "\"2014-05-01\"\n\n \t\nnull\n",
       "the whole value; blank lines stay"},
      {"set day 1 -c .at", "\xEF\xBB\xBF{\"at\":\"2014-05-10\"}\n",
       "\xEF\xBB\xBF{\"at\":\"2014-05-01\"}\n", "a byte-order mark stays"},
      {"set day 1 -c .at", "{\"at\":null}\n{\"at\":\"\"}\n{}\n{\"at\":\"NaT\"}\n",
       "{\"at\":null}\n{\"at\":\"\"}\n{}\n{\"at\":\"NaT\"}\n", "what is missing stays"},
      {"set hour 0 -c .at --from s", R"({"at":1399710615,"n":1})", R"({"at":1399681815,"n":1})",
       "a number stays a number"},
      {"set hour 0 -c .at --from ms", R"({"at":1399710615250.5})", R"({"at":1399681815250.5})",
       "with a fraction"},
      {"set hour 0 -c .at --from s", R"({"at":"1399710615"})", R"({"at":"1399681815"})",
       "and a string a string"},
      {"set hour 0 -c .at --from s --to iso", R"({"at":1399710615})",
       R"({"at":"2014-05-10T00:30:15"})", "what is no number is a string"},
      {"set hour 0 -c .at --to s", R"({"at":"2014-05-10T08:30:15"})", R"({"at":1399681815})",
       "with --to, a count is a number"},
      {"set hour 0 -c .at --from s --to pair", R"({"at":1399710615})",
       R"({"at":"1399681815000,0"})", "a pair is a string"},
      {"set day=@.d -c .at --zone-column .z",
       R"({"d":2,"z":"Europe/Paris","at":"2014-05-10T22:30:00Z"})",
       R"({"d":2,"z":"Europe/Paris","at":"2014-05-02T00:30:00+02:00"})",
       "values and zones of the same line"},
      {"set minute 0 -c .at --zone-column .z", R"({"z":"","at":"2014-05-10T08:30:00+02:00"})",
       R"({"z":"","at":"2014-05-10T08:00:00+02:00"})", "no zone but that of the datetime"},
      {"set day=@.d -c .at", R"({"at":"2014-05-10","d":"last"})",
       R"({"at":"2014-05-31","d":"last"})", "names among the values"},
      {"get month -c .at -c .by", "{\"at\":\"2014-05-10\"}\n{\"by\":\"2014-06-20\",\"at\":null}\n",
       "5\t\n\t6\n", "get writes the values alone"},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(runPlx(words(r.command), r.in), (PlxResult{0, r.out, "", 0})) << r.why;
    ++cases;
  }
}

// However the lines arrive.
TEST(JsonLines, OneLineThatHasTheValueIsEnough) {
  const Pipe in, out;
  PlxProcess plx({"set", "day", "1", "-c", ".at"}, in.read, out.write, STDERR_FILENO);
  ::close(in.read);
  ::close(out.write);
  writeAll(in.write, "{\"at\":\"2014-05-10\"}\n");
  EXPECT_EQ(readLine(out.read), "{\"at\":\"2014-05-01\"}\n");
  writeAll(in.write, "{}\n");
  ::close(in.write);
  EXPECT_EQ(readLine(out.read), "{}\n");
  EXPECT_EQ(plx.wait().status, 0);
  ::close(out.read);
}

const std::string kMixed =
    "{\"at\":\"2014-05-10\"}\n{\"at\":\n{\"at\":\"later\"}\n{\"at\":[]}\n{\"at\":\"2014-05-20\"}\n";

// A line that is wrong ends where it ends, unlike a record of a table.
TEST(JsonLines, WrongLinesAreToldWithTheirNumber) {
  Cases cases(3);
  const struct {
    const char *onError, *out, *last;
  } rows[] = {
      {"stop", "{\"at\":\"2014-05-01\"}\n", ""},
      {"pass",
       "{\"at\":\"2014-05-01\"}\n{\"at\":\n{\"at\":\"later\"}\n{\"at\":[]}\n{\"at\":\"2014-05-01\"}"
       "\n",
       "plx: 3 datetimes were wrong and were left as they stood\n"},
      {"blank",
       "{\"at\":\"2014-05-01\"}\n{\"at\":\n{\"at\":null}\n{\"at\":[]}\n{\"at\":\"2014-05-01\"}\n",
       "plx: 3 datetimes were wrong and were left blank\n"},
  };
  for (const auto& r : rows) {
    const PlxResult result =
        runPlx({"set", "day", "1", "-c", ".at", "--on-error", r.onError}, kMixed);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, r.out) << r.onError;
    EXPECT_TRUE(
        result.err.starts_with("plx: -:2:1: not JSON, as the line ends within a value: "
                               "\"{\\\"at\\\":\"; accepted: one value"))
        << result.err;
    const bool goesOn = *r.last != '\0';
    EXPECT_EQ(result.err.find("plx: -:3:8: not a datetime: \"later\"") != std::string::npos,
              goesOn);
    EXPECT_EQ(result.err.find("plx: -:4:7: .at is an array") != std::string::npos, goesOn);
    EXPECT_TRUE(result.err.ends_with(r.last)) << result.err;
    ++cases;
  }
}

// What they have is not known.
TEST(JsonLines, OfWrongLinesNoValueIsMissed) {
  const auto set = [](const char* lines) {
    return runPlx(words("set day 1 -c .at --on-error pass"), lines);
  };
  Cases cases(3);
  for (const char* lines : {"x\ny\n", "{\"at\":[]}\n{\"at\":{}}\n", "{\"at\":\"2014\n]\n"}) {
    const PlxResult result = set(lines);
    EXPECT_EQ(result.status, 1) << result;
    EXPECT_EQ(result.out, lines);
    EXPECT_NE(result.err.find("plx: -:1:"), std::string::npos) << result;
    EXPECT_TRUE(result.err.ends_with("plx: 2 datetimes were wrong and were left as they stood\n"))
        << result;
    EXPECT_EQ(result.err.find("has this value"), std::string::npos) << result;
    ++cases;
  }
  const PlxResult mixed = set("x\n{}\n");
  EXPECT_EQ(mixed.status, 3);
  EXPECT_TRUE(
      mixed.err.ends_with("plx: -: no line without an error has this value: \".at\"; "
                          "accepted: a path that some line has\n"))
      << mixed;
}

TEST(JsonLines, APathThatNoLineHasIsAnError) {
  const TemporaryFolder folder;
  folder.write("a.jsonl", "{\"at\":null}\n{}\n");
  EXPECT_EQ(runPlxIn(folder.path(""), words("set day 1 -c .at a.jsonl")).status, 0)
      << "null in one line, absent in another";
  for (const char* rest : {"", " -i", " -o a.jsonl"}) {
    EXPECT_EQ(
        runPlxIn(folder.path(""), words("set day 1 -c .att a.jsonl" + std::string(rest))).err,
        "plx: a.jsonl: no line has this value: \".att\"; accepted: a path that some line has\n");
    EXPECT_EQ(folder.read("a.jsonl"), "{\"at\":null}\n{}\n");
  }
  EXPECT_EQ(runPlx(words("set day 1 -c .at"), ""), (PlxResult{0, "", "", 0})) << "no lines at all";
}

TEST(JsonLines, HowTheyAreRecognised) {
  Cases cases(8);
  const TemporaryFolder folder;
  const std::string json = "{\"at\":\"2014-05-10\"}\n", table = ".at\n2014-05-10\n";
  for (const char* name : {"a.jsonl", "a.ndjson", "a.JSONL", "a.log"}) folder.write(name, json);
  folder.write("t.csv", table);
  folder.write("t", table);
  for (const char* rest : {"-c .at a.jsonl", "-c .at a.ndjson", "-c .at a.JSONL", "-c .at a.log"}) {
    EXPECT_EQ(runPlxIn(folder.path(""), words("set day 1 " + std::string(rest))).out,
              "{\"at\":\"2014-05-01\"}\n");
    ++cases;
  }
  for (const char* rest : {"-c .at t.csv", "-c .at --csv t"}) {
    EXPECT_EQ(runPlxIn(folder.path(""), words("set day 1 " + std::string(rest))).out,
              ".at\n2014-05-01\n");
    ++cases;
  }
  const struct {
    const char *command, *message;
  } rows[] = {
      {"set day 1 a.jsonl",
       "no value of JSON is given; accepted: --column, with a path such as .created"},
      {"set day 1 -c at a.jsonl",
       "--column: not a path to a value of JSON: \"at\"; accepted: a path such as .created, "
       ".order.due, .\"a key\" or .items[0]"},
      {"set day 1 -c .at -c .[\"at\"] a.jsonl",
       "--column: this value is asked for twice: \".[\\\"at\\\"]\"; accepted: each value once"},
      {"set day 1 -c .at --new-column x a.jsonl",
       "--new-column, --no-header, --csv and --tsv are for tables, and the input is JSON lines"},
      {"set day 1 -c .at a.jsonl a.ndjson",
       "only one file of JSON lines can be read at a time; accepted: one INPUT, or several with "
       "-i"},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(runPlxIn(folder.path(""), words(r.command)),
              (PlxResult{2, "", "plx: " + std::string(r.message) + "\n", 0}))
        << r.command;
    ++cases;
  }
}

TEST(JsonLines, SeveralFilesInPlaceOnSeveralThreads) {
  Cases cases(4);
  std::string before, after;
  for (int i = 0; i < 30'000; ++i) {
    const std::string id = "{\"id\":" + std::to_string(i) + ",\"at\":\"2014-05-";
    before += id + "10\"}\n";
    after += id + "01\"}\n";
  }
  before.pop_back();  // a last line without its end keeps it so
  after.pop_back();
  for (const char* jobs : {"1", "3"}) {
    const TemporaryFolder folder;
    for (const char* name : {"a.jsonl", "b.jsonl"}) folder.write(name, before);
    EXPECT_EQ(runPlxIn(folder.path(""),
                       words("set day 1 -c .at -i a.jsonl b.jsonl --jobs " + std::string(jobs))),
              (PlxResult{0, "", "", 0}));
    for (const char* name : {"a.jsonl", "b.jsonl"}) {
      EXPECT_TRUE(folder.read(name) == after) << name;
      ++cases;
    }
  }
}

TEST(JsonLines, ALineMayBeLong) {
  const std::string text(3'000'000, 'x');
  const std::string in = "{\"text\":\"" + text + "\",\"at\":\"2014-05-10\"}\n";
  const PlxResult result = runPlx(words("set day 1 -c .at"), in + in);
  EXPECT_EQ(result.status, 0) << result.err.substr(0, 200);
  EXPECT_TRUE(result.out.ends_with("x\",\"at\":\"2014-05-01\"}\n"));
  EXPECT_EQ(result.out.size(), 2 * in.size());
  const PlxResult longer = runPlx(words("set day 1 -c .at"), in + "[\"" + text + text + "\"]\n");
  EXPECT_EQ(longer.status, 1);
  EXPECT_TRUE(longer.err.starts_with("plx: -:2:1: the line is too long, it begins: \"["))
      << longer.err;
}

}  // namespace
