// What --describe tells programs is what --help tells people.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/cases.h"
#include "tools/support/run_plx.h"

namespace {

std::vector<std::string> fieldsOf(const std::string& line) {
  std::vector<std::string> fields(1);
  for (const char c : line) {
    if (c == '\t') {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

std::vector<std::vector<std::string>> described(std::vector<std::string> command) {
  command.push_back("--describe");
  const PlxResult result = runPlx(command);
  EXPECT_EQ(result.status, 0) << result;
  std::vector<std::vector<std::string>> lines;
  std::istringstream text(result.out);
  for (std::string line; std::getline(text, line);) lines.push_back(fieldsOf(line));
  return lines;
}

TEST(Describe, TellsWhatTheHelpTells) {
  Cases cases(20);
  std::vector<std::vector<std::string>> commands = {{}};
  for (const auto& line : described({}))
    if (line[0] == "command") commands.push_back({line[1]});
  EXPECT_GE(commands.size(), 5u);
  for (std::vector<std::string> command : commands) {
    const auto lines = described(command);
    command.push_back("--help");
    const std::string help = runPlx(command).out;
    for (const auto& line : lines) {
      ASSERT_EQ(line.size(), 5u);
      EXPECT_TRUE(line[0] == "command" || line[0] == "argument" || line[0] == "option");
      EXPECT_NE(help.find(line[1]), std::string::npos) << line[1];
      EXPECT_NE(help.find(line[2]), std::string::npos) << line[1];
      EXPECT_FALSE(line[4].empty()) << line[1];
      ++cases;
    }
    // As many options as the help has lines that begin with one.
    std::istringstream text(help);
    std::size_t options = 0, told = 0;
    for (std::string line; std::getline(text, line);) options += line.rfind("  -", 0) == 0;
    for (const auto& line : lines) told += line[0] == "option";
    EXPECT_EQ(told, options) << command[0];
  }
}

}  // namespace
