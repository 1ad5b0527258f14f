#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "messages/message.h"
#include "stream/output.h"
#include "stream/output_file.h"
#include "stream/signals.h"
#include "support/cases.h"
#include "support/proc_files.h"
#include "tools/support/end_process.h"
#include "tools/support/failure_of.h"
#include "tools/support/interrupted.h"
#include "tools/support/temporary_folder.h"

namespace {

// The errors that the next calls of these end with; 0 for those of the system.
int errorOfSync = 0, errorOfClose = 0;

int failed(int error) {
  errno = error;
  return -1;
}

}  // namespace

// This program's own, in place of the C library's.
extern "C" int fsync(int descriptor) {
  if (const int error = std::exchange(errorOfSync, 0); error != 0) return failed(error);
  return static_cast<int>(::syscall(SYS_fsync, descriptor));
}
extern "C" int close(int descriptor) {
  const auto closed = static_cast<int>(::syscall(SYS_close, descriptor));
  const int error = std::exchange(errorOfClose, 0);
  return error != 0 ? failed(error) : closed;
}

namespace plx {
namespace {

namespace fs = std::filesystem;

// Runs in a process of its own; how that ended, as waitpid tells.
int statusOf(const std::function<void()>& work) {
  const pid_t child = ::fork();
  if (child == 0) {
    work();
    endProcess(testing::Test::HasFailure() ? 99 : 0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return status;
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

// As the old file has them at the end: who takes rights away meanwhile means the new one, too.
TEST(OutputFile, KeepsTheModeThatIsSetMeanwhile) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  OutputFile file(path);
  Output(file.descriptor()).write("new");
  ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
  file.commit();
  EXPECT_EQ(folder.read("file"), "new");
  EXPECT_EQ(modeOf(path), 0600);
}

// An access control list as the system keeps it: four bytes of version, and entries of a kind, rights
// and the number of a user or group. The entries stand in the order of their kinds.
struct ListEntry {
  std::uint16_t kind, rights;
  std::uint32_t id = 0xFFFFFFFF;
};
constexpr std::uint16_t kOwner = 1, kUser = 2, kOwningGroup = 4, kMask = 16, kOthers = 32;

std::string listOf(const std::vector<ListEntry>& entries) {
  const std::uint32_t version = 2;
  std::string bytes(reinterpret_cast<const char*>(&version), sizeof version);
  for (const ListEntry& e : entries) {
    for (const std::uint16_t number : {e.kind, e.rights})
      bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    bytes.append(reinterpret_cast<const char*>(&e.id), sizeof e.id);
  }
  return bytes;
}

constexpr const char* kAccessList = "system.posix_acl_access";
constexpr const char* kDefaultList = "system.posix_acl_default";

bool give(const std::string& path, const char* name, const std::string& value) {
  return ::setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

// All that a file has, by name.
std::map<std::string, std::string> attributesOf(const std::string& path) {
  char names[1000], value[1000];
  const ssize_t size = ::listxattr(path.c_str(), names, sizeof names);
  std::map<std::string, std::string> all;
  for (const char* name = names; name < names + size; name += std::strlen(name) + 1) {
    const ssize_t length = ::getxattr(path.c_str(), name, value, sizeof value);
    EXPECT_GE(length, 0) << name;
    all[name].assign(value, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  }
  return all;
}

// Nobody's right to read is in the list; the group's is not, though the mode seems to say so.
const std::string kNobodyReads =
    listOf({{kOwner, 6}, {kUser, 4, 65534}, {kOwningGroup, 0}, {kMask, 4}, {kOthers, 0}});

TEST(OutputFile, KeepsAccessControlLists) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  if (!give(path, kAccessList, kNobodyReads))
    GTEST_SKIP() << "no lists in the folder of temporary files: " << std::strerror(errno);
  ASSERT_EQ(modeOf(path), 0640u) << "the mask stands in the group's place";
  writeFile(path, "new");
  EXPECT_EQ(folder.read("file"), "new");
  EXPECT_EQ(attributesOf(path)[kAccessList], kNobodyReads);
  EXPECT_EQ(modeOf(path), 0640u);

  // A list that the folder gives to new files is not one of a file that has none.
  const std::string allRead =
      listOf({{kOwner, 7}, {kUser, 6, 65534}, {kOwningGroup, 5}, {kMask, 7}, {kOthers, 5}});
  ASSERT_TRUE(give(folder.path(""), kDefaultList, allRead));
  const std::string plain = folder.write("plain", "old");
  ASSERT_EQ(::removexattr(plain.c_str(), kAccessList), 0);
  ASSERT_EQ(::chmod(plain.c_str(), 0600), 0);
  writeFile(plain, "new");
  EXPECT_EQ(attributesOf(plain), (std::map<std::string, std::string>()));
  EXPECT_EQ(modeOf(plain), 0600u);
  writeFile(path, "newer");
  EXPECT_EQ(attributesOf(path)[kAccessList], kNobodyReads);

  // A new file has what any other program's has there.
  const mode_t before = ::umask(0077);
  folder.write("of another program", "");
  writeFile(folder.path("new"), "new");
  ::umask(before);
  EXPECT_EQ(attributesOf(folder.path("new")), attributesOf(folder.path("of another program")));
  EXPECT_EQ(attributesOf(folder.path("new")).count(kAccessList), 1u);
  EXPECT_EQ(modeOf(folder.path("new")), modeOf(folder.path("of another program")));
}

// Whoever is shut out by the list stays so, and who is let in stays in.
TEST(OutputFile, TheListStillShutsOut) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be somebody else";
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  if (!give(path, kAccessList, kNobodyReads))
    GTEST_SKIP() << "no lists in the folder of temporary files: " << std::strerror(errno);
  ASSERT_EQ(::chown(path.c_str(), 0, 4321), 0);
  ASSERT_EQ(::chmod(folder.path("").c_str(), 0755), 0);
  writeFile(path, "new");
  const auto mayRead = [&](uid_t user, gid_t group) {
    return statusOf([&] {
             EXPECT_EQ(::setgroups(0, nullptr), 0);
             EXPECT_EQ(::setresgid(group, group, group), 0);
             EXPECT_EQ(::setresuid(user, user, user), 0);
             ::_exit(::access(path.c_str(), R_OK) == 0 ? 1 : 0);
           }) != 0;
  };
  EXPECT_TRUE(mayRead(65534, 65534));
  EXPECT_FALSE(mayRead(1234, 4321)) << "the file's group";
  EXPECT_FALSE(mayRead(1234, 1234));
}

TEST(OutputFile, KeepsExtendedAttributes) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  if (!give(path, "user.origin", "a probe"))
    GTEST_SKIP() << "no attributes in the folder of temporary files: " << std::strerror(errno);
  ASSERT_TRUE(give(path, "user.empty", ""));
  ASSERT_TRUE(give(path, "user.long", std::string(900, '\0')));
  const auto before = attributesOf(path);
  ASSERT_EQ(before.size(), 3u);
  writeFile(path, "new");
  EXPECT_EQ(attributesOf(path), before);
}

// Nothing is replaced, and nothing is left behind; it is told before any work is done.
TEST(OutputFile, TellsWhatItCannotKeep) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  Cases cases(3);
  const TemporaryFolder folder;
  ASSERT_EQ(::chmod(folder.path("").c_str(), 0777), 0);
  const struct {
    uid_t owner;
    gid_t group;
    const char *attribute, *what;
  } rows[] = {
      {1234, 65534, nullptr, "its owner"},
      {65534, 4321, nullptr, "its group"},
      {65534, 65534, "security.plx", "its extended attribute security.plx"},
  };
  for (const auto& r : rows) {
    const std::string path = folder.write("file", "old");
    ASSERT_EQ(::chmod(path.c_str(), 0666), 0);
    ASSERT_EQ(::chown(path.c_str(), r.owner, r.group), 0);
    if (r.attribute != nullptr && !give(path, r.attribute, "x"))
      GTEST_SKIP() << "no attributes in the folder of temporary files: " << std::strerror(errno);
    const int status = statusOf([&] {
      EXPECT_EQ(::setgroups(0, nullptr), 0);
      EXPECT_EQ(::setresgid(65534, 65534, 65534), 0);
      EXPECT_EQ(::setresuid(65534, 65534, 65534), 0);
      EXPECT_EQ(failureOf([&] { OutputFile file(path); }),
                path + ": cannot keep " + r.what +
                    ": Operation not permitted; it is left as it was; accepted: another file, or, "
                    "unless it is the input, > " +
                    path + " in place of -o, which writes into the file as it is");
    });
    EXPECT_EQ(status, 0) << r.what;
    EXPECT_EQ(folder.read("file"), "old") << r.what;
    EXPECT_EQ(filesIn(folder.path("")), 1u) << r.what;
    ++cases;
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

  fs::create_symlink(folder.path("data/far"), folder.path("absolute"));
  writeFile(folder.path("absolute"), "new");
  EXPECT_EQ(folder.read("data/far"), "new");
  EXPECT_TRUE(fs::is_symlink(folder.path("absolute")));

  // As many in a row as the system follows.
  std::string last = "data/file";
  for (int i = 0; i < 40; ++i) {
    const std::string name = "link" + std::to_string(i);
    fs::create_symlink(last, folder.path(name));
    last = name;
  }
  writeFile(folder.path(last), "through all");
  EXPECT_EQ(folder.read("data/file"), "through all");
  EXPECT_TRUE(fs::is_symlink(folder.path(last)));
  fs::create_symlink(last, folder.path("one more"));
  EXPECT_EQ(failureOf([&] { OutputFile file(folder.path("one more")); }),
            folder.path("one more") + ": cannot open: Too many levels of symbolic links");

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
  if (!hasProcFiles()) GTEST_SKIP() << kNoProcFiles;
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
  // A folder that has come in the file's place meanwhile.
  EXPECT_EQ(failureOf([&] {
              OutputFile file(folder.path("new"));
              fs::create_directory(folder.path("new"));
              file.commit();
            }),
            folder.path("new") + ": cannot replace: Is a directory");
  EXPECT_EQ(filesIn(folder.path("")), 1u) << "the folder alone";
  // What is no descriptor, and one that is not open.
  EXPECT_EQ(failureOf([&] { OutputFile file("/dev/fd/1x"); }),
            "/dev/fd/1x: cannot create a temporary file beside it: No such file or directory");
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

// Then nothing is lost that a backup or an error could save.
TEST(OutputFile, TheOldFileMayGoMeanwhile) {
  Cases cases(3);
  const InPlace kinds[] = {InPlace{}, InPlace{".bak"}};
  for (const InPlace& kind : kinds) {
    const TemporaryFolder folder;
    const std::string path = folder.write("file", "old");
    OutputFile file(path, kind);
    Output(file.descriptor()).write("new");
    fs::remove(path);
    file.commit();
    EXPECT_EQ(folder.read("file"), "new");
    EXPECT_EQ(filesIn(folder.path("")), 1u);
    ++cases;
  }
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  OutputFile file(path);
  fs::remove(path);
  file.commit();
  EXPECT_EQ(folder.read("file"), "");
  ++cases;
}

// A backup that another program has put there meanwhile is not overwritten, nor is the file replaced without one.
TEST(OutputFile, ABackupThatCameMeanwhileIsLeftAlone) {
  const TemporaryFolder folder;
  const std::string path = folder.write("file", "old");
  OutputFile file(path, InPlace{".bak"});
  Output(file.descriptor()).write("new");
  folder.write("file.bak", "another's");
  EXPECT_EQ(failureOf([&] { file.commit(); }),
            path + ": cannot keep a backup as " + path +
                ".bak: File exists; accepted: a --backup SUFFIX that no file has yet");
  EXPECT_EQ(folder.read("file"), "old");
  EXPECT_EQ(folder.read("file.bak"), "another's");
}

// Lines that a program appends to its log meanwhile are not lost.
TEST(OutputFile, AnInputThatChangesIsLeftAlone) {
  Cases cases(10);
  const struct {
    const char* name;
    std::function<void(const std::string& path)> change;
    const char* left;
  } rows[] = {
      {"longer", [](const auto& path) { std::ofstream(path, std::ios::app) << "er"; }, "older"},
      {"of the same length", [](const auto& path) { std::ofstream(path) << "OLD"; }, "OLD"},
      {"longer, as if nothing had been",
       [](const auto& path) {
         const auto time = fs::last_write_time(path);
         std::ofstream(path, std::ios::app) << "er";
         fs::last_write_time(path, time);
       },
       "older"},
      {"replaced",
       [](const auto& path) {
         fs::remove(path);
         std::ofstream(path) << "old";
       },
       "old"},
      {"replaced by another of the same time",
       [](const auto& path) {
         std::ofstream(path + ".new") << "OLD";
         fs::last_write_time(path + ".new", fs::last_write_time(path));
         fs::rename(path + ".new", path);
       },
       "OLD"},
  };
  for (const auto& r : rows) {
    for (const bool prepared : {false, true}) {
      const TemporaryFolder folder;
      const std::string path = folder.write("file", "old");
      OutputFile file(path, InPlace{});
      Output(file.descriptor()).write("new");
      if (prepared) file.prepare();
      ::usleep(20'000);  // the file system's clock goes on
      r.change(path);
      const std::string message = failureOf([&] { file.commit(); });
      EXPECT_TRUE(message.starts_with(path + ": was changed by something else")) << message;
      EXPECT_EQ(folder.read("file"), r.left) << r.name;
      ++cases;
    }
  }
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

// Some file systems find only at the end that a disk is full or broken.
TEST(OutputFile, WhatTheDiskTellsAtTheEndIsAnError) {
  Cases cases(3);
  const TemporaryFolder folder;
  const struct {
    int& fails;
    int error;
    const char* message;
  } rows[] = {
      {errorOfSync, EIO, ": cannot write: Input/output error"},
      {errorOfClose, ENOSPC, ": cannot write: No space left on device"},
      {errorOfClose, EINTR, ""},  // and is closed
  };
  for (const auto& r : rows) {
    const std::string path = folder.write("file", "old"), message = r.message;
    {
      OutputFile file(path);
      Output(file.descriptor()).write("new");
      r.fails = r.error;
      EXPECT_EQ(failureOf([&] { file.commit(); }), message.empty() ? "no failure" : path + message);
      EXPECT_EQ(r.fails, 0) << "was not asked";
    }
    EXPECT_EQ(folder.read("file"), message.empty() ? "new" : "old") << r.error;
    EXPECT_EQ(filesIn(folder.path("")), 1u);
    ++cases;
  }
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
      // What another program writes there next follows what was left.
      EXPECT_EQ(::lseek(out, 0, SEEK_CUR), r.flags == 0 ? 11 : std::strlen(r.left));
    });
    EXPECT_EQ(status, 0) << r.why;
    EXPECT_EQ(folder.read("out"), r.left) << r.why;
    ++cases;
  }
}

TEST(Output, SignalsDoNotEndTheWaitingForRoom) {
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const std::string bytes(1 << 18, 'x');  // more than a pipe holds
  std::size_t received = 0;
  interrupted([&] { EXPECT_EQ(failureOf([&] { Output(ends[1]).write(bytes); }), "no failure"); },
              [&] {
                std::string buffer(1 << 16, ' ');
                while (received < bytes.size()) {
                  const ssize_t count = ::read(ends[0], buffer.data(), buffer.size());
                  if (count <= 0) break;
                  received += static_cast<std::size_t>(count);
                }
              });
  EXPECT_EQ(received, bytes.size());
  for (const int end : ends) ::close(end);
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
