// Every example of the README and of the pages does what is printed beside it.

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>

#include "support/built.h"
#include "support/cases.h"
#include "support/lines_of.h"

namespace {

const std::string kRoot = PLX_SOURCE_DIR;

std::vector<std::string> linesOfFile(const std::string& name) {
  std::ifstream file(kRoot + "/" + name);
  EXPECT_TRUE(file) << name;
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

// The output of a command line of the pages: `plx` is the one that was built, files lie in the project.
std::vector<std::string> outputOf(const std::string& command) {
  return linesOf("cd '" + kRoot + "' && PATH=\"$(dirname '" + built("plx") + "'):$PATH\" && " +
                 command);
}

bool isPrompt(const std::string& line) { return line.rfind("    $ ", 0) == 0; }
bool isIndented(const std::string& line) { return line.rfind("    ", 0) == 0; }

// Where what is printed below a prompt ends: at the next prompt, and before an empty line unless
// more of it follows.
std::size_t endOfOutput(const std::vector<std::string>& lines, std::size_t at) {
  std::size_t end = at;
  for (; at < lines.size() && !isPrompt(lines[at]); ++at) {
    if (isIndented(lines[at])) {
      end = at + 1;
    } else if (!lines[at].empty()) {
      break;
    }
  }
  return end;
}

// A session: "    $ ", a command with plx in it, and below it what it prints.
void checkSessions(const std::string& name, Cases& cases) {
  const auto lines = linesOfFile(name);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (!isPrompt(lines[i]) || lines[i].find(" plx ") == std::string::npos) continue;
    const std::string command = lines[i].substr(6);
    std::vector<std::string> expected;
    for (std::size_t k = i + 1; k < endOfOutput(lines, i + 1); ++k)
      expected.push_back(lines[k].empty() ? "" : lines[k].substr(4));
    if (expected.empty()) continue;  // of another form
    EXPECT_EQ(outputOf(command), expected) << name << ": " << command;
    ++cases;
  }
}

// A row: a command, its one line of output, and whatever follows, matched by a pattern of two groups.
void checkRows(const std::string& name, const std::regex& row, Cases& cases) {
  for (const std::string& line : linesOfFile(name)) {
    std::smatch match;
    if (!std::regex_match(line, match, row)) continue;
    EXPECT_EQ(outputOf(match[1]), std::vector<std::string>{match[2]}) << name << ": " << line;
    ++cases;
  }
}

TEST(Docs, Sessions) {
  Cases cases(30);
  for (const char* name : {"README.md", "docs/time_zones.md", "docs/plx.md", "docs/recipes.md",
                           "docs/json_lines.md", "docs/logs.md"})
    checkSessions(name, cases);
}

TEST(Docs, TheReadmesComponents) {
  Cases cases(11);
  checkRows("README.md", std::regex(R"(.*\| `(plx set [^`]*)` \| `([^`]*)` \|)"), cases);
}

TEST(Docs, ValuesOutOfRange) {
  Cases cases(11);
  checkRows("docs/out_of_range.md", std::regex(R"(    \$ (plx set .*?)  +(\S+)  +.*)"), cases);
}

}  // namespace
