// plx at work on tables as people leave it alone with them: interrupted, on full disks, on pipes,
// onto the file that it reads, with several threads.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <string>
#include <string_view>
#include <thread>

#include "support/built.h"
#include "support/cases.h"
#include "support/length.h"
#include "support/random.h"
#include "tools/support/pipe.h"
#include "tools/support/run_plx.h"
#include "tools/support/terminal.h"

namespace {

namespace fs = std::filesystem;

std::size_t filesIn(const TemporaryFolder& folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(folder.path("")), fs::directory_iterator()));
}

constexpr std::string_view kHeader = "id,created_at\n";

std::string tableOf(int rows) {
  Random random(1);
  std::string text(kHeader);
  for (int i = 1; i <= rows; ++i) {
    text += std::to_string(i) + ",2014-0" + std::to_string(random.whole(1, 9)) + "-1" +
            std::to_string(random.whole(0, 9)) + "T08:30:00\n";
  }
  return text;
}

// The rows before the one that is wrong, with the day of the month 1.
std::string withDayOne(std::string text) {
  for (std::size_t at = text.find("-1", kHeader.size()); at != std::string::npos;
       at = text.find("-1", at + 3)) {
    text[at + 1] = '0';
    text[at + 2] = '1';
  }
  return text;
}

TEST(TableStream, JobsMakeNoDifference) {
  Cases cases(8);
  const TemporaryFolder folder;
  std::string text = tableOf(100'000);
  for (const bool good : {true, false}) {
    std::string expected = withDayOne(text);
    if (!good) {
      const std::size_t bad = text.find("\n70000,");
      text.replace(bad + 7, 4, "oops");
      text.replace(text.find("\n90000,") + 7, 4, "also");
      expected.resize(bad + 1);
    }
    const std::string file = folder.write("t.csv", text);
    for (const char* jobs : {"1", "2", "3", "8"}) {
      const PlxResult result =
          runPlx({"set", "day", "1", "-c", "created_at", "--jobs", jobs, file});
      EXPECT_EQ(result.status, good ? 0 : 1) << result.err;
      EXPECT_TRUE(result.out == expected) << result.out.size() << " bytes of " << expected.size();
      if (!good) {
        EXPECT_TRUE(result.err.starts_with("plx: " + file + ":70001:7: ")) << result.err;
      }
      ++cases;
    }
  }
}

TEST(TableStream, TheInputMayBeTheOutput) {
  Cases cases(3);
  for (const char* jobs : {"1", "2", "8"}) {
    const TemporaryFolder folder;
    const std::string text = tableOf(50'000);
    const std::string file = folder.write("t.csv", text);
    fs::create_symlink("t.csv", folder.path("link.csv"));
    const PlxResult result = runPlx({"set", "day", "1", "-c", "created_at", folder.path("link.csv"),
                                     "-o", file, "--jobs", jobs});
    EXPECT_EQ(result, (PlxResult{0, "", "", 0}));
    EXPECT_TRUE(folder.read("t.csv") == withDayOne(text));
    EXPECT_TRUE(fs::is_symlink(folder.path("link.csv")));
    EXPECT_EQ(filesIn(folder), 2u);
    ++cases;
  }
}

TEST(TableStream, AnErrorLeavesTheOldOutput) {
  const TemporaryFolder folder;
  const std::string file = folder.write("t.csv", tableOf(20'000) + "x,nonsense\n");
  const std::string out = folder.write("o.csv", "old");
  const PlxResult result = runPlx({"set", "day", "1", "-c", "2", file, "-o", out, "--jobs", "2"});
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.err.starts_with("plx: " + file + ":20002:3: ")) << result.err;
  EXPECT_EQ(folder.read("o.csv"), "old");
  EXPECT_EQ(filesIn(folder), 2u);
}

TEST(TableStream, SignalsLeaveTheOldOutput) {
  Cases cases(8);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    for (const char* jobs : {"1", "3"}) {
      const TemporaryFolder folder;
      const std::string out = folder.write("o.csv", "old");
      const Pipe in;
      const pid_t child = ::fork();
      if (child == 0) {
        const struct rlimit noCore = {0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        ::dup2(in.read, STDIN_FILENO);
        ::execl(built("plx").c_str(), "plx", "set", "day", "1", "-c", "created_at", "--csv", "-o",
                out.c_str(), "--jobs", jobs, nullptr);
        ::_exit(127);
      }
      ::close(in.read);
      writeAll(in.write, tableOf(10'000));
      for (int i = 0; i < kPatience * 100 && filesIn(folder) < 2; ++i) ::usleep(10'000);
      EXPECT_EQ(filesIn(folder), 2u) << "the temporary file is there";
      ::kill(child, signal);
      int status = 0;
      ::waitpid(child, &status, 0);
      EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
      EXPECT_EQ(folder.read("o.csv"), "old");
      EXPECT_EQ(filesIn(folder), 1u);
      ::close(in.write);
      ++cases;
    }
  }
}

// No file of a process that is started in its life may grow beyond that, as on a full disk.
class LimitedFiles {
 public:
  explicit LimitedFiles(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const struct rlimit limit = {bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~LimitedFiles() { ::setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  struct rlimit before_;
};

TEST(TableStream, AFullDiskLeavesTheOldOutput) {
  Cases cases(2);
  for (const char* jobs : {"1", "2"}) {
    const TemporaryFolder folder;
    const std::string file = folder.write("t.csv", tableOf(50'000));
    const std::string out = folder.write("o.csv", "old");
    const Pipe err;
    {
      const LimitedFiles limit(500'000);
      PlxProcess plx({"set", "day", "1", "-c", "2", file, "-o", out, "--jobs", jobs}, STDIN_FILENO,
                     STDOUT_FILENO, err.write);
      EXPECT_EQ(plx.wait().status, 4);
    }
    ::close(err.write);
    EXPECT_EQ(readLine(err.read), "plx: " + out + ": cannot write: File too large\n");
    ::close(err.read);
    EXPECT_EQ(folder.read("o.csv"), "old");
    EXPECT_EQ(filesIn(folder), 2u);
    ++cases;
  }
}

TEST(TableStream, AFullDiskLeavesWholeRecordsOnStandardOutput) {
  const TemporaryFolder folder;
  const std::string text = tableOf(50'000);
  const std::string file = folder.write("t.csv", text);
  const int out = ::open(folder.write("out", "").c_str(), O_WRONLY | O_CLOEXEC);
  {
    const LimitedFiles limit(700'001);
    PlxProcess plx({"set", "day", "1", "-c", "2", file}, STDIN_FILENO, out, -1);
    EXPECT_EQ(plx.wait().status, 4);
  }
  ::close(out);
  const std::string written = folder.read("out");
  EXPECT_FALSE(written.empty());
  EXPECT_TRUE(written.ends_with('\n'));
  EXPECT_TRUE(withDayOne(text).starts_with(written));
}

TEST(TableStream, RecordsComeOutAsSoonAsTheyAreIn) {
  Cases cases(6);
  for (const char* jobs : {"1", "3"}) {
    const Pipe in, out;
    PlxProcess plx({"set", "day", "1", "-c", "created_at", "--jobs", jobs}, in.read, out.write,
                   STDERR_FILENO);
    ::close(in.read);
    ::close(out.write);
    writeAll(in.write, kHeader);
    EXPECT_EQ(readLine(out.read), kHeader);
    for (int i = 0; i < 3; ++i) {
      writeAll(in.write, "\"1\n2\",2014-05-10\nand half");
      EXPECT_EQ(readLine(out.read), "\"1\n");
      EXPECT_EQ(readLine(out.read), "2\",2014-05-01\n");
      writeAll(in.write, ",2014-05-10\n");
      EXPECT_EQ(readLine(out.read), "and half,2014-05-01\n");
      ++cases;
    }
    ::close(in.write);
    EXPECT_EQ(plx.wait().status, 0);
    ::close(out.read);
  }
}

TEST(TableStream, AWrongRecordEndsItThoughThePipeStaysOpen) {
  Cases cases(3);
  for (const char* jobs : {"1", "2", "8"}) {
    const Pipe in, out, err;
    PlxProcess plx({"set", "day", "1", "-c", "created_at", "--jobs", jobs}, in.read, out.write,
                   err.write);
    for (const int end : {in.read, out.write, err.write}) ::close(end);
    writeAll(in.write, std::string(kHeader) + "1,nonsense\n");
    EXPECT_EQ(plx.wait().status, 1);
    EXPECT_EQ(readLine(out.read), kHeader);
    EXPECT_TRUE(readLine(err.read).starts_with("plx: -:2:3: "));
    for (const int end : {in.write, out.read, err.read}) ::close(end);
    ++cases;
  }
}

TEST(TableStream, AClosedPipeEndsItQuietly) {
  const TemporaryFolder folder;
  const std::string file = folder.write("t.csv", tableOf(100'000));
  const Pipe out, err;
  PlxProcess plx({"set", "day", "1", "-c", "2", "--jobs", "2", file}, STDIN_FILENO, out.write,
                 err.write);
  for (const int end : {out.write, err.write}) ::close(end);
  EXPECT_EQ(readLine(out.read), kHeader);
  ::close(out.read);
  EXPECT_EQ(plx.wait().status, 4);
  EXPECT_EQ(readLine(err.read), "");
  ::close(err.read);
}

// What a terminal of 60 columns shows of a run that lasts a second and a half, or until it shows anything. Its last
// row is wrong.
std::string shownOnTerminal(const std::vector<std::string>& options, bool waits) {
  const TemporaryFolder folder;
  const struct winsize size = {24, 60, 0, 0};
  int terminal = -1, own = -1;
  EXPECT_EQ(::openpty(&terminal, &own, nullptr, nullptr, &size), 0);
  for (const int end : {terminal, own}) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  ::setenv("TERM", "xterm", 1);
  const Pipe in;
  std::vector<std::string> arguments = {"set", "day", "1", "-c", "2", "-o", folder.path("o.csv")};
  arguments.insert(arguments.end(), options.begin(), options.end());
  PlxProcess plx(arguments, in.read, STDOUT_FILENO, own);
  ::close(in.read);
  ::close(own);
  writeAll(in.write, kHeader);
  const auto isShown = [&] {
    struct pollfd polled = {terminal, POLLIN, 0};
    return ::poll(&polled, 1, 0) == 1;
  };
  for (int i = 0; i < 15 || (waits && !isShown() && i < kPatience * 10); ++i) {
    ::usleep(100'000);
    writeAll(in.write, "1,2014-05-10\n");
  }
  writeAll(in.write, "1,none\n");
  ::close(in.write);
  EXPECT_EQ(plx.wait().status, 1);
  std::string shown;
  char bytes[1000];
  for (ssize_t count = 0; (count = ::read(terminal, bytes, sizeof bytes)) > 0;)
    shown.append(bytes, static_cast<std::size_t>(count));
  ::close(terminal);
  return shown;
}

TEST(TableStream, ProgressOnATerminal) {
  if (!hasPseudoTerminals()) GTEST_SKIP() << kNoPseudoTerminals;
  const std::string shown = shownOnTerminal({"--on-error", "pass"}, true);
  EXPECT_TRUE(std::regex_search(shown, std::regex(" B/s  [0-9]+:[0-9]{2}"))) << shown;
  // Messages begin a line.
  EXPECT_TRUE(std::regex_search(shown, std::regex("\r\x1b\\[Kplx: -:[0-9]+:3: "))) << shown;
  EXPECT_TRUE(std::regex_search(shown, std::regex("(\n|\r\x1b\\[K)plx: 1 datetime was "))) << shown;
  const std::string quiet = shownOnTerminal({"--quiet"}, false);
  EXPECT_TRUE(quiet.starts_with("plx: -:17:3: ")) << quiet;
  EXPECT_EQ(quiet.find('\x1b'), std::string::npos) << quiet;
}

// Ten times the data need no more memory.
TEST(TableStream, MemoryDoesNotGrowWithTheData) {
  Cases cases(2);
  ASSERT_EQ(::setenv("ASAN_OPTIONS", "quarantine_size_mb=1", 1), 0);
  const std::string piece = tableOf(2'000).substr(kHeader.size());
  const auto peak = [&](int times) {
    const Pipe in;
    const int out = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    PlxProcess plx({"set", "month", "13", "-c", "2", "--jobs", "3"}, in.read, out, STDERR_FILENO);
    ::close(in.read);
    writeAll(in.write, kHeader);
    for (int i = 0; i < times; ++i) writeAll(in.write, piece);
    ::close(in.write);
    const PlxResult result = plx.wait();
    ::close(out);
    EXPECT_EQ(result.status, 0);
    ++cases;
    return result.peakKilobytes;
  };
  const long small = peak(50);
  const long large = peak(500);
  EXPECT_LT(large, small + 12'000) << small << " KB for a tenth of the data";
  ::unsetenv("ASAN_OPTIONS");
}

// Nor does another offset in every row: a zone without changes of its clock is small.
TEST(TableStream, MemoryDoesNotGrowWithTheOffsets) {
  ASSERT_EQ(::setenv("ASAN_OPTIONS", "quarantine_size_mb=1", 1), 0);
  const int kRows = static_cast<int>(ofUsual(40'000));
  const TemporaryFolder folder;
  const auto peak = [&](bool distinct) {
    std::string table = "at,tz\n";
    for (int i = 0; i < kRows; ++i) {
      const int offset = distinct ? i : 19'800;
      char row[40];
      std::snprintf(row, sizeof row, "2014-05-10,+%02d:%02d:%02d\n", offset / 3600,
                    offset / 60 % 60, offset % 60);
      table += row;
    }
    const PlxResult result = runPlx(
        {"set", "month", "13", "-c", "at", "--zone-column", "tz", folder.write("t.csv", table)});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), kRows + 1);
    return result.peakKilobytes;
  };
  const long one = peak(false);
  const long many = peak(true);
  std::printf("peak: %ld KB with one offset, %ld KB with %d\n", one, many, kRows);
  EXPECT_LT(many, one + kRows);
  ::unsetenv("ASAN_OPTIONS");
}

}  // namespace

int main(int argc, char** argv) {
  ::signal(SIGPIPE, SIG_IGN);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
