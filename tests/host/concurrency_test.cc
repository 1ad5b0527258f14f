// Eight threads that load, call and give back the same modules at once.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>

#include "host/support.h"
#include "support/built.h"
#include "support/cases.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 200;

// Each call of a thread carries a number of its own, through results and errors alike.
void work(int thread, std::barrier<>& start, std::atomic<int>& good) {
  // Every other thread exercises the module's own throw; the switch is the thread's alone.
  paSetErrorsReturn(thread % 2 == 1);
  start.arrive_and_wait();
  for (int round = 0; round < kRounds; ++round) {
    paError error;
    const ModulePtr module(paLoadModule(built("host_actions_module.so").c_str(), &error));
    if (!module) continue;
    const double number = thread * 1000.0 + round;
    const Outcome copied = call(module.get(), scalar(Action::copyInput), scalar(number));
    const int key = round % 11;
    const Outcome raised = call(module.get(), scalar(Action::raiseEachKey), scalar(key));
    const Outcome repeated = call(module.get(), scalar(Action::raiseEachKey), scalar(key));
    const Outcome nested =
        call(module.get(), scalar(Action::callModule), text(built("host_actions_module.so")));
    const bool refused =
        paLoadModule(built("host_other_version_module.so").c_str(), &error) == nullptr;
    if (copied.result == 0 && paGetScalar(copied.output.get()) == number && raised.result == 1 &&
        raised.identifier() == repeated.identifier() && raised.message() == repeated.message() &&
        nested.result == 0 && refused &&
        std::string(error.identifier) == "Pelmor:host:WrongInterface")
      ++good;
  }
}

TEST(Concurrency, LoadCallAndGiveBack) {
  std::atomic<int> good = 0;
  std::barrier<> start(kThreads);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread)
    threads.emplace_back([&, thread] { work(thread, start, good); });
  for (std::thread& thread : threads) thread.join();
  Cases cases(kThreads * kRounds);
  cases += good;
}

TEST(Concurrency, OneHandleForAll) {
  const ModulePtr module = loadModule(built("host_actions_module.so"));
  ASSERT_TRUE(module);
  std::atomic<int> good = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread)
    threads.emplace_back([&, thread] {
      for (int round = 0; round < kRounds; ++round) {
        const Outcome outcome = call(module.get(), scalar(Action::copyInput), scalar(thread));
        if (outcome.result == 0 && paGetScalar(outcome.output.get()) == thread) ++good;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, kThreads * kRounds);
}

}  // namespace
