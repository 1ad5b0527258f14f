#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "json/json_text.h"
#include "support/cases.h"

namespace plx {
namespace {

TEST(JsonText, Numbers) {
  Cases cases(25);
  for (const char* text : {"0", "-0", "12", "-7", "0.5", "1.25", "1e3", "1E+3", "0e-9", "-1.5e10",
                           "123456789012345678901234567890"}) {
    EXPECT_TRUE(isJsonNumber(text)) << text;
    ++cases;
  }
  for (const char* text : {"", "-", "+1", "01", "-01", ".5", "1.", "1.e3", "1e", "1e+", "1 ", " 1",
                           "0x1", "NaN", "Infinity", "1,0", "1a"}) {
    EXPECT_FALSE(isJsonNumber(text)) << text;
    ++cases;
  }
}

TEST(JsonText, Escapes) {
  Cases cases(14);
  const struct {
    const char *inQuotes, *text;
  } rows[] = {
      {"", ""},
      {"2014-05-10", "2014-05-10"},
      {R"(10\/Oct)", "10/Oct"},
      {R"(\"\\\b\f\n\r\t)", "\"\\\b\f\n\r\t"},
      {R"(\u002B02:00)", "+02:00"},
      {R"(\u00fc\u00DF)", "\u00fc\u00df"},
      {R"(\u20ac)", "\u20ac"},
      {R"(\ud83d\ude00!)", "\U0001F600!"},
      {R"(\ud83d)", "\uFFFD"},
      {R"(\ud83dx)", "\uFFFDx"},
      {R"(\ud83d\u0041)", "\uFFFDA"},
      {R"(\ude00)", "\uFFFD"},
  };
  for (const auto& r : rows) {
    EXPECT_TRUE(hasJsonEscapes(r.inQuotes)) << r.inQuotes;
    EXPECT_EQ(unescapedJson(r.inQuotes), r.text) << r.inQuotes;
    std::string again;
    appendJson(again, r.text);
    EXPECT_TRUE(hasJsonEscapes(again));
    EXPECT_EQ(unescapedJson(again), r.text) << "written and read again: " << again;
    ++cases;
  }
  for (const char* text : {R"(\)", R"(\x41)", R"(\u12)", R"(\u12g4)", R"(\')", R"(\U0041)"}) {
    EXPECT_FALSE(hasJsonEscapes(text)) << text;
    ++cases;
  }
  std::string controls;
  appendJson(controls, std::string_view("\0\x1f \x7f/", 5));
  EXPECT_EQ(controls, "\\u0000\\u001f \x7f/");
}

TEST(JsonText, Paths) {
  Cases cases(20);
  const struct {
    const char* text;
    JsonPath path;
  } rows[] = {
      {".", {}},
      {".created", {{"created", {}}}},
      {".order.due", {{"order", {}}, {"due", {}}}},
      {".a-b c:d", {{"a-b c:d", {}}}},
      {".\"a.b\"", {{"a.b", {}}}},
      {".\"\"", {{"", {}}}},
      {".[\"a\\u002eb\"]", {{"a.b", {}}}},
      {".items[0].at", {{"items", {}}, {"", 0}, {"at", {}}}},
      {".[12]", {{"", 12}}},
      {".a[1][2]", {{"a", {}}, {"", 1}, {"", 2}}},
      {".\"\u00fc\"", {{"\u00fc", {}}}},
  };
  for (const auto& r : rows) {
    Complaint complaint;
    EXPECT_EQ(readJsonPath(r.text, complaint), r.path) << r.text;
    EXPECT_EQ(complaint.what, "") << r.text;
    ++cases;
  }
  for (const char* text :
       {"", "created", "..", ".a.", ".a..b", ".[", ".[]", ".[x]", ".[-1]", ".[1", ".\"a", ".a\"b\"",
        ".[\"a\"", ".[\"\\x\"]", ".a[99999999999999999999]"}) {
    Complaint complaint;
    EXPECT_EQ(readJsonPath(text, complaint), std::nullopt) << text;
    EXPECT_EQ(complaint.what, "not a path to a value of JSON");
    ++cases;
  }
}

}  // namespace
}  // namespace plx
