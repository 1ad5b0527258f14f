// plx changes files in place: whatever ends it at whatever moment leaves each file old or new, and whole.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/built.h"
#include "support/cases.h"
#include "support/length.h"
#include "tools/support/npy_bytes.h"
#include "tools/support/run_plx.h"

namespace {

namespace fs = std::filesystem;

std::size_t filesIn(const TemporaryFolder& folder) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(folder.path("")), fs::directory_iterator()));
}

PlxResult changeIn(const TemporaryFolder& folder, std::string_view rest) {
  return runPlxIn(folder.path(""), words("set day 1 " + std::string(rest)));
}

const PlxResult kDone{0, "", "", 0};

TEST(InPlace, EachTableIsReadByItsOwnHeader) {
  const TemporaryFolder folder;
  folder.write("a.csv", "id,at\n1,2014-05-10\n");
  folder.write("b.tsv", "at\tid\n2014-06-20T08:30:00\t2\n");
  EXPECT_EQ(changeIn(folder, "-c at -i a.csv b.tsv"), kDone);
  EXPECT_EQ(folder.read("a.csv"), "id,at\n1,2014-05-01\n");
  EXPECT_EQ(folder.read("b.tsv"), "at\tid\n2014-06-01T08:30:00\t2\n");
  EXPECT_EQ(filesIn(folder), 2u);
}

TEST(InPlace, LinesOfSeveralFiles) {
  const TemporaryFolder folder;
  folder.write("a",
               "\xEF\xBB\xBF"
               "2014-05-10\r\n");
  folder.write("2014-05-10",
               "\xEF\xBB\xBF"
               "2014-06-20\n");  // named like a datetime
  folder.write("empty", "");
  EXPECT_EQ(changeIn(folder, "-i a 2014-05-10 empty"), kDone);
  EXPECT_EQ(folder.read("a"),
            "\xEF\xBB\xBF"
            "2014-05-01\r\n");
  EXPECT_EQ(folder.read("2014-05-10"),
            "\xEF\xBB\xBF"
            "2014-06-01\n");
  EXPECT_EQ(folder.read("empty"), "");
  EXPECT_EQ(filesIn(folder), 3u);
}

TEST(InPlace, Arrays) {
  Cases cases(2);
  const TemporaryFolder folder;
  const std::vector<std::int64_t> days = {16200, 16230};  // 2014-05-10 and 2014-06-09
  for (const char* name : {"a.npy", "b.npy"}) folder.write(name, npyOf("<M8[D]", days));
  EXPECT_EQ(changeIn(folder, "-i a.npy b.npy --backup .old --jobs 2"), kDone);
  for (const char* name : {"a.npy", "b.npy"}) {
    EXPECT_EQ(numbersOf<std::int64_t>(folder.read(name)),
              (std::vector<std::int64_t>{16191, 16222}));
    EXPECT_EQ(numbersOf<std::int64_t>(folder.read(name + std::string(".old"))), days);
    ++cases;
  }
  EXPECT_EQ(filesIn(folder), 4u);
}

TEST(InPlace, AddsWhatGetReads) {
  const TemporaryFolder folder;
  folder.write("a.csv", "at\n2014-05-10\n");
  EXPECT_EQ(runPlxIn(folder.path(""), words("get month -c at --new-column month -i a.csv")), kDone);
  EXPECT_EQ(folder.read("a.csv"), "at,month\n2014-05-10,5\n");
}

// A run that is repeated after an error would change what it has changed before.
TEST(InPlace, AnErrorLeavesAllFilesAsTheyWere) {
  const TemporaryFolder folder;
  folder.write("a", "2014-05-10\n");
  folder.write("b", "2014-05-10\noops\n");
  folder.write("c", "2014-05-10\n");
  const PlxResult result = changeIn(folder, "-i a b c --backup .bak");
  EXPECT_EQ(result.status, 1);
  EXPECT_TRUE(result.err.starts_with("plx: b:2:1: not a datetime: \"oops\"")) << result.err;
  EXPECT_EQ(folder.read("a"), "2014-05-10\n");
  EXPECT_EQ(filesIn(folder), 3u);

  // Told and left as it stood, it keeps nothing back.
  EXPECT_EQ(changeIn(folder, "-i a b c --on-error pass").status, 1);
  EXPECT_EQ(folder.read("a") + folder.read("b") + folder.read("c"),
            "2014-05-01\n2014-05-01\noops\n2014-05-01\n");
  EXPECT_EQ(filesIn(folder), 3u);
}

TEST(InPlace, Refusals) {
  Cases cases(12);
  const TemporaryFolder folder;
  folder.write("a", "2014-05-10\n");
  folder.write("a.old", "mine\n");
  fs::create_symlink("a", folder.path("link"));
  fs::create_symlink("nowhere", folder.path("a.lost"));
  fs::create_directory(folder.path("folder"));
  const struct {
    const char* command;
    int status;
    const char* message;
  } rows[] = {
      {"set day 1 -i", 2,
       "-i changes files, and standard input is none; accepted: the names of one or more"},
      {"set day 1 -i a -", 2,
       "-i changes files, and standard input is none; accepted: the names of one or more"},
      {"set day 1 -i a -o b", 2, "results go either to -o FILE or, with -i, to the inputs"},
      {"set day 1 a --backup .bak", 2, "--backup goes with files that -i changes"},
      {"set day 1 -i a ./a", 2, "-i: named twice: \"./a\"; accepted: each file once"},
      {"set day 1 -i link a", 2, "-i: named twice: \"a\"; accepted: each file once"},
      {"set day 1 -i a --backup /x", 2,
       "--backup: not the end of a file's name: \"/x\"; accepted: a suffix such as .bak"},
      {"set day 1 -i a --backup .old", 4,
       "a: cannot keep a backup as a.old: File exists; accepted: a --backup SUFFIX that no file "
       "has "
       "yet"},
      {"set day 1 -i a --backup .lost", 4,
       "a: cannot keep a backup as a.lost: File exists; accepted: a --backup SUFFIX that no file "
       "has "
       "yet"},
      {"set day 1 -i a 2014-05-10", 4, "2014-05-10: cannot open: No such file or directory"},
      {"set day 1 -i a folder", 4, "folder: cannot be changed in place; accepted: regular files"},
      {"get day -i a", 2,
       "get -i would leave nothing but the values in the files; accepted: with --new-column"},
  };
  for (const auto& r : rows) {
    EXPECT_EQ(runPlxIn(folder.path(""), words(r.command)),
              (PlxResult{r.status, "", "plx: " + std::string(r.message) + "\n", 0}))
        << r.command;
    ++cases;
  }
  EXPECT_EQ(folder.read("a"), "2014-05-10\n");
  EXPECT_EQ(folder.read("a.old"), "mine\n");
  EXPECT_EQ(filesIn(folder), 5u);
}

// What a file has beside its content.
struct Belongings {
  mode_t mode;
  uid_t owner;
  gid_t group;
  std::map<std::string, std::string> attributes;
  bool operator==(const Belongings&) const = default;
};

Belongings belongingsOf(const std::string& path) {
  struct stat info = {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0) << path;
  Belongings all{info.st_mode, info.st_uid, info.st_gid, {}};
  std::string names(1000, '\0'), value(1000, '\0');
  names.resize(static_cast<std::size_t>(
      std::max<ssize_t>(::listxattr(path.c_str(), names.data(), names.size()), 0)));
  for (std::size_t at = 0; at < names.size(); at = names.find('\0', at) + 1) {
    const char* name = names.c_str() + at;
    const ssize_t size = ::getxattr(path.c_str(), name, value.data(), value.size());
    EXPECT_GE(size, 0) << name;
    all.attributes[name] = value.substr(0, static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  }
  return all;
}

// An access control list by which user 65534 may read too.
bool giveList(const std::string& path) {
  const std::uint16_t entries[][4] = {{1, 6, 0xFFFF, 0xFFFF},
                                      {2, 4, 65534, 0},
                                      {4, 0, 0xFFFF, 0xFFFF},
                                      {16, 4, 0xFFFF, 0xFFFF},
                                      {32, 0, 0xFFFF, 0xFFFF}};
  std::string list("\2\0\0\0", 4);
  list.append(reinterpret_cast<const char*>(entries), sizeof entries);
  return ::setxattr(path.c_str(), "system.posix_acl_access", list.data(), list.size(), 0) == 0;
}

TEST(InPlace, EachFileKeepsWhatItHas) {
  const TemporaryFolder folder;
  const std::vector<std::string> names = {"private", "shared", "listed", "marked"};
  std::vector<Belongings> before;
  for (const std::string& name : names) folder.write(name, "2014-05-10\n");
  EXPECT_EQ(::chmod(folder.path("private").c_str(), 0600), 0);
  EXPECT_EQ(::chmod(folder.path("shared").c_str(), 0664), 0);
  if (::geteuid() == 0) {
    EXPECT_EQ(::chown(folder.path("shared").c_str(), 1234, 4321), 0);
  }
  const bool lists = giveList(folder.path("listed"));
  const bool attributes =
      ::setxattr(folder.path("marked").c_str(), "user.origin", "a probe", 7, 0) == 0;
  for (const std::string& name : names) before.push_back(belongingsOf(folder.path(name)));
  EXPECT_EQ(before[2].attributes.size(), lists ? 1u : 0u);
  EXPECT_EQ(before[3].attributes.size(), attributes ? 1u : 0u);

  EXPECT_EQ(changeIn(folder, "-i private shared listed marked --backup .old"), kDone);
  Cases cases(8);
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(folder.read(names[i]), "2014-05-01\n");
    EXPECT_EQ(folder.read(names[i] + ".old"), "2014-05-10\n");
    for (const std::string& name : {names[i], names[i] + ".old"}) {
      EXPECT_TRUE(belongingsOf(folder.path(name)) == before[i]) << name;
      ++cases;
    }
  }
}

TEST(InPlace, FollowsLinks) {
  const TemporaryFolder folder;
  fs::create_directory(folder.path("data"));
  folder.write("data/a", "2014-05-10\n");
  fs::create_symlink("data/a", folder.path("link"));
  EXPECT_EQ(changeIn(folder, "-i link --backup ~"), kDone);
  EXPECT_TRUE(fs::is_symlink(folder.path("link")));
  EXPECT_EQ(folder.read("data/a"), "2014-05-01\n");
  EXPECT_EQ(folder.read("data/a~"), "2014-05-10\n");
  EXPECT_EQ(filesIn(folder), 2u);
}

// A process that is stopped at each call of the system.
class Traced {
 public:
  Traced(const TemporaryFolder& folder, const std::vector<std::string>& arguments) {
    std::vector<char*> argv = {const_cast<char*>("plx")};
    for (const std::string& a : arguments) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    const std::string program = built("plx"), path = folder.path("");
    id_ = ::fork();
    if (id_ == 0) {
      const struct rlimit noCore = {0, 0};
      ::setrlimit(RLIMIT_CORE, &noCore);
      // The search for leaks traces the process itself.
      ::setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
      if (::chdir(path.c_str()) != 0 || ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        ::_exit(126);
      ::execv(program.c_str(), argv.data());
      ::_exit(127);
    }
    wait();
    traces_ = WIFSTOPPED(status_) &&
              ::ptrace(PTRACE_SETOPTIONS, id_, nullptr, PTRACE_O_TRACESYSGOOD) == 0;
  }
  ~Traced() {
    if (!hasEnded()) end(SIGKILL);
  }
  Traced(const Traced&) = delete;
  Traced& operator=(const Traced&) = delete;

  bool traces() const { return traces_; }
  bool hasEnded() const { return !WIFSTOPPED(status_); }
  int status() const { return status_; }

  // Goes on to where the next call begins; false where the process has ended.
  bool goOn() {
    for (;;) {
      ::ptrace(PTRACE_SYSCALL, id_, nullptr, nullptr);
      wait();
      if (hasEnded()) return false;
      if (WSTOPSIG(status_) != (SIGTRAP | 0x80)) continue;
      ::ptrace(PTRACE_GET_SYSCALL_INFO, id_, sizeof call_, &call_);
      if (call_.op == PTRACE_SYSCALL_INFO_ENTRY) return true;
    }
  }
  bool createsFile() const {
    return call_.entry.nr == SYS_openat && (call_.entry.args[2] & O_CREAT) != 0;
  }
  // The mode that the new file gets, before the system takes anything away.
  mode_t newMode() const { return static_cast<mode_t>(call_.entry.args[3]); }
  bool syncs() const { return call_.entry.nr == SYS_fsync; }
  bool renames() const {
#ifdef SYS_rename
    if (call_.entry.nr == SYS_rename) return true;
#endif
    return call_.entry.nr == SYS_renameat || call_.entry.nr == SYS_renameat2;
  }

  void end(int signal) {
    ::kill(id_, signal);
    if (signal != SIGKILL) ::ptrace(PTRACE_DETACH, id_, nullptr, nullptr);
    wait();
  }

 private:
  void wait() { ::waitpid(id_, &status_, 0); }

  pid_t id_;
  int status_ = 0;
  bool traces_ = false;
  struct __ptrace_syscall_info call_ = {};
};

// The contents of the two files: 'o' for old, 'n' for new.
std::string stateOf(const TemporaryFolder& folder) {
  std::string state;
  for (const char* name : {"a", "b"}) {
    const std::string text = folder.read(name), day = text.substr(0, 10);
    const bool whole = text == day + "\n";
    state += whole && day == "2014-05-10" ? 'o' : whole && day == "2014-05-01" ? 'n' : '?';
  }
  return state;
}

// Ends a run at each of its calls of the system from the first new file on. How often each state of the
// two files was seen.
std::map<std::string, int> statesAfter(int signal, Cases& cases) {
  const std::vector<std::string> command = words("set day 1 -i a b --backup .bak --quiet");
  std::map<std::string, int> states;
  for (int calls = 0;; ++calls) {
    const TemporaryFolder folder;
    for (const char* name : {"a", "b"}) folder.write(name, "2014-05-10\n");
    Traced plx(folder, command);
    if (!plx.traces()) return {};
    while (plx.goOn() && !plx.createsFile()) continue;
    for (int i = 0; i < calls && !plx.hasEnded(); ++i) plx.goOn();
    const bool hasEnded = plx.hasEnded();
    if (!hasEnded) plx.end(signal);
    const std::string state = stateOf(folder);
    ++states[state];
    ++cases;
    if (hasEnded) {
      EXPECT_TRUE(WIFEXITED(plx.status()) && WEXITSTATUS(plx.status()) == 0) << plx.status();
      EXPECT_EQ(state, "nn");
      return states;
    }
    for (const char* name : {"a.bak", "b.bak"}) {
      EXPECT_TRUE(!fs::exists(folder.path(name)) || folder.read(name) == "2014-05-10\n") << calls;
    }
    if (signal == SIGKILL) {
      // Whatever was in the way of such a run, the next one does the work.
      if (calls % 8 != 0) continue;
      EXPECT_EQ(changeIn(folder, "-i a b").status, 0);
      EXPECT_EQ(stateOf(folder), "nn");
    } else {
      EXPECT_TRUE(WIFSIGNALED(plx.status()) || WIFEXITED(plx.status()));
      for (const auto& entry : fs::directory_iterator(folder.path("")))
        EXPECT_FALSE(entry.path().filename().string().starts_with(".plx-")) << calls;
    }
  }
}

TEST(InPlace, EndedAtAnyMomentEachFileIsOldOrNew) {
  Cases cases(testsAreShort() ? 30 : 60);
  for (const int signal : {SIGKILL, SIGTERM}) {
    // What is killed does nothing more that a sanitizer could see.
    if (testsAreShort() && signal == SIGKILL) continue;
    const auto states = statesAfter(signal, cases);
    if (states.empty()) GTEST_SKIP() << "processes cannot be traced here";
    for (const auto& [state, times] : states)
      EXPECT_TRUE(state == "oo" || state == "no" || state == "nn") << state;
    EXPECT_EQ(states.size(), 3u) << "ended before, between and after the files' changes";
  }
}

// A crash of the system leaves one of the two, too: what is new is on the disk before it takes the old one's place,
// and so is the change of names at the end. What is private is never anybody else's to read.
TEST(InPlace, TheDiskHasTheNewFileFirst) {
  const TemporaryFolder folder;
  folder.write("a", "2014-05-10\n");
  ASSERT_EQ(::chmod(folder.path("a").c_str(), 0600), 0);
  Traced plx(folder, words("set day 1 -i a --quiet"));
  if (!plx.traces()) GTEST_SKIP() << "processes cannot be traced here";
  while (plx.goOn() && !plx.createsFile()) continue;
  EXPECT_EQ(plx.newMode(), 0600u);
  std::string order;
  while (plx.goOn()) order += plx.syncs() ? "sync " : plx.renames() ? "rename " : "";
  EXPECT_EQ(order, "sync rename sync ");
  EXPECT_EQ(folder.read("a"), "2014-05-01\n");
}

// What was kept as a backup by a run that was then killed is the file itself, and no obstacle.
TEST(InPlace, ABackupThatIsTheFileItselfIsOne) {
  const TemporaryFolder folder;
  fs::create_hard_link(folder.write("a", "2014-05-10\n"), folder.path("a.bak"));
  EXPECT_EQ(changeIn(folder, "-i a --backup .bak"), kDone);
  EXPECT_EQ(folder.read("a"), "2014-05-01\n");
  EXPECT_EQ(folder.read("a.bak"), "2014-05-10\n");
}

}  // namespace
