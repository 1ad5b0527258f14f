// What `plx explain` prints, read by eye once and held since.
#include "inspect/explain.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "command/explain_command.h"
#include "host/embed.h"
#include "module/components.h"
#include "support/cases.h"
#include "tools/support/run_plx.h"
#include "tools/support/terminal.h"

namespace plx {
namespace {

struct Session {
  std::string command, printed;
};

// "$ plx ..." and what it prints, up to the next one.
std::vector<Session> sessionsOf(const char* path) {
  std::ifstream file(path);
  std::vector<Session> sessions;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("$ plx ")) {
      sessions.push_back({line.substr(6), ""});
    } else {
      sessions.back().printed += line + '\n';
    }
  }
  return sessions;
}

const std::vector<Session>& sessions() {
  static const auto all = sessionsOf(PLX_SOURCE_DIR "/tests/library/inspect/golden/explain.txt");
  return all;
}

TEST(Explain, PrintsWhatWasReviewed) {
  ASSERT_EQ(::unsetenv("COLUMNS"), 0);
  Cases cases(39);
  for (const Session& session : sessions()) {
    EXPECT_EQ(runPlx(words(session.command)), (PlxResult{0, session.printed, "", 0}))
        << session.command;
    ++cases;
  }
}

TEST(Explain, FitsFortyColumns) {
  Cases cases(100);
  ASSERT_EQ(::setenv("COLUMNS", "40", 1), 0);
  for (const char* command :
       {"explain hour 2 2014-03-09T12:50 -z America/New_York", "explain month feb 2014-05-31",
        "explain day 2 2014-11-10T01:30 -z America/New_York",
        "explain time-of-day 3600.5 2014-05-10 -z UTC", "explain day-of-year last 2014-05-10",
        "explain week-of-year last 2014-05-10",
        "explain second+=1 2014-05-31T10:00 -z America/Argentina/ComodRivadavia"}) {
    const PlxResult told = runPlx(words(command));
    EXPECT_EQ(told.status, 0) << told;
    std::istringstream lines(told.out);
    for (std::string line; std::getline(lines, line); ++cases) EXPECT_LE(line.size(), 40u) << line;
  }
  ASSERT_EQ(::unsetenv("COLUMNS"), 0);
}

TEST(Explain, FitsEightyColumns) {
  Cases cases(200);
  for (const Session& session : sessions()) {
    if (session.command.find("+12330436978417") != std::string::npos) continue;
    if (session.command.find(".987654321") != std::string::npos) continue;
    std::istringstream lines(session.printed);
    for (std::string line; std::getline(lines, line); ++cases) EXPECT_LE(line.size(), 80u) << line;
  }
}

TEST(Explain, RefusesWhatSettingRefuses) {
  for (const char* arguments :
       {"month x 2014-05-10", "months 1 2014-05-10", "month 1 2014-02-30",
        "month 1 2014-05-10 -z Mars/Base", "month 1.5 2014-05-10", "year 1e14 2014-05-10",
        "time-of-day 2147484 2014-05-10 -z Europe/Paris", "year 200000 2014-05-10 -z Etc/UTC",
        "hour 1 2012-06-30T23:59:60 -z UTC"}) {
    const PlxResult set = runPlx(words(std::string("set ") + arguments));
    const PlxResult explained = runPlx(words(std::string("explain ") + arguments));
    EXPECT_NE(explained.status, 0) << arguments;
    EXPECT_EQ(explained.status, set.status) << arguments;
    EXPECT_EQ(explained.out, "") << arguments;
    EXPECT_EQ(std::count(explained.err.begin(), explained.err.end(), '\n'), 1) << arguments;
  }
  EXPECT_EQ(runPlx({"explain", "month", "@values", "2014-05-10"}).status, 2);
  EXPECT_EQ(runPlx({"explain", "month", "1"}).status, 2);
  EXPECT_EQ(runPlx({"explain", "month", "1", "2014-05-10", "2014-05-11"}).status, 2);
}

TEST(Explain, ColoursAddNothingButEscapes) {
  ASSERT_EQ(paSetLocale("en_US", nullptr), 0);
  const Zone zone = Zone::named("America/New_York");
  const Component hour = Component::hour;
  const Explained explained{zone, {hour, 2.0}, "2", {1394383800000.0, 0}, {1394351400000.0, 0}, 9};
  const std::string plain = explain(explained, false), coloured = explain(explained, true);
  EXPECT_EQ(plain.find('\x1B'), std::string::npos);
  EXPECT_NE(coloured.find("\x1B[1;32m"), std::string::npos);
  EXPECT_EQ(std::regex_replace(coloured, std::regex("\x1B\\[[0-9;]*m"), ""), plain);
}

TEST(TakesColour, OnATerminalUnlessRefused) {
  if (!hasPseudoTerminals()) GTEST_SKIP() << kNoPseudoTerminals;
  const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(terminal, 0);
  int pipe[2];
  ASSERT_EQ(::pipe(pipe), 0);
  ::setenv("TERM", "xterm", 1);
  ::unsetenv("NO_COLOR");
  EXPECT_TRUE(takesColour(terminal));
  EXPECT_FALSE(takesColour(pipe[1]));
  EXPECT_FALSE(takesColour(-1));
  ::setenv("NO_COLOR", "", 1);
  EXPECT_TRUE(takesColour(terminal)) << "an empty one does not count";
  ::setenv("NO_COLOR", "1", 1);
  EXPECT_FALSE(takesColour(terminal));
  ::unsetenv("NO_COLOR");
  ::setenv("TERM", "dumb", 1);
  EXPECT_FALSE(takesColour(terminal));
  for (const int descriptor : {terminal, pipe[0], pipe[1]}) ::close(descriptor);
}

}  // namespace
}  // namespace plx
