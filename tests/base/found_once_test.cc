#include "base/found_once.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <semaphore>
#include <thread>

namespace {

int one, other;

TEST(FoundOnce, FindsInTheFirstCallOnly) {
  FoundOnce<int> found;
  EXPECT_EQ(found.get([] { return &one; }), &one);
  EXPECT_EQ(found.get([] { return &other; }), &one);
}

// Longer than a child takes on a machine that is busy with other things.
constexpr unsigned kSecondsOfAChild = 60;

TEST(FoundOnce, AChildDoesNotWaitForAThreadThatItDoesNotHave) {
  static constinit FoundOnce<int> found;
  std::binary_semaphore begun(0), mayEnd(0);
  std::thread first([&] {
    found.get([&] {
      begun.release();
      mayEnd.acquire();
      return &one;
    });
  });
  begun.acquire();
  const pid_t child = fork();
  if (child == 0) {
    signal(SIGALRM, SIG_DFL);
    alarm(kSecondsOfAChild);
    _exit(found.get([] { return &one; }) == &one ? 0 : 1);
  }
  int status = -1;
  const pid_t ended = waitpid(child, &status, 0);
  mayEnd.release();
  first.join();
  ASSERT_GT(child, 0);
  ASSERT_EQ(ended, child);
  EXPECT_EQ(status, 0) << (status == SIGALRM ? "the child hung" : "");
  EXPECT_EQ(found.get([] { return &other; }), &one);
}

}  // namespace
