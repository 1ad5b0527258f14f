// plx at work on streams: pipes, full devices, more data than memory.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <thread>

#include "support/cases.h"
#include "tools/support/pipe.h"
#include "tools/support/run_plx.h"

namespace {

TEST(Stream, EachLineComesOutAsSoonAsItIsIn) {
  const Pipe in, out;
  PlxProcess plx({"set", "day", "1"}, in.read, out.write, STDERR_FILENO);
  ::close(in.read);
  ::close(out.write);
  for (const char* month : {"05", "06", "07"}) {
    writeAll(in.write, "2014-" + std::string(month) + "-10\n2014-");  // and half a line
    EXPECT_EQ(readLine(out.read), "2014-" + std::string(month) + "-01\n");
    writeAll(in.write, "12-10\n");
    EXPECT_EQ(readLine(out.read), "2014-12-01\n");
  }
  ::close(in.write);
  EXPECT_EQ(readLine(out.read), "");
  EXPECT_EQ(plx.wait().status, 0);
  ::close(out.read);
}

TEST(Stream, AClosedPipeEndsItQuietly) {
  const Pipe in, out, err;
  PlxProcess plx({"set", "day", "1"}, in.read, out.write, err.write);
  for (const int end : {in.read, out.write, err.write}) ::close(end);
  writeAll(in.write, "2014-05-10\n");
  EXPECT_EQ(readLine(out.read), "2014-05-01\n");
  ::close(out.read);
  writeAll(in.write, "2014-05-10\n");
  ::close(in.write);
  EXPECT_EQ(plx.wait().status, 4);
  EXPECT_EQ(readLine(err.read), "");
  ::close(err.read);
}

TEST(Stream, AFullDeviceIsAnError) {
  const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full, 0);
  for (const char* command :
       {"set day 1 2014-05-10", "components", "--version", "--help", "set -h"}) {
    const Pipe err;
    PlxProcess plx(words(command), STDIN_FILENO, full, err.write);
    ::close(err.write);
    EXPECT_EQ(plx.wait().status, 4) << command;
    EXPECT_EQ(readLine(err.read), "plx: cannot write: No space left on device\n") << command;
    EXPECT_EQ(readLine(err.read), "") << command;
    ::close(err.read);
  }
  ::close(full);
}

TEST(Stream, ClosedDescriptorsAreErrors) {
  {
    const Pipe err;
    PlxProcess plx({"set", "day", "1"}, -1, STDOUT_FILENO, err.write);
    ::close(err.write);
    EXPECT_EQ(plx.wait().status, 4);
    EXPECT_EQ(readLine(err.read), "plx: -: cannot read: Bad file descriptor\n");
    ::close(err.read);
  }
  {  // a file that is opened does not become standard input, nor output
    const TemporaryFolder folder;
    const std::string file = folder.write("file", "2014-05-10\n");
    const Pipe out, err;
    PlxProcess plx({"set", "day", "1", file, "-"}, -1, out.write, err.write);
    PlxProcess other({"set", "day", "@" + file, "-"}, -1, -1, -1);
    for (const int end : {out.write, err.write}) ::close(end);
    EXPECT_EQ(plx.wait().status, 4);
    EXPECT_EQ(other.wait().status, 4);
    EXPECT_EQ(readLine(out.read), "2014-05-01\n");
    EXPECT_EQ(readLine(err.read), "plx: -: cannot read: Bad file descriptor\n");
    EXPECT_EQ(folder.read("file"), "2014-05-10\n");
    for (const int end : {out.read, err.read}) ::close(end);
  }
  {  // the values' file is open while the datetimes are read
    const TemporaryFolder folder;
    const std::string values = folder.write("values", "4\n2014-05-10\n");
    const Pipe err;
    PlxProcess plx({"set", "day", "@" + values, "-"}, -1, STDOUT_FILENO, err.write);
    ::close(err.write);
    EXPECT_EQ(plx.wait().status, 4);
    EXPECT_EQ(readLine(err.read), "plx: -: cannot read: Bad file descriptor\n");
    ::close(err.read);
  }
  {
    const Pipe err;
    PlxProcess plx({"set", "day", "1", "2014-05-10"}, STDIN_FILENO, -1, err.write);
    ::close(err.write);
    EXPECT_EQ(plx.wait().status, 4);
    EXPECT_EQ(readLine(err.read), "plx: cannot write: Bad file descriptor\n");
    ::close(err.read);
  }
}

// Lines of several zones, so that each batch takes several calls of the module.
std::string manyLines() {
  std::string lines;
  for (int i = 0; i < 2'000; ++i) {
    const char* offsets[] = {"", "Z", "+05:30", "-08:00"};
    lines += "2014-05-10T08:30:15.25";
    lines.append(offsets[i % 4]).append("\n");
  }
  return lines;
}

// Ten times the data need no more memory.
TEST(Stream, MemoryDoesNotGrowWithTheData) {
  Cases cases(2'000 * 250);
  const auto peak = [&](int times) {
    const Pipe in, out;
    PlxProcess plx({"set", "month", "13"}, in.read, out.write, STDERR_FILENO);
    ::close(in.read);
    ::close(out.write);
    std::size_t lines = 0;
    std::thread reader([&] {
      char buffer[65536];
      ssize_t n = 0;
      while ((n = ::read(out.read, buffer, sizeof buffer)) > 0)
        lines += static_cast<std::size_t>(std::count(buffer, buffer + n, '\n'));
    });
    const std::string piece = manyLines();
    for (int i = 0; i < times; ++i) writeAll(in.write, piece);
    ::close(in.write);
    const PlxResult result = plx.wait();
    reader.join();
    ::close(out.read);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(lines, static_cast<std::size_t>(2'000 * times));
    cases += 2'000 * times;
    return result.peakKilobytes;
  };
  // Sanitizers keep what was freed, up to a bound that holds for both runs.
  ASSERT_EQ(::setenv("ASAN_OPTIONS", "quarantine_size_mb=1", 1), 0);
  const long small = peak(25);
  const long large = peak(250);
  EXPECT_LT(large, small + 8'000) << small << " KB for a tenth of the data";
  ::unsetenv("ASAN_OPTIONS");
}

// A line that never ends is refused, not gathered.
TEST(Stream, AnEndlessLineEndsIt) {
  const Pipe in, out, err;
  PlxProcess plx({"set", "day", "1"}, in.read, out.write, err.write);
  for (const int end : {in.read, out.write, err.write}) ::close(end);
  std::thread writer([&] {
    // Ends when the program does: writing into a pipe that nobody reads then fails.
    const std::string piece(1 << 16, '2');
    for (int i = 0; i < 64; ++i) writeAll(in.write, piece);
  });
  const std::string message = readLine(err.read);
  EXPECT_TRUE(message.starts_with("plx: -:1:1: the line is too long, it begins: \"2222"))
      << message;
  EXPECT_EQ(plx.wait().status, 1);
  writer.join();
  for (const int end : {in.write, out.read, err.read}) ::close(end);
}

}  // namespace

int main(int argc, char** argv) {
  ::signal(SIGPIPE, SIG_IGN);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
