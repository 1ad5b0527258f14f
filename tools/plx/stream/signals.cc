#include "stream/signals.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

namespace plx {

namespace {

constexpr int kSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU};

// What the handler reads. The paths are changed while signals are held back, in the only thread that gets
// signals, and never destroyed, since a signal may come while the program ends. The terminal may be changed
// by another thread meanwhile, so it is a lock-free atomic.
std::vector<std::string>& filesToRemove() {
  static auto* const paths = new std::vector<std::string>;
  return *paths;
}
std::atomic<int> terminalToClear = -1;
static_assert(std::atomic<int>::is_always_lock_free);

// Only calls that are safe in a handler. The signal had its default restored when it came, and is
// held back until the handler returns: then it ends the program.
void cleanUp(int signal) {
  for (const std::string& path : filesToRemove()) ::unlink(path.c_str());
  const int terminal = terminalToClear;
  if (terminal >= 0 && ::write(terminal, kClearLine, sizeof kClearLine - 1) < 0) {
    // The terminal is gone, and nobody is left to be told.
  }
  ::raise(signal);
}

sigset_t handledSignals() {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int signal : kSignals) ::sigaddset(&set, signal);
  return set;
}

}  // namespace

void handleSignals() {
  filesToRemove();  // makes the list: a handler must not
  struct sigaction action = {};
  action.sa_handler = cleanUp;
  action.sa_mask = handledSignals();
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : kSignals) {
    struct sigaction before = {};
    ::sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) ::sigaction(signal, &action, nullptr);
  }
  for (const int signal : {SIGPIPE, SIGXFSZ}) ::signal(signal, SIG_IGN);
}

SignalsHeld::SignalsHeld() {
  const sigset_t set = handledSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, &before_);
}

SignalsHeld::~SignalsHeld() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

void removeOnSignal(const std::string& path) { filesToRemove().push_back(path); }

void keepOnSignal(const std::string& path) {
  auto& paths = filesToRemove();
  const auto found = std::find(paths.begin(), paths.end(), path);
  if (found != paths.end()) paths.erase(found);
}

void clearOnSignal(int descriptor) { terminalToClear = descriptor; }

}  // namespace plx
