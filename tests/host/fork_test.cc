// A child after fork() may use the host, whatever other threads of the parent were doing in it at that moment.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "host/support.h"
#include "support/built.h"
#include "support/cases.h"

namespace {

// Longer than a child takes on a machine that is busy with other things.
constexpr unsigned kSecondsOfAChild = 60;

bool makesALargeArray() {
  const std::size_t dims[] = {std::size_t{1} << 18, 1};  // 2 MiB
  return ArrayPtr(paCreateUninitNumericArray(2, dims, paDOUBLE_CLASS, paREAL)) != nullptr;
}

bool asksForTheLocale() {
  return !brel::i18n::RwLocale::global().name(brel::i18n::LocaleNameFormat::icu).empty();
}

bool setsTheLocale() { return paSetLocale("de_DE", nullptr) == 0 && asksForTheLocale(); }

bool loadsAModule() {
  return ModulePtr(paLoadModule(built("host_actions_module.so").c_str(), nullptr)) != nullptr;
}

// How a child ends that does it once.
int statusOfAChild(bool (*work)()) {
  const pid_t child = fork();
  if (child == 0) {
    signal(SIGALRM, SIG_DFL);
    alarm(kSecondsOfAChild);
    _exit(work() ? 0 : 1);
  }
  int status = -1;
  if (child < 0 || waitpid(child, &status, 0) != child) return -1;
  return status;
}

TEST(Fork, AChildDoesWhatOtherThreadsWereDoing) {
  if (PLX_SANITIZED)
    GTEST_SKIP() << "a sanitizer's own allocator may keep a child after fork() waiting";
  const struct {
    const char* name;
    bool (*work)();
    int forks;
  } rows[] = {
      {"large arrays", makesALargeArray, 400},
      {"the locale", setsTheLocale, 200},
      {"modules", loadsAModule, 100},
  };
  Cases cases(700);
  for (const auto& row : rows) {
    std::atomic<bool> done = false;
    std::atomic<int> failures = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
      threads.emplace_back([&] {
        while (!done) failures += !row.work();
      });
    }
    for (int i = 0; i < row.forks; ++i) {
      const int status = statusOfAChild(row.work);
      EXPECT_EQ(status, 0) << row.name << ", child " << i << (status == SIGALRM ? ": it hung" : "");
      if (status != 0) break;  // those after it would take as long
      ++cases;
    }
    done = true;
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0) << row.name;
  }
  paSetLocale(nullptr, nullptr);
}

}  // namespace
