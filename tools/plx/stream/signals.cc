#include "stream/signals.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include "messages/message.h"

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

// Memory into which a file is mapped.
struct Mapping {
  const char* begin;
  std::size_t bytes;
  std::string message;
};
std::vector<Mapping>& mappings() {
  static auto* const all = new std::vector<Mapping>;
  return *all;
}

// Handlers make only calls that are safe in one.

void tell(int descriptor, const char* text, std::size_t bytes) {
  if (::write(descriptor, text, bytes) < 0) {
    // The terminal is gone, and nobody is left to be told.
  }
}

void leaveNothing() {
  for (const std::string& path : filesToRemove()) ::unlink(path.c_str());
  const int terminal = terminalToClear;
  if (terminal >= 0) tell(terminal, kClearLine, sizeof kClearLine - 1);
}

// The signal had its default restored when it came, and is
// held back until the handler returns: then it ends the program.
void cleanUp(int signal) {
  leaveNothing();
  ::raise(signal);
}

// Comes to the thread that read. Several may, of which one ends the program. Elsewhere than in a mapping the
// instruction that failed is tried again, without this handler.
void endOnShortFile(int signal, siginfo_t* info, void*) {
  static std::atomic_flag isEnding = ATOMIC_FLAG_INIT;
  while (isEnding.test_and_set()) ::pause();
  leaveNothing();
  const auto* const address = static_cast<const char*>(info->si_addr);
  for (const Mapping& mapping : mappings()) {
    if (address < mapping.begin || address >= mapping.begin + mapping.bytes) continue;
    tell(STDERR_FILENO, mapping.message.data(), mapping.message.size());
    ::_exit(static_cast<int>(Status::inputOutput));
  }
  ::signal(signal, SIG_DFL);
  if (info->si_code <= 0) ::raise(signal);  // sent by a process: nothing is tried again
}

sigset_t handledSignals() {
  sigset_t set;
  ::sigemptyset(&set);
  for (const int signal : kSignals) ::sigaddset(&set, signal);
  return set;
}

}  // namespace

void handleSignals() {
  filesToRemove();  // makes the lists: a handler must not
  mappings();
  struct sigaction action = {};
  action.sa_handler = cleanUp;
  action.sa_mask = handledSignals();
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : kSignals) {
    struct sigaction before = {};
    ::sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) ::sigaction(signal, &action, nullptr);
  }
  struct sigaction onShortFile = {};
  onShortFile.sa_sigaction = endOnShortFile;
  onShortFile.sa_mask = handledSignals();
  onShortFile.sa_flags = SA_SIGINFO;
  ::sigaction(SIGBUS, &onShortFile, nullptr);
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

void tellOnShortFile(const char* mapped, std::size_t bytes, const std::string& message) {
  mappings().push_back({mapped, bytes, "plx: " + message + '\n'});
}

void forgetShortFile(const char* mapped) {
  std::erase_if(mappings(), [&](const Mapping& mapping) { return mapping.begin == mapped; });
}

void clearOnSignal(int descriptor) { terminalToClear = descriptor; }

}  // namespace plx
