// Work that signals interrupt: calls of the system that wait then end with EINTR.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

// Runs `work` in a thread; while that waits in a call of the system, it is interrupted again and again. Then calls
// `release`, after which `work` has to end.
inline void interrupted(const std::function<void()>& work, const std::function<void()>& release) {
  struct sigaction action = {}, before = {};
  action.sa_handler = [](int) {};  // without SA_RESTART
  ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
  std::thread thread(work);
  for (int i = 0; i < 20; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    ::pthread_kill(thread.native_handle(), SIGUSR1);
  }
  release();
  thread.join();
  ::sigaction(SIGUSR1, &before, nullptr);
}
