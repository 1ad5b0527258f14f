#include "stream/source.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <string>
#include <thread>
#include <vector>

#include "messages/message.h"
#include "support/cases.h"
#include "support/proc_files.h"
#include "tools/support/failure_of.h"
#include "tools/support/interrupted.h"
#include "tools/support/temporary_folder.h"

namespace plx {
namespace {

std::size_t received(Source& source) {
  std::vector<char> buffer(1000);
  std::size_t all = 0;
  while (const std::size_t count = source.receive(buffer.data(), buffer.size())) all += count;
  return all;
}

TEST(Source, AFileThatBecomesShorterIsAnError) {
  const TemporaryFolder folder;
  const std::string path = folder.write("a", std::string(5000, 'x'));
  Source source(path);
  std::vector<char> buffer(1000);
  ASSERT_EQ(source.receive(buffer.data(), buffer.size()), 1000U);
  ASSERT_EQ(::truncate(path.c_str(), 3000), 0);
  try {
    received(source);
    FAIL() << "no failure";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status, Status::inputOutput);
    EXPECT_TRUE(failure.message.ends_with(
        ": the file became shorter while it was read, by 2000 bytes at least"))
        << failure.message;
  }
}

TEST(Source, AFileThatGrowsIsReadToItsEnd) {
  const TemporaryFolder folder;
  const std::string path = folder.write("a", std::string(5000, 'x'));
  Source source(path);
  ASSERT_EQ(::truncate(path.c_str(), 6000), 0);
  EXPECT_EQ(received(source), 6000U);
}

TEST(Source, FilesOfTheKernelHaveFewerBytesThanTheyTell) {
  const std::string path = "/sys/kernel/mm/transparent_hugepage/enabled";
  if (::access(path.c_str(), R_OK) != 0) GTEST_SKIP() << "no such file here";
  Source source(path);
  EXPECT_GT(source.size().value_or(0), received(source));
}

TEST(Source, KnowsWhoWritesToIt) {
  const TemporaryFolder folder;
  const std::string path = folder.write("a", "x"), other = folder.write("b", "x");
  const std::string empty = folder.write("c", "");
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
  const int ofEmpty = ::open(empty.c_str(), O_WRONLY | O_CLOEXEC);
  EXPECT_TRUE(Source(path).isWrittenBy(descriptor));
  EXPECT_FALSE(Source(other).isWrittenBy(descriptor));
  EXPECT_FALSE(Source(empty).isWrittenBy(ofEmpty)) << "as the shell leaves it behind >";
  EXPECT_FALSE(Source(path).isWrittenBy(-1)) << "nobody";
  ::close(descriptor);
  ::close(ofEmpty);
}

// plx holds the places of the standard descriptors, so this is for other callers.
TEST(Source, StandardInputThatIsClosedCannotBeRead) {
  const int before = ::dup(STDIN_FILENO);
  ::close(STDIN_FILENO);
  std::string told;
  {
    Source source("-");
    EXPECT_EQ(source.size(), std::nullopt);
    EXPECT_FALSE(source.isWrittenBy(before));
    told = failureOf([&] { received(source); });
  }
  ::dup2(before, STDIN_FILENO);
  ::close(before);
  EXPECT_EQ(told, "-: cannot read: Bad file descriptor");
}

TEST(Source, TooManyOpenFilesAreAnError) {
  const TemporaryFolder folder;
  const std::string pipe = folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int writer = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);
  Source source(pipe);
  struct rlimit before = {};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const struct rlimit none = {0, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  const std::string told = failureOf([&] { source.allowWakeUp(); });
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(told, pipe + ": cannot read: Too many open files");
  ::close(writer);
}

TEST(Source, SignalsDoNotEndTheWaitingForMore) {
  Cases cases(2);
  const TemporaryFolder folder;
  const std::string pipe = folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int writer = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);
  for (const bool mayBeWokenUp : {false, true}) {
    Source source(pipe);
    if (mayBeWokenUp) source.allowWakeUp();
    char bytes[10];
    interrupted([&] { EXPECT_EQ(source.receive(bytes, sizeof bytes), 3U) << mayBeWokenUp; },
                [&] { EXPECT_EQ(::write(writer, "abc", 3), 3); });
    ++cases;
  }
  ::close(writer);
}

double secondsOfThread() {
  struct timespec time = {};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

// Standard input that another program has made non-blocking is waited for, and not asked again and again.
TEST(Source, WaitsWithoutWorkWhereNothingIsThere) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_NONBLOCK | O_CLOEXEC), 0);
  const int before = ::dup(STDIN_FILENO);
  ::dup2(ends[0], STDIN_FILENO);
  std::thread writer([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(::write(ends[1], "abc", 3), 3);
  });
  Source source("-");
  char bytes[10];
  const double began = secondsOfThread();
  EXPECT_EQ(source.receive(bytes, sizeof bytes), 3U);
  EXPECT_LT(secondsOfThread() - began, 0.1);
  writer.join();
  ::dup2(before, STDIN_FILENO);
  for (const int descriptor : {before, ends[0], ends[1]}) ::close(descriptor);
}

TEST(Source, GivesItsDescriptorsBack) {
  if (!hasProcFiles()) GTEST_SKIP() << kNoProcFiles;
  const TemporaryFolder folder;
  const std::string file = folder.write("a", "x"), pipe = folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const int writer = ::open(pipe.c_str(), O_RDWR | O_CLOEXEC);
  const std::size_t open = openDescriptors();
  {
    Source ofFile(file), ofPipe(pipe), standard("-");
    ofPipe.allowWakeUp();
    ofPipe.allowWakeUp();  // once more makes no difference
    EXPECT_EQ(openDescriptors(), open + 4) << "two, and two that wake one up";
  }
  EXPECT_EQ(openDescriptors(), open);
  EXPECT_GE(::fcntl(STDIN_FILENO, F_GETFD), 0) << "standard input stays";
  ::close(writer);
}

}  // namespace
}  // namespace plx
