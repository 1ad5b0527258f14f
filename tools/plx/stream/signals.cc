#include "stream/signals.h"

#include <unistd.h>

#include <array>
#include <atomic>
#include <climits>
#include <cstring>

namespace plx {

namespace {

constexpr int kSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGXCPU};

// What the handler reads. The path is changed while the signals are held back, in the only thread that
// gets them. The terminal is changed by whichever thread draws: an atomic without a lock may be read in
// a handler meanwhile.
std::array<char, PATH_MAX> fileToRemove;
std::atomic<int> terminalToClear = -1;
static_assert(std::atomic<int>::is_always_lock_free);

// Only calls that are safe in a handler. The signal had its default restored when it came, and is
// held back until the handler returns: then it ends the program.
void cleanUp(int signal) {
  if (fileToRemove[0] != '\0') ::unlink(fileToRemove.data());
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

bool removeOnSignal(const std::string& path) {
  if (path.size() >= fileToRemove.size()) return false;
  std::memcpy(fileToRemove.data(), path.c_str(), path.size() + 1);
  return true;
}

void keepOnSignal() { fileToRemove[0] = '\0'; }

void clearOnSignal(int descriptor) { terminalToClear = descriptor; }

}  // namespace plx
