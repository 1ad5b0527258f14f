#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <string>
#include <thread>

#include "base/message.h"
#include "stream/output.h"
#include "stream/output_file.h"
#include "stream/signals.h"
#include "support/cases.h"
#include "temporary_folder.h"

namespace plx {
namespace {

namespace fs = std::filesystem;

// Runs in a process of its own; how that ended, as waitpid tells.
int statusOf(const std::function<void()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    work();
    ::_exit(testing::Test::HasFailure() ? 99 : 0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return status;
}

std::string failureOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.status, Status::inputOutput);
    return failure.message;
  }
  return "no failure";
}

std::size_t filesIn(const std::string& folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

mode_t modeOf(const std::string& path) {
  struct stat info = {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
  return info.st_mode & 07777;
}

void writeFile(const std::string& path, std::string_view bytes) {
  OutputFile file(path);
  Output output(file.descriptor(), file.name());
  output.write(bytes);
  file.commit();
}

// No file may grow beyond that, as on a full disk.
void limitFiles(rlim_t bytes) {
  const struct rlimit limit = {bytes, bytes};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST(OutputFile, TakesTheTargetsPlaceAtTheEnd) {
  const TemporaryFolder folder;
  const std::string path = folder.write("out.csv", "old");
  {
    OutputFile file(path);
    Output(file.descriptor()).write("new, but not done");
    EXPECT_EQ(folder.read("out.csv"), "old");
  }
  EXPECT_EQ(folder.read("out.csv"), "old");
  EXPECT_EQ(filesIn(folder.path("")), 1u);
  writeFile(path, "new");
  EXPECT_EQ(folder.read("out.csv"), "new");
  writeFile(folder.path("other"), "");
  EXPECT_EQ(folder.read("other"), "");
  EXPECT_EQ(filesIn(folder.path("")), 2u);
}

TEST(OutputFile, KeepsModesAndOwners) {
  Cases cases(6);
  const TemporaryFolder folder;
  for (const mode_t mode : {0600, 0644, 0640, 0755}) {
    const std::string path = folder.write("file", "old");
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    writeFile(path, "new");
    EXPECT_EQ(modeOf(path), mode);
    ++cases;
  }
  for (const mode_t mask : {0022, 0077}) {
    const mode_t before = ::umask(mask);
    const std::string path = folder.path("new" + std::to_string(mask));
    writeFile(path, "new");
    EXPECT_EQ(modeOf(path), 0666 & ~mask);
    ::umask(before);
    ++cases;
  }
  if (::geteuid() == 0) {
    const std::string path = folder.write("owned", "old");
    ASSERT_EQ(::chown(path.c_str(), 1234, 4321), 0);
    ASSERT_EQ(::chmod(path.c_str(), 04750), 0);
    writeFile(path, "new");
    struct stat info = {};
    ASSERT_EQ(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 1234u);
    EXPECT_EQ(info.st_gid, 4321u);
    EXPECT_EQ(info.st_mode & 07777, 04750u);
  }
}

TEST(OutputFile, FollowsLinks) {
  const TemporaryFolder folder;
  fs::create_directory(folder.path("data"));
  folder.write("data/file", "old");
  fs::create_symlink("data/file", folder.path("link"));
  fs::create_symlink("link", folder.path("link to link"));
  fs::create_symlink("data/none", folder.path("dangling"));
  writeFile(folder.path("link to link"), "new");
  EXPECT_EQ(folder.read("data/file"), "new");
  EXPECT_TRUE(fs::is_symlink(folder.path("link")));
  EXPECT_TRUE(fs::is_symlink(folder.path("link to link")));
  writeFile(folder.path("dangling"), "new");
  EXPECT_EQ(folder.read("data/none"), "new");
  EXPECT_TRUE(fs::is_symlink(folder.path("dangling")));
  EXPECT_EQ(filesIn(folder.path("data")), 2u);

  fs::create_symlink("loop", folder.path("loop"));
  EXPECT_EQ(failureOf([&] { OutputFile file(folder.path("loop")); }),
            folder.path("loop") + ": cannot open: Too many levels of symbolic links");
}

TEST(OutputFile, WritesDirectlyToWhatIsNoFile) {
  writeFile("/dev/null", "x");
  struct stat info = {};
  ASSERT_EQ(::stat("/dev/null", &info), 0);
  EXPECT_TRUE(S_ISCHR(info.st_mode));

  const TemporaryFolder folder;
  const std::string pipe = folder.path("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  std::string read(3, ' ');
  std::thread reader([&] {
    const int descriptor = ::open(pipe.c_str(), O_RDONLY);
    EXPECT_EQ(::read(descriptor, read.data(), read.size()), 3);
    ::close(descriptor);
  });
  writeFile(pipe, "abc");
  reader.join();
  EXPECT_EQ(read, "abc");
  EXPECT_EQ(filesIn(folder.path("")), 1u);
}

// As in `plx ... -o /dev/stdout >> file`.
TEST(OutputFile, StandardOutputIsWrittenToWhereItStands) {
  Cases cases(4);
  const TemporaryFolder folder;
  for (const char* name : {"-", "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"}) {
    const std::string path = folder.write("out", "before\n");
    EXPECT_EQ(statusOf([&] {
                const int out = ::open(path.c_str(), O_WRONLY | O_APPEND);
                ::dup2(out, STDOUT_FILENO);
                writeFile(name, "after\n");
              }),
              0);
    EXPECT_EQ(folder.read("out"), "before\nafter\n") << name;
    ++cases;
  }
}

TEST(OutputFile, TellsWhereItCannotWrite) {
  const TemporaryFolder folder;
  EXPECT_EQ(failureOf([&] { OutputFile file(folder.path("none/file")); }),
            folder.path("none/file") +
                ": cannot create a temporary file beside it: No such file or directory");
  EXPECT_EQ(failureOf([&] { OutputFile file(folder.path("")); }),
            folder.path("") + ": cannot open: Is a directory");
  EXPECT_EQ(failureOf([&] { OutputFile file(""); }),
            "\"\": cannot open: No such file or directory");
  // A descriptor that is not open.
  EXPECT_EQ(failureOf([&] { OutputFile file("/dev/fd/876"); }),
            "/dev/fd/876: cannot open: Bad file descriptor");
}

TEST(OutputFile, LeavesProtectedFilesAlone) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  ASSERT_EQ(::chmod(path.c_str(), 0444), 0);
  ASSERT_EQ(::chmod(folder.path("").c_str(), 0777), 0);
  const int status = statusOf([&] {
    if (::geteuid() == 0) {  // who may write everything
      ASSERT_EQ(::setresuid(65534, 65534, 65534), 0);
    }
    EXPECT_EQ(failureOf([&] { OutputFile file(path); }),
              path + ": cannot write: Permission denied");
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(folder.read("file"), "old");
  EXPECT_EQ(filesIn(folder.path("")), 1u);
}

TEST(OutputFile, AFullDiskLeavesTheOldFile) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  const int status = statusOf([&] {
    handleSignals();
    limitFiles(100);
    EXPECT_EQ(failureOf([&] { writeFile(path, std::string(1000, 'x')); }),
              path + ": cannot write: File too large");
  });
  EXPECT_EQ(status, 0);
  EXPECT_EQ(folder.read("file"), "old");
  EXPECT_EQ(filesIn(folder.path("")), 1u);

  EXPECT_EQ(failureOf([&] { writeFile("/dev/full", "x"); }),
            "/dev/full: cannot write: No space left on device");
}

TEST(OutputFile, SignalsLeaveTheOldFile) {
  Cases cases(10);
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU}) {
    for (const bool threads : {false, true}) {
      int ready[2];
      ASSERT_EQ(::pipe(ready), 0);
      const pid_t child = ::fork();
      if (child == 0) {
        const struct rlimit noCore = {0, 0};
        ::setrlimit(RLIMIT_CORE, &noCore);
        handleSignals();
        OutputFile file(path);
        Output(file.descriptor()).write("half of it");
        std::thread other;
        if (threads) {
          const SignalsHeld held;
          other = std::thread([] {
            for (;;) ::pause();
          });
        }
        ::close(ready[1]);
        for (;;) ::pause();
      }
      ::close(ready[1]);
      char byte = 0;
      EXPECT_EQ(::read(ready[0], &byte, 1), 0);  // until it is closed there too
      ::close(ready[0]);
      EXPECT_EQ(filesIn(folder.path("")), 2u) << "the temporary file is there";
      ::kill(child, signal);
      int status = 0;
      ::waitpid(child, &status, 0);
      EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
      EXPECT_EQ(folder.read("file"), "old");
      EXPECT_EQ(filesIn(folder.path("")), 1u) << signal;
      ++cases;
    }
  }
}

TEST(Signals, ThoseThatWereIgnoredStaySo) {
  EXPECT_EQ(statusOf([] {
              ::signal(SIGHUP, SIG_IGN);
              handleSignals();
              ::raise(SIGHUP);
              ::raise(SIGPIPE);
              ::raise(SIGXFSZ);
            }),
            0);
}

// What a full disk leaves on standard output.
TEST(Output, TakesHalfRecordsBack) {
  Cases cases(3);
  const TemporaryFolder folder;
  const struct {
    int flags;
    const char* left;
    const char* why;
  } rows[] = {
      {O_TRUNC, "first\n", "what was written of the second piece is taken back"},
      {O_APPEND, "old\nfirst\nsecon", "not where others may append"},
      {0, "first\nsecon..............", "not where something else stands behind"},
  };
  for (const auto& r : rows) {
    const bool longer = r.flags == 0;
    const std::string path = folder.write("out", longer ? std::string(25, '.') : "old\n");
    const int status = statusOf([&] {
      handleSignals();
      const int out = ::open(path.c_str(), O_WRONLY | r.flags);
      limitFiles(r.flags == O_APPEND ? 15 : 11);
      Output output(out);
      output.write("first\n");
      EXPECT_EQ(failureOf([&] { output.write("second\n"); }), "cannot write: File too large");
    });
    EXPECT_EQ(status, 0) << r.why;
    EXPECT_EQ(folder.read("out"), r.left) << r.why;
    ++cases;
  }
}

TEST(Output, WaitsWhereAPipeIsFull) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_NONBLOCK | O_CLOEXEC), 0);
  const std::string bytes(1 << 20, 'x');
  std::size_t received = 0;
  std::thread reader([&] {
    std::string buffer(1 << 16, ' ');
    while (received < bytes.size()) {
      const ssize_t count = ::read(ends[0], buffer.data(), buffer.size());
      if (count > 0) received += static_cast<std::size_t>(count);
    }
  });
  Output output(ends[1]);
  output.write(bytes);
  reader.join();
  EXPECT_EQ(received, bytes.size());
  for (const int end : ends) ::close(end);
}

}  // namespace
}  // namespace plx
