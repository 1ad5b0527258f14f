// What a call in a zone costs that has not been met, and what threads cost each other: prints the last table of
// docs/zoned_performance.md.
//
//   first calls   in each of some zones, in a new process, beside one that forgets after each call
//   threads       each in a zone of its own, beside as many processes of one thread
//
// A ratio is that of medians of rounds in which the two took turns.

#include <sys/wait.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "call.h"

namespace {

constexpr int kRounds = 11;
constexpr int kMonth = 2;  // of kComponentNames
constexpr std::size_t kWorkers = 8;
constexpr int kCallsOfAWorker = 400;
constexpr const char* kZonesOfWorkers[kWorkers] = {
    "America/New_York", "Europe/Paris",      "Asia/Tokyo",          "Australia/Sydney",
    "Asia/Kolkata",     "America/Sao_Paulo", "Africa/Johannesburg", "Europe/Moscow"};

double secondsOf(const std::function<void()>& run) {
  const auto start = std::chrono::steady_clock::now();
  run();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double medianOf(std::vector<double> times) {
  std::ranges::nth_element(times, times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2));
  return times[times.size() / 2];
}

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "calls_benchmark: %s\n", what);
  std::exit(1);
}

// Fewer than the module remembers.
std::vector<std::string> someZones() {
  constexpr std::size_t kZones = 48;
  UErrorCode status = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> ids(icu::TimeZone::createTimeZoneIDEnumeration(
      UCAL_ZONE_TYPE_CANONICAL_LOCATION, nullptr, nullptr, status));
  std::vector<std::string> names;
  for (int i = 0; U_SUCCESS(status) && names.size() < kZones; ++i) {
    const char* const id = ids->next(nullptr, status);
    if (id == nullptr) fail("ICU names too few zones");
    if (i % 8 == 0) names.emplace_back(id);
  }
  return names;
}

// Of one call in each zone, the first there, in a process of its own: a module stays loaded, and what it remembers stays.
double secondsOfFirstCalls(const char* module, std::size_t elements) {
  int told[2];
  if (::pipe(told) != 0) fail("no pipe");
  const pid_t child = ::fork();
  if (child < 0) fail("no process");
  if (child == 0) {
    const Arrays arrays(kWhole, elements, true, Component::month);
    std::vector<std::unique_ptr<ModuleCall>> calls;
    for (const std::string& zone : someZones())
      calls.push_back(std::make_unique<ModuleCall>(module, arrays, kMonth, zone));
    ModuleCall anywhere(module, arrays, kMonth, "Etc/GMT+3");
    paDestroyArray(anywhere.make());  // what ICU does once
    const double seconds = secondsOf([&] {
      for (const auto& call : calls) paDestroyArray(call->make());
    });
    std::_Exit(::write(told[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  }
  double seconds = 0;
  int status = 0;
  const bool isTold = ::read(told[0], &seconds, sizeof seconds) == sizeof seconds;
  if (::waitpid(child, &status, 0) < 0 || status != 0 || !isTold) fail("a process failed");
  for (const int end : told) ::close(end);
  return seconds;
}

double ratioOfFirstCalls(std::size_t elements) {
  std::vector<double> remembering, forgetful;
  for (int round = 0; round < 3 * kRounds; ++round) {
    forgetful.push_back(secondsOfFirstCalls(PLX_FORGETFUL_MODULE, elements));
    remembering.push_back(secondsOfFirstCalls(PLX_MODULE, elements));
  }
  return medianOf(remembering) / medianOf(forgetful);
}

// Calls in a zone, once `start` returns.
void work(const char* zone, const std::function<void()>& start) {
  const Arrays arrays(kWhole, 4096, true, Component::month);
  ModuleCall call(PLX_MODULE, arrays, kMonth, zone);
  for (int i = 0; i < 2; ++i) paDestroyArray(call.make());
  start();
  for (int i = 0; i < kCallsOfAWorker; ++i) paDestroyArray(call.make());
}

double secondsOfThreads() {
  std::atomic<std::size_t> ready = 0;
  std::atomic<bool> isBegun = false;
  std::vector<std::jthread> threads;
  for (const char* zone : kZonesOfWorkers) {
    threads.emplace_back([&, zone] {
      work(zone, [&] {
        ++ready;
        ready.notify_one();
        isBegun.wait(false);
      });
    });
  }
  for (std::size_t now = ready; now < kWorkers; now = ready) ready.wait(now);
  return secondsOf([&] {
    isBegun = true;
    isBegun.notify_all();
    threads.clear();
  });
}

double secondsOfProcesses() {
  int ready[2], begin[2];
  if (::pipe(ready) != 0 || ::pipe(begin) != 0) fail("no pipe");
  for (const char* zone : kZonesOfWorkers) {
    const pid_t child = ::fork();
    if (child < 0) fail("no process");
    if (child > 0) continue;
    ::close(begin[1]);
    work(zone, [&] {
      char byte = 0;
      if (::write(ready[1], &byte, 1) != 1) std::_Exit(1);
      while (::read(begin[0], &byte, 1) < 0 && errno == EINTR) {
      }
    });
    std::_Exit(0);
  }
  char byte = 0;
  for (std::size_t i = 0; i < kWorkers; ++i)
    if (::read(ready[0], &byte, 1) != 1) fail("a process ended early");
  const double seconds = secondsOf([&] {
    ::close(begin[1]);  // all that wait for a byte of it go on
    for (std::size_t i = 0; i < kWorkers; ++i) {
      int status = 0;
      if (::wait(&status) < 0 || status != 0) fail("a process failed");
    }
  });
  for (const int end : {ready[0], ready[1], begin[0]}) ::close(end);
  return seconds;
}

void print(const std::string& what, double goal, double ratio) {
  std::printf("| %s | %.2f | %.2f | %s |\n", what.c_str(), goal, ratio,
              ratio <= goal ? "yes" : "**no**");
  std::fflush(stdout);
}

}  // namespace

int main() {
  std::printf("| case | goal | measured | holds |\n|---|---|---|---|\n");
  // Before this process has other threads.
  std::vector<double> processes, threads;
  for (int round = 0; round < kRounds; ++round) {
    processes.push_back(secondsOfProcesses());
    threads.push_back(secondsOfThreads());
  }
  for (const std::size_t elements : {1, 79, 80, 4096})
    print("the first call in a zone, " + std::to_string(elements) +
              " elements / that of a module that forgets",
          1.05, ratioOfFirstCalls(elements));
  print("8 threads, each in a zone of its own, 4096 elements a call / as many processes", 1.2,
        medianOf(threads) / medianOf(processes));
}
