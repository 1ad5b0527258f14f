// Coloured text as HTML.
#include "inspect/html.h"

#include <gtest/gtest.h>

#include <string>

#include "support/cases.h"

namespace plx {
namespace {

TEST(HTML, OfEachCharacterAndEscape) {
  const struct {
    const char *coloured, *html, *why;
  } rows[] = {
      {"", "", "nothing"},
      {"a\n b", "a\n b", "as it is"},
      {"<b>&\"", "&lt;b&gt;&amp;\"", "no text is markup"},
      {"\x1B[1mA\x1B[0m", "<span class=\"title\">A</span>", "a title"},
      {"\x1B[1;32mA\x1B[0m", "<span class=\"changed\">A</span>", "what changed"},
      {"\x1B[36mA\x1B[0m", "<span class=\"before\">A</span>", "what was before"},
      {"\x1B[33mA\x1B[0m", "<span class=\"warning\">A</span>", "a warning"},
      {"\x1B[31mA", "[31mA", "an escape that none of ours is does nothing"},
      {"A\x1B", "A", "a part of one"},
  };
  const std::string empty = htmlOf("");
  const std::size_t end = empty.find("</pre></div>\n");
  ASSERT_NE(end, std::string::npos);
  Cases cases(9);
  for (const auto& row : rows) {
    EXPECT_EQ(htmlOf(row.coloured), empty.substr(0, end) + row.html + empty.substr(end)) << row.why;
    ++cases;
  }
}

}  // namespace
}  // namespace plx
