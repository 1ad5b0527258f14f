// Every allocation that a call makes fails once, in turn: those of the module, of the host and of the
// libraries that they use. The call then ends with a result that is right, the host's out-of-memory error,
// or what it would have ended with; nothing crashes and nothing is leaked. The call after it is as ever: nothing
// wrong was remembered. Each call is made in a zone that was met before, too, and, by a module that forgets its
// zones between calls, in one that is met for the first time.
//
// This program has a memory of its own: malloc and its kin stand here before those of the C library. Where an
// allocation is made from is told by its return address. ICU is tested apart: it documents that functions
// report U_MEMORY_ALLOCATION_ERROR, and constructors, new and its caches have no better word than a null
// pointer or an object that does not do its work. So each of those runs in a process of its own.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include "support/built.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/proc_files.h"

// The sanitizers have a memory of their own.
#define PLX_OWN_MEMORY !PLX_SANITIZED

namespace {

// Whose allocations fail.
enum class From { ours, icu };

struct Plan {
  bool isArmed = false;
  From from = From::ours;
  long failing = 0;  // the number of the first that fails
  long howMany = 1;  // that fail, one after the other
  long seen = 0;     // so far
  long live = 0;     // blocks of whatever origin that are not given back
};
Plan plan;

// The start of ICU's libraries is where they are mapped; looked up before anything is armed.
struct Range {
  std::uintptr_t begin = 0, end = 0;
};
std::vector<Range> icuRanges;

[[maybe_unused]] bool isFromIcu(const void* caller) {
  const auto at = reinterpret_cast<std::uintptr_t>(caller);
  for (const Range& range : icuRanges) {
    if (range.begin <= at && at < range.end) return true;
  }
  return false;
}

// Whether this allocation is to fail.
[[maybe_unused]] bool fails(const void* caller) {
  if (!plan.isArmed || (plan.from == From::icu) != isFromIcu(caller)) return false;
  const long number = plan.seen++;
  return plan.failing <= number && number < plan.failing + plan.howMany;
}

}  // namespace

#if PLX_OWN_MEMORY
extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

static void* counted(void* memory) {
  if (memory) __atomic_add_fetch(&plan.live, 1, __ATOMIC_RELAXED);
  return memory;
}

static void* refused() {
  errno = ENOMEM;
  return nullptr;
}

void* malloc(std::size_t size) {
  return fails(__builtin_return_address(0)) ? refused() : counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
  return fails(__builtin_return_address(0)) ? refused() : counted(__libc_calloc(count, size));
}
void* realloc(void* memory, std::size_t size) {
  if (fails(__builtin_return_address(0))) return refused();
  return memory ? __libc_realloc(memory, size) : counted(__libc_malloc(size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return fails(__builtin_return_address(0)) ? refused() : counted(__libc_memalign(alignment, size));
}
void free(void* memory) {
  if (memory) __atomic_sub_fetch(&plan.live, 1, __ATOMIC_RELAXED);
  __libc_free(memory);
}

}  // extern "C"
#endif

namespace {

struct Ending {
  int status = 0;
  std::string identifier;
  std::vector<double> values;  // of the result, high and low parts

  bool operator==(const Ending&) const = default;
};

// A piece of work, which is told apart from its preparation: that never fails.
struct Work {
  std::string name;
  std::function<Ending()> run;
};

// A call whose arguments live on.
class PreparedCall {
 public:
  PreparedCall(std::size_t count, double value, double selector, const char* zone)
      : t_(doubles(instants(count))),
        v_(scalar(value)),
        s_(scalar(selector)),
        zone_(text(std::string(zone))) {}

  // From 1890 to 2060, so that no transition of a zone can be missing unnoticed for long.
  static std::vector<double> instants(std::size_t count) {
    std::vector<double> all(count, -2524521600000.25);
    const double step = std::floor(5364662400000.0 / static_cast<double>(count));
    for (std::size_t i = 1; i < count; ++i) all[i] = all[i - 1] + step;
    return all;
  }

  Ending run(paModule* module) const {
    const paArray* in[] = {t_.get(), v_.get(), s_.get(), zone_.get()};
    paArray* out[1];
    paError error;
    plan.isArmed = plan.failing >= 0;
    const int status = paCallModule(module, 1, out, 4, in, &error);
    plan.isArmed = false;
    Ending ending{status, error.identifier, {}};
    if (status == 0) {
      const std::size_t n = paGetNumberOfElements(out[0]);
      ending.values.assign(paGetRealData(out[0]), paGetRealData(out[0]) + n);
      ending.values.insert(ending.values.end(), paGetImagData(out[0]), paGetImagData(out[0]) + n);
    }
    paDestroyArray(out[0]);
    return ending;
  }

 private:
  Array t_, v_, s_, zone_;
};

paModule* module() {
  static paModule* const loaded = paLoadModule(built("plx_datetime.so").c_str(), nullptr);
  return loaded;
}

paModule* forgetfulModule() {
  static paModule* const loaded = paLoadModule(built("plx_datetime_forgetful.so").c_str(), nullptr);
  return loaded;
}

std::vector<Work> allWork() {
  std::vector<Work> all;
  const struct {
    const char* name;
    std::size_t count;
    double value, selector;
    const char* zone;
  } calls[] = {
      {"without a zone", 300, 2, kMonth, ""},
      {"leap seconds", 300, 2, kSecond, "UTCLeapSeconds"},
      {"in a zone, by tables", 300, 2, kMonth, "Europe/Paris"},
      {"in a zone, by the calendar", 3, 2, kHour, "America/New_York"},
      {"at an offset", 3, 2, kHour, "UTC+05:30"},
      {"in the local zone", 3, 2, kHour, "local"},
      {"an unknown zone", 3, 2, kMonth, "Mars/Olympus"},
      {"a fraction", 300, 2.5, kMonth, ""},
      {"a fraction in a zone", 300, 2.5, kMonth, "Europe/Paris"},
      {"an unknown component", 3, 2, 99, ""},
      {"out of range in a zone", 3, 1e9, kYear, "Europe/Paris"},
  };
  for (const auto& c : calls) {
    const auto call = std::make_shared<PreparedCall>(c.count, c.value, c.selector, c.zone);
    all.push_back({c.name, [call] { return call->run(module()); }});
    if (*c.zone != 0) {
      all.push_back(
          {std::string(c.name) + ", met first", [call] { return call->run(forgetfulModule()); }});
    }
  }
  const auto loading = [](const std::string& path) {
    return [path] {
      paError error;
      plan.isArmed = plan.failing >= 0;
      paModule* const loaded = paLoadModule(path.c_str(), &error);
      plan.isArmed = false;
      paUnloadModule(loaded);
      return Ending{loaded == nullptr, error.identifier, {}};
    };
  };
  all.push_back({"loading a module that is loaded", loading(built("plx_datetime.so"))});
  all.push_back({"loading what is not there", loading("/no/such/module.so")});
  all.push_back({"loading what is no module", loading("/proc/self/cmdline")});
  all.push_back({"an array outside of a call", [] {
                   const std::size_t dims[] = {1000, 3};
                   plan.isArmed = plan.failing >= 0;
                   paArray* const array = paCreateNumericArray(2, dims, paDOUBLE_CLASS, paCOMPLEX);
                   plan.isArmed = false;
                   paDestroyArray(array);
                   return array ? Ending{} : Ending{1, "Pelmor:host:OutOfMemory", {}};
                 }});
  return all;
}

Ending runWhile(long failing, long howMany, From from, const Work& work) {
  plan.from = from;
  plan.failing = failing;
  plan.howMany = howMany;
  plan.seen = 0;
  const Ending ending = work.run();
  plan.failing = -1;
  return ending;
}

bool isLackOfMemory(const Ending& ending) {
  return ending.status == 1 && ending.identifier == "Pelmor:host:OutOfMemory";
}

// Where ICU is the one to find it, it is ICU's; and a zone that it cannot make is one that it does not know.
bool isLackOfMemoryInIcu(const Ending& ending) {
  return isLackOfMemory(ending) ||
         (ending.status == 1 && (ending.identifier == "Pelmor:datetime:ICUError" ||
                                 ending.identifier == "Pelmor:datetime:UnknownTimeZone"));
}

void findIcu() {
  const std::string own = "libicu";
  std::unique_ptr<FILE, int (*)(FILE*)> maps(fopen("/proc/self/maps", "r"), fclose);
  char line[1024];
  while (fgets(line, sizeof line, maps.get())) {
    if (std::strstr(line, own.c_str()) == nullptr) continue;
    unsigned long begin = 0, end = 0;
    if (std::sscanf(line, "%lx-%lx", &begin, &end) == 2) icuRanges.push_back({begin, end});
  }
}

// Ends the process by 4 where a fault happens in ICU's own code, and by 5 where it happens in any other.
void tellFaultsApart() {
  struct sigaction action = {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = [](int, siginfo_t*, void* context) {
    const mcontext_t& machine = static_cast<ucontext_t*>(context)->uc_mcontext;
#if defined(__x86_64__)
    const auto* at = reinterpret_cast<const void*>(machine.gregs[REG_RIP]);
#elif defined(__aarch64__)
    const auto* at = reinterpret_cast<const void*>(machine.pc);
#else
#error "name the register of the instruction here"
#endif
    _exit(isFromIcu(at) ? 4 : 5);
  };
  sigaction(SIGSEGV, &action, nullptr);
}

class AllocationFailures : public testing::Test {
 protected:
  void SetUp() override {
    if (!PLX_OWN_MEMORY) GTEST_SKIP() << "the sanitizers have a memory of their own";
    if (!hasProcFiles()) GTEST_SKIP() << kNoProcFiles;
    plan.failing = -1;
    paSetLocale("en_US", nullptr);
    ASSERT_NE(module(), nullptr);
    ASSERT_NE(forgetfulModule(), nullptr);
    if (icuRanges.empty()) findIcu();
    ASSERT_FALSE(icuRanges.empty());
  }
};

// The module's and the host's own, and the standard library's for them. What fails is one, or all from there on.
TEST_F(AllocationFailures, OursAreToldAndLeakNothing) {
  Cases cases(150);
  for (const Work& work : allWork()) {
    const Ending usual = work.run();
    work.run();  // what is made once has been made
    for (const long howMany : {1L, 1000000L}) {
      long failing = 0;
      for (;; ++failing, ++cases) {
        work.run();
        const long before = plan.live;
        bool wasAsked = false;
        {
          const Ending ending = runWhile(failing, howMany, From::ours, work);
          wasAsked = plan.seen > failing;
          EXPECT_TRUE(ending == usual || (wasAsked && isLackOfMemory(ending)))
              << work.name << ", allocation " << failing << ": " << ending.identifier;
        }
        EXPECT_LE(plan.live, before) << work.name << ", allocation " << failing << ": leaked";
        EXPECT_EQ(work.run(), usual) << work.name << ": as before, once there is memory";
        EXPECT_EQ(plan.live, before) << work.name << ", allocation " << failing << ": leaked";
        if (!wasAsked) break;
      }
      std::printf("%-40s %ld allocations%s\n", work.name.c_str(), failing,
                  howMany == 1 ? ", one failing" : ", all failing from one on");
    }
  }
}

// ICU's own, in a process each: the module passes on what ICU reports. Beyond that, nothing but that the process
// does not go on with a wrong result.
TEST_F(AllocationFailures, OfIcuGiveNoWrongResult) {
  Cases cases(100);
  std::map<std::string, int> endings;
  for (const Work& work : allWork()) {
    const Ending usual = work.run();
    work.run();
    for (long failing = 0;; ++failing, ++cases) {
      std::fflush(nullptr);
      const pid_t child = fork();
      ASSERT_GE(child, 0);
      if (child == 0) {
        tellFaultsApart();
        const Ending ending = runWhile(failing, 1, From::icu, work);
        if (plan.seen <= failing) _exit(3);
        for (int again = 0; again < 3; ++again) {
          if (work.run() != usual) _exit(2);
        }
        _exit(ending == usual ? 0 : isLackOfMemoryInIcu(ending) ? 1 : 2);
      }
      int status = 0;
      ASSERT_EQ(waitpid(child, &status, 0), child);
      if (WIFEXITED(status) && WEXITSTATUS(status) == 3) break;
      ASSERT_TRUE(WIFEXITED(status)) << work.name << ": " << strsignal(WTERMSIG(status));
      const char* const names[] = {
          "as usual", "an error for lack of memory", "something else",
          "",         "a fault in ICU's code",       "a fault in other code"};
      const int code = WEXITSTATUS(status);
      EXPECT_TRUE(code == 0 || code == 1 || code == 4)
          << work.name << ", ICU's allocation " << failing << ": " << names[code];
      ++endings[names[code]];
    }
  }
  for (const auto& [name, count] : endings) std::printf("%6d %s\n", count, name.c_str());
}

// A call for which ICU lacks memory leaves neither a table with gaps nor the word that the zone has none: calls
// after it are right, and soon ask nothing of ICU any more. These zones are met by no other call of the module.
TEST_F(AllocationFailures, OfIcuSpoilNothingRemembered) {
  Cases cases(50);
  for (const char* zone : {"America/Chicago", "Europe/Dublin", "Asia/Kolkata"}) {
    const PreparedCall call(300, 2, kHour, zone);
    const Work work{zone, [&] { return call.run(module()); }};
    const Ending usual = call.run(forgetfulModule());
    for (long failing = 0;; ++failing, ++cases) {
      std::fflush(nullptr);
      const pid_t child = fork();
      ASSERT_GE(child, 0);
      if (child == 0) {
        tellFaultsApart();
        runWhile(failing, 1, From::icu, work);
        if (plan.seen <= failing) _exit(3);
        for (int again = 0; again < 3; ++again) {
          if (work.run() != usual) _exit(2);
        }
        runWhile(std::numeric_limits<long>::max() - 1, 1, From::icu, work);  // none fails: counted
        _exit(plan.seen == 0 ? 0 : 1);
      }
      int status = 0;
      ASSERT_EQ(waitpid(child, &status, 0), child);
      if (WIFEXITED(status) && WEXITSTATUS(status) == 3) break;
      ASSERT_TRUE(WIFEXITED(status)) << zone << ": " << strsignal(WTERMSIG(status));
      const char* const names[] = {"", "the zone has no table any more", "wrong results", "",
                                   "", "a fault in other code"};
      const int code = WEXITSTATUS(status);
      EXPECT_TRUE(code == 0 || code == 4)
          << zone << ", ICU's allocation " << failing << ": " << names[code];
    }
  }
}

}  // namespace
