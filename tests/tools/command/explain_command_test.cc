// What plx prints on a terminal: explanations in its width and in colours, and no arrays.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <sstream>
#include <string>

#include "support/cases.h"
#include "tools/support/npy_bytes.h"
#include "tools/support/run_plx.h"
#include "tools/support/terminal.h"

namespace {

// Of a terminal of that many columns; 0 where it does not tell.
PlxResult onTerminalOf(unsigned short columns, const std::vector<std::string>& arguments) {
  const struct winsize size = {24, columns, 0, 0};
  int terminal = -1, own = -1;
  EXPECT_EQ(::openpty(&terminal, &own, nullptr, nullptr, &size), 0);
  for (const int end : {terminal, own}) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  PlxProcess plx(arguments, STDIN_FILENO, own, own);
  ::close(own);
  PlxResult result = {};
  char bytes[1000];
  for (ssize_t count = 0; (count = ::read(terminal, bytes, sizeof bytes)) > 0;)
    result.out.append(bytes, static_cast<std::size_t>(count));
  ::close(terminal);
  result.status = plx.wait().status;
  return result;
}

std::size_t longestLine(const std::string& text) {
  std::istringstream lines(std::regex_replace(text, std::regex("\x1b\\[[0-9;]*m|\r"), ""));
  std::size_t longest = 0;
  for (std::string line; std::getline(lines, line);) longest = std::max(longest, line.size());
  return longest;
}

TEST(Terminal, AnExplanationHasItsWidth) {
  if (!hasPseudoTerminals()) GTEST_SKIP() << kNoPseudoTerminals;
  const std::vector<std::string> command =
      words("explain hour 2 2014-03-09T12:50 -z America/New_York");
  ::unsetenv("COLUMNS");
  Cases cases(4);
  const struct {
    unsigned short columns;
    std::size_t least, most;
  } rows[] = {{50, 40, 50}, {60, 50, 60}, {0, 61, 78}, {200, 61, 78}};
  for (const auto& row : rows) {
    const PlxResult result = onTerminalOf(row.columns, command);
    EXPECT_EQ(result.status, 0) << result;
    EXPECT_GE(longestLine(result.out), row.least) << result.out;
    EXPECT_LE(longestLine(result.out), row.most) << result.out;
    ++cases;
  }
}

// Of a terminal that nothing is known of, no colours are asked.
TEST(Terminal, AnExplanationHasColours) {
  if (!hasPseudoTerminals()) GTEST_SKIP() << kNoPseudoTerminals;
  const std::vector<std::string> command = words("explain hour 2 2014-03-09T12:50");
  const char* const before = std::getenv("TERM");
  const std::string kind = before == nullptr ? "" : before;
  Cases cases(5);
  const struct {
    const char *terminal, *none;
    bool isColoured;
  } rows[] = {{"xterm", nullptr, true},
              {"xterm", "", true},
              {"xterm", "1", false},
              {"dumb", nullptr, false},
              {nullptr, nullptr, false}};
  for (const auto& row : rows) {
    row.terminal == nullptr ? ::unsetenv("TERM") : ::setenv("TERM", row.terminal, 1);
    row.none == nullptr ? ::unsetenv("NO_COLOR") : ::setenv("NO_COLOR", row.none, 1);
    const PlxResult result = onTerminalOf(80, command);
    EXPECT_EQ(result.status, 0) << result;
    EXPECT_NE(result.out.find("2014-03-09 02:50:00"), std::string::npos) << result.out;
    EXPECT_EQ(result.out.find('\x1b') != std::string::npos, row.isColoured) << result.out;
    ++cases;
  }
  ::unsetenv("NO_COLOR");
  before == nullptr ? ::unsetenv("TERM") : ::setenv("TERM", kind.c_str(), 1);
}

TEST(Terminal, ShowsNoArray) {
  if (!hasPseudoTerminals()) GTEST_SKIP() << kNoPseudoTerminals;
  const TemporaryFolder folder;
  const std::string path = folder.write("t.npy", npyOf("<f8", std::vector<double>{0.0}));
  const PlxResult result = onTerminalOf(80, {"set", "day", "2", path});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "plx: an array is no text for a terminal; accepted: -o FILE\r\n");
}

}  // namespace
