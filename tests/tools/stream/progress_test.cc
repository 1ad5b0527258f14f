#include "stream/progress.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include "stream/signals.h"
#include "support/cases.h"
#include "tools/support/end_process.h"
#include "tools/support/terminal.h"

namespace plx {
namespace {

TEST(Progress, Lines) {
  const struct {
    std::uint64_t done;
    std::optional<std::uint64_t> total;
    double seconds;
    std::size_t width;
    const char* line;
  } rows[] = {
      {1'200'000'000, 2'900'000'000, 4, 79,
       " 41% [##############......................]  1.2 of 2.9 GB  300 MB/s  0:06 left"},
      {1'200'000'000, 2'900'000'000, 4, 51, " 41% [###.....]  1.2 of 2.9 GB  300 MB/s  0:06 left"},
      {1'200'000'000, 2'900'000'000, 4, 40, " 41%  1.2 of 2.9 GB  300 MB/s  0:06 left"},
      {1'200'000'000, 2'900'000'000, 4, 39, " 41%  1.2 of 2.9 GB  300 MB/s"},
      {1'200'000'000, 2'900'000'000, 4, 28, " 41%  1.2 of 2.9 GB"},
      {1'200'000'000, 2'900'000'000, 4, 10, " 41%"},
      {1'200'000'000, 2'900'000'000, 4, 3, ""},
      {0, 1000, 2, 40, "  0% [...............]  0 of 1 kB  0 B/s"},
      {1000, 1000, 2, 46, "100% [########]  1 of 1 kB  500 B/s  0:00 left"},
      {2000, 1000, 2, 30, "100%  2 of 2 kB  1 kB/s"},
      {0, 0, 0, 21, "  0%  0 of 1 B  0 B/s"},
      {1'234'567, {}, 1, 79, "1.2 MB  1.2 MB/s  0:01"},
      {999, {}, 3725, 79, "999 B  0.2 B/s  1:02:05"},
      {1'234'567, {}, 1, 10, "1.2 MB"},
  };
  Cases cases(14);
  for (const auto& r : rows) {
    EXPECT_EQ(progressLine(r.done, r.total, r.seconds, r.width), r.line) << r.width;
    ++cases;
  }
}

TEST(Progress, LinesFit) {
  Cases cases(200 * 100);
  for (std::size_t width = 0; width < 200; ++width) {
    for (std::uint64_t done = 0; done < 100; ++done) {
      EXPECT_LE(progressLine(done * done * done, 1'000'000, 1.5, width).size(), width);
      ++cases;
    }
  }
}

// What a process writes to a terminal of its own, of 60 columns, on standard error. Its standard
// output is the terminal too, or nothing.
std::string onTerminal(const std::function<void()>& work, bool resultsToo, int expectedStatus = 0) {
  const struct winsize size = {24, 60, 0, 0};
  int terminal = -1;
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
  if (child < 0) throw std::runtime_error("no pseudo-terminal");
  if (child == 0) {
    if (!resultsToo) ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
    ::setenv("TERM", "xterm", 1);
    work();
    endProcess(0);
  }
  std::string shown;
  char bytes[1000];
  for (ssize_t count; (count = ::read(terminal, bytes, sizeof bytes)) > 0;)
    shown.append(bytes, static_cast<std::size_t>(count));
  int status = 0;
  ::waitpid(child, &status, 0);
  ::close(terminal);
  EXPECT_EQ(status, expectedStatus);
  return shown;
}

// Until something must have been drawn.
void workFor(Progress& progress, std::chrono::milliseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  for (int i = 0; i < 10 || std::chrono::steady_clock::now() < end; ++i) {
    progress.advance(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

constexpr std::string_view kClear = "\r\x1b[K";

TEST(Progress, IsShownOnATerminalAndCleared) {
  if (!hasPseudoTerminals()) GTEST_SKIP() << kNoPseudoTerminals;
  const std::string shown = onTerminal(
      [] {
        Progress progress(ShowProgress::automatic, STDERR_FILENO, STDOUT_FILENO, 1'000'000);
        workFor(progress, std::chrono::milliseconds(1300));
      },
      false);
  EXPECT_TRUE(shown.starts_with("\r  0% [")) << shown;
  EXPECT_TRUE(shown.ends_with(kClear)) << shown;
  std::size_t longest = 0;
  Cases cases(2);
  for (std::size_t at = 0; at < shown.size();) {
    const std::size_t end = std::min(shown.find('\r', at), shown.size());
    longest = std::max(longest, end - at);
    at = end + 1;
    ++cases;
  }
  EXPECT_LE(longest, 59 + kClear.size() - 1);
}

TEST(Progress, IsNotShown) {
  if (!hasPseudoTerminals()) GTEST_SKIP() << kNoPseudoTerminals;
  Cases cases(5);
  const auto work = [](ShowProgress show) {
    return [show] {
      Progress progress(show, STDERR_FILENO, STDOUT_FILENO, std::nullopt);
      workFor(progress, std::chrono::milliseconds(1300));
    };
  };
  EXPECT_EQ(onTerminal(work(ShowProgress::never), false), "");
  ++cases;
  EXPECT_EQ(onTerminal(work(ShowProgress::automatic), true), "") << "among the results";
  ++cases;
  const auto brief = [] {
    Progress progress(ShowProgress::automatic, STDERR_FILENO, STDOUT_FILENO, std::nullopt);
    progress.advance(1);
  };
  EXPECT_EQ(onTerminal(brief, false), "") << "where all is done at once";
  ++cases;
  const auto inBackground = [&] {
    const pid_t job = ::fork();
    if (job == 0) {
      ::setpgid(0, 0);
      work(ShowProgress::automatic)();
      endProcess(0);
    }
    ::waitpid(job, nullptr, 0);
  };
  EXPECT_EQ(onTerminal(inBackground, false), "") << "the terminal is another job's";
  ++cases;
  const auto cannotClear = [] {
    ::setenv("TERM", "dumb", 1);
    Progress dumb(ShowProgress::automatic, STDERR_FILENO, STDOUT_FILENO, std::nullopt);
    ::unsetenv("TERM");
    Progress unknown(ShowProgress::automatic, STDERR_FILENO, STDOUT_FILENO, std::nullopt);
    workFor(dumb, std::chrono::milliseconds(1300));
    unknown.advance(1);
  };
  EXPECT_EQ(onTerminal(cannotClear, false), "") << "a terminal that clears no line";
  ++cases;
}

TEST(Progress, IsShownAnywhereWhenForced) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  {
    Progress progress(ShowProgress::always, ends[1], STDOUT_FILENO, 100);
    progress.advance(50);
  }
  ::close(ends[1]);
  char bytes[1000];
  const ssize_t count = ::read(ends[0], bytes, sizeof bytes);
  ::close(ends[0]);
  ASSERT_GT(count, 0);
  const std::string_view shown(bytes, static_cast<std::size_t>(count));
  EXPECT_TRUE(shown.starts_with("\r 50% [")) << shown;
  EXPECT_TRUE(shown.ends_with(kClear)) << shown;
}

TEST(Progress, ATerminalThatDoesNotTellItsWidthHas80Columns) {
  if (!hasPseudoTerminals()) GTEST_SKIP() << kNoPseudoTerminals;
  const std::string shown = onTerminal(
      [] {
        const struct winsize unknown = {};
        ::ioctl(STDERR_FILENO, TIOCSWINSZ, &unknown);
        Progress progress(ShowProgress::always, STDERR_FILENO, STDOUT_FILENO, 100);
        progress.advance(50);
      },
      false);
  EXPECT_TRUE(shown.starts_with("\r 50% [" + std::string(19, '#') + std::string(19, '.') +
                                "]  50 of 100 B"))
      << shown;
}

TEST(Progress, OneThatCannotBeWrittenIsNoError) {
  Progress progress(ShowProgress::always, -1, STDOUT_FILENO, 100);
  EXPECT_NO_THROW(progress.advance(50));
}

TEST(Progress, ASignalClearsIt) {
  if (!hasPseudoTerminals()) GTEST_SKIP() << kNoPseudoTerminals;
  const std::string shown = onTerminal(
      [] {
        handleSignals();
        Progress progress(ShowProgress::always, STDERR_FILENO, STDOUT_FILENO, std::nullopt);
        progress.advance(1);
        ::raise(SIGTERM);
      },
      false, SIGTERM);
  EXPECT_TRUE(shown.starts_with("\r1 B")) << shown;
  EXPECT_TRUE(shown.ends_with(kClear)) << shown;
}

}  // namespace
}  // namespace plx
