#include "timezone/text_constants.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using brel::i18n::ustring;

ustring unitsOf(const std::string& ascii) { return ustring(ascii.begin(), ascii.end()); }

TEST(TextConstants, EqualTheirLiterals) {
  const struct {
    const ustring& constant;
    const char* literal;
    std::size_t units;
  } rows[] = {
      {kUtcName, "UTC", 3},
      {kUtcLeapSecondsName, "UTCLeapSeconds", 14},
      {kUnknownZoneName, "Etc/Unknown", 11},
      {kLocalName, "local", 5},
      {kUnzonedName, "unzoned", 7},
      {kIsoInstantFormat, "uuuu-MM-dd'T'HH:mm:ss.SSS'Z'", 28},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(r.constant, unitsOf(r.literal)) << r.literal;
    EXPECT_EQ(r.constant.size(), r.units) << r.literal;
  }
}

TEST(StringToUString, GivesTheSameEntryEachTime) {
  const ustring* const first = &stringToUString("Test/Zone");
  for (int i = 0; i < 1000; ++i) stringToUString("entry " + std::to_string(i));  // rehashes
  EXPECT_EQ(&stringToUString("Test/Zone"), first);
  EXPECT_EQ(*first, unitsOf("Test/Zone"));
  EXPECT_NE(&stringToUString("UTC"), &kUtcName) << "a constant owns a copy";
}

TEST(StringToUString, AnEmptyTextIsATextToo) {
  const ustring* const empty = &stringToUString("");
  EXPECT_TRUE(empty->empty());
  EXPECT_EQ(&stringToUString(""), empty);
}

TEST(StringToUString, CaseAndLengthMatter) {
  EXPECT_NE(stringToUString("utc"), stringToUString("UTC"));
  EXPECT_EQ(stringToUString(std::string("a\0b", 3)).size(), 3u);
}

}  // namespace
