#include "stream/source.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "messages/message.h"
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
  ::close(descriptor);
  ::close(ofEmpty);
}

}  // namespace
}  // namespace plx
