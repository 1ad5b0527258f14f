#include "messages/message.h"

#include <gtest/gtest.h>

#include <string>

namespace plx {
namespace {

TEST(QuoteText, FitsOneLineOfATerminal) {
  const struct {
    std::string text, shown;
    const char* why;
  } rows[] = {
      {"2014-05-10", "\"2014-05-10\"", "plain text stays"},
      {"", "\"\"", "an empty text shows"},
      {"a\tb\r\nc", R"("a\tb\r\nc")", "the usual control characters by their usual names"},
      {"\x1B[31m", R"("\x1B[31m")", "no colour commands reach the terminal"},
      {std::string("a\0b", 3), R"("a\x00b")", "nor does a zero byte end the line"},
      {"\xC2\x9B", R"("\xC2\x9B")", "the second range of control characters"},
      {"\xE2\x80\xAE", R"("\xE2\x80\xAE")", "nothing turns the line around"},
      {"\xE2\x81\xA6", R"("\xE2\x81\xA6")", "nor a part of it"},
      {"10. M\xC3\xA4rz", "\"10. M\xC3\xA4rz\"", "letters of other languages stay"},
      {"\xC3(", R"("\xC3(")", "bytes that are no UTF-8"},
      {"say \"x\\y\"", R"("say \"x\\y\"")", "quotes and backslashes"},
  };
  for (const auto& r : rows) EXPECT_EQ(quoteText(r.text), r.shown) << r.why;
}

TEST(QuoteText, CutsLongTextsOnAWholeCharacter) {
  EXPECT_EQ(quoteText(std::string(100, 'x')), '"' + std::string(100, 'x') + '"');
  EXPECT_EQ(quoteText(std::string(101, 'x')), '"' + std::string(100, 'x') + "\"... (101 bytes)");
  EXPECT_EQ(quoteText(std::string(99, 'x') + "\xC3\xA4"),
            '"' + std::string(99, 'x') + "\"... (101 bytes)");
}

TEST(EscapeText, KeepsFileNamesWhole) {
  EXPECT_EQ(escapeText(std::string(300, 'x')), std::string(300, 'x'));
  EXPECT_EQ(escapeText("a \"b\"\n"), "a \"b\"\\n");
  EXPECT_EQ(escapeText(""), "\"\"") << "a message that begins with nothing would name no file";
}

}  // namespace
}  // namespace plx
