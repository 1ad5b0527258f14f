#include "json/json_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "json/json_fault.h"
#include "support/cases.h"

namespace plx {
namespace {

// Bytes behind the text that would change it, were they read.
std::optional<JsonError> readIn(const std::string& text, const std::vector<std::string>& paths,
                                std::vector<JsonValue>& values) {
  std::vector<JsonPath> steps;
  Complaint complaint;
  for (const std::string& path : paths) steps.push_back(readJsonPath(path, complaint).value());
  const std::string padded = text + std::string(JsonReader::padding(), '"');
  return JsonReader(steps).read(std::string_view(padded).substr(0, text.size()), values);
}

std::string shown(const std::string& text, const JsonValue& value) {
  const std::string inside = text.substr(value.begin, value.end - value.begin);
  switch (value.kind) {
    case JsonValue::Kind::absent:
      return "absent";
    case JsonValue::Kind::null:
      return "null";
    case JsonValue::Kind::string:
      return "'" + inside + (value.escaped ? "' escaped" : "'");
    default:
      return inside;
  }
}

TEST(JsonReader, FindsValues) {
  Cases cases(21);
  const struct {
    const char *text, *path, *value;
  } rows[] = {
      {R"({"a":"x"})", ".a", "'x'"},
      {R"({"a":""})", ".a", "''"},
      {R"({ "b" : [1, {"a":3}] , "a" : 12.5e3 })", ".a", "12.5e3"},
      {R"({"a":"x\"y\\"})", ".a", R"('x\"y\\' escaped)"},
      {R"({"a":null})", ".a", "null"},
      {R"({"b":1})", ".a", "absent"},
      {R"({})", ".a", "absent"},
      {R"({"b":{"a":1}})", ".a", "absent"},
      {R"({"a":{"a":{"a":7}}})", ".a.a.a", "7"},
      {R"({"a":null})", ".a.b", "absent"},
      {R"({"\u0061":"x"})", ".a", "'x'"},
      {R"({"a.b":1,"a":{"b":2}})", ".\"a.b\"", "1"},
      {R"({"a":[10,20,30]})", ".a[2]", "30"},
      {R"({"a":[10,20,30]})", ".a[3]", "absent"},
      {R"("x")", ".", "'x'"},
      {R"(17  )", ".", "17"},
      {"null\r", ".", "null"},
      {R"([["x"]])", ".[0][0]", "'x'"},
      {R"({"b":[false,true,null],"a":3})", ".a", "3"},
      {R"({"b":1,"b":2,"a":3})", ".a", "3"},  // twice, but nobody asked for it
      {"{\"a\":1}\r", ".a", "1"},
  };
  for (const auto& r : rows) {
    std::vector<JsonValue> values;
    const auto error = readIn(r.text, {r.path}, values);
    EXPECT_FALSE(error) << r.text << ": " << error->complaint.what;
    ASSERT_EQ(values.size(), 1u);
    EXPECT_EQ(shown(r.text, values[0]), r.value) << r.text;
    ++cases;
  }
  std::vector<JsonValue> values;
  const std::string text = R"({"c":"3","a":"1","b":{"d":4,"e":"5"}})";
  EXPECT_FALSE(readIn(text, {".a", ".b.e", ".x", ".c", ".b.d"}, values));
  std::string all;
  for (const JsonValue& value : values) all += shown(text, value) + " ";
  EXPECT_EQ(all, "'1' '5' absent '3' 4 ");
}

TEST(JsonReader, TellsWhatIsWrong) {
  Cases cases(50);
  const std::string ends = "not JSON, as the line ends within a value",
                    more = "not JSON, as there is more behind its end",
                    open = "not JSON, as a string is not closed",
                    key = "not JSON, as a key in double quotes is missing",
                    comma = "not JSON, as a comma or a closing brace is missing",
                    element = "not JSON, as a comma or a closing bracket is missing",
                    missing = "not JSON, as a value is missing",
                    word = "not JSON, as a value is neither in double quotes nor a number",
                    escape = "not JSON, as a string has a wrong escape";
  const struct {
    std::string text, what;
    std::size_t at;
  } rows[] = {
      {R"({"a":1,})", key, 7},
      {R"({"a")", ends, 0},
      {R"({"a"})", "not JSON, as a colon is missing", 4},
      {R"({"a":)", ends, 0},
      {R"({"a":})", missing, 5},
      {R"({"b":[1,)", ends, 5},
      {R"({"b":[)", ends, 5},
      {R"({)", ends, 0},
      {R"([ )", ends, 0},
      {R"({"a":1)", ends, 0},
      {R"({"a":1]})", comma, 6},
      {R"({"b":[1})", element, 7},
      {R"({"b":[1,]})", missing, 8},
      {R"({"b":[,1]})", missing, 6},
      {R"({"b":[1 2]})", element, 8},
      {R"({"b":1 "a":2})", comma, 7},
      {R"({"b":"c":1})", comma, 8},
      {R"({"b":1:2})", comma, 6},
      {R"({b:1})", key, 1},
      {R"({'b':1})", key, 1},
      {R"({,})", key, 1},
      {R"({"b":tru})", word, 5},
      {R"({"b":True})", word, 5},
      {R"({"b":nulls})", word, 5},
      {R"({"b":NaN})", word, 5},
      {R"({"b":01})", word, 5},
      {R"({"b":+1})", word, 5},
      {R"({"b":.5})", word, 5},
      {R"({"b":1.})", word, 5},
      {R"({"b":"\x"})", escape, 6},
      {R"({"b":"\u12g4"})", escape, 6},
      {R"({"b\q":1})", escape, 3},
      {R"({"a":1} {"a":2})", more, 8},
      {R"({"a":1},)", more, 7},
      {R"({"a":1}})", more, 7},
      {R"(1 2)", more, 2},
      {R"({"a":"x)", open, 5},
      {R"({"a":"x\"})", open, 5},
      {R"({"a":"x\)", open, 5},
      {"{\"a\":\"x\x01\"}", "not JSON, as a string has a control character", 7},
      {"{\"a\":\"\xff\"}", "not JSON, as it is not UTF-8", 0},
      {"{\"a\":\"\xc3\"}", "not JSON, as it is not UTF-8", 0},
      {"{\"a\":\"\xed\xa0\x80\"}", "not JSON, as it is not UTF-8", 0},
      {"{\"a\":[],\"\xff\":}", missing, 12},
      {R"([1)", ends, 0},
      {R"({"a":1,"a":2})", "the key is there twice, and readers differ about which counts", 8},
      {R"({"a":1,"\u0061":2})", "the key is there twice, and readers differ about which counts", 8},
      {R"({"a":true})", ".a is true or false, not a string or a number", 5},
      {R"({"a":[]})", ".a is an array, not a string or a number", 5},
      {R"({"a":{"b":1}})", ".a is an object, not a string or a number", 5},
      {R"([1])", "the value is an array, not an object", 0},
      {R"("a")", "the value is a string, not an object", 0},
      {std::string(600, '[') + std::string(600, ']'), "the value is an array, not an object", 0},
      {R"({"b":)" + std::string(600, '[') + std::string(600, ']') + "}", "nested too deeply", 505},
  };
  for (const auto& r : rows) {
    std::vector<JsonValue> values;
    const auto error = readIn(r.text, {".a"}, values);
    ASSERT_TRUE(error) << r.text;
    EXPECT_TRUE(error->complaint.what.starts_with(r.what))
        << r.text << ": " << error->complaint.what;
    EXPECT_EQ(error->at, r.at) << r.text;
    ++cases;
  }
  // Where the whole value is asked for, of which there is one on a line.
  for (const char* text : {"1 2", "1 x", "1 \"x\""}) {
    std::vector<JsonValue> values;
    const auto error = readIn(text, {"."}, values);
    ASSERT_TRUE(error) << text;
    EXPECT_EQ(error->at, 2U) << text;
  }
  std::vector<JsonValue> values;
  const auto error = readIn(R"({"a":{"b":1}})", {".a[0]"}, values);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->complaint.what, ".a is an object, not an array");
  EXPECT_EQ(error->at, 5U);
}

// Every value of JSON passes, and of blanks alone something is told.
TEST(JsonFault, IsFoundWhereThereIsOne) {
  Cases cases(10);
  for (const char* text : {"null", " true ", "false", "-1.5e3", "\"\\u0041\"", "[]", "{}",
                           R"([false,{"a":[null]}])"}) {
    EXPECT_FALSE(findJsonFault(text)) << text;
    ++cases;
  }
  for (const char* text : {"", "  "}) {
    const auto fault = findJsonFault(text);
    ASSERT_TRUE(fault) << '"' << text << '"';
    EXPECT_STREQ(fault->what, "not JSON, as the line ends within a value");
    EXPECT_EQ(fault->at, 0U);
    ++cases;
  }
}

}  // namespace
}  // namespace plx
