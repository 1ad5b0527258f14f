// Calls in zones that were met before give what first calls give: the module, called again and again, beside
// one that forgets all zones between calls. And what changes between calls counts at once: ICU's rules, the
// default zone, the locale. Has ICU clean up: a program of its own.

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unicode/putil.h>
#include <unicode/rbtz.h>
#include <unicode/simpletz.h>
#include <unicode/tzrule.h>
#include <unicode/uclean.h>
#include <unicode/uloc.h>
#include <unicode/utrace.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/bits.h"
#include "support/cases.h"
#include "support/datetime_module.h"
#include "support/every_zone.h"
#include "support/random.h"
#include "tools/support/temporary_folder.h"
#include "tools/support/zone_files.h"
#include "zones/converter.h"
#include "zones/rules_file.h"

namespace {

constexpr double kHourLong = 3600000.0, kDayLong = 86400000.0;

// Two calls of a module make it remember a zone; the third finds it.
constexpr int kCalls = 4;

struct Call {
  std::vector<doubledouble> t;
  std::vector<double> values;
  std::size_t bad;  // the first element that may raise an error; the count where none does
};

double anyValue(Random& random, Selector selector) {
  if (random.oneIn(20)) return static_cast<double>(random.whole(-3000, 3000));
  if (selector == kYear) return static_cast<double>(random.whole(1900, 2100));
  if (selector == kTimeOfDay) return random.real(0.0, 86400.0);
  if (selector == kSecond) return random.real(0.0, 60.0);
  return static_cast<double>(random.whole(1, 28));
}

double anyInstant(Random& random) {
  return random.oneIn(8) ? static_cast<double>(random.whole(-(1LL << 49), 1LL << 49))
                         : static_cast<double>(random.whole(-3000000000000, 3000000000000));
}

Call anyCall(Random& random, std::size_t count, Selector selector) {
  Call call{{}, {}, count};
  const bool isWhole = random.oneIn(2), isOneValue = random.oneIn(2);
  for (std::size_t i = 0; i < count; ++i) {
    const double below = isWhole ? 0.0 : random.oneIn(2) ? random.real(-1.0, 1.0) : 1e-9;
    call.t.push_back(two_sum(anyInstant(random), below));
    if (i == 0 || !isOneValue) call.values.push_back(anyValue(random, selector));
  }
  if (count > 0 && random.oneIn(4)) {
    const auto at = static_cast<std::size_t>(random.whole(0, static_cast<std::int64_t>(count) - 1));
    call.t[at].hi = random.oneIn(2) ? kNan : 0x1p52 + 2;
    if (!std::isnan(call.t[at].hi)) call.bad = at;
  }
  if (random.oneIn(8)) {
    const std::size_t at = call.values.size() / 2;
    if (at < call.values.size()) call.values[at] = 2.5;
    call.bad = std::min(call.bad, isOneValue ? 0 : at);
  }
  return call;
}

constexpr const char* kUnknownZone = "Pelmor:datetime:UnknownTimeZone";

// An outcome as what a caller sees of it: the error, and the elements before it.
void expectSame(const Outcome& outcome, const Outcome& expected, const Call& call,
                const std::string& what) {
  ASSERT_EQ(outcome.status, expected.status) << what;
  ASSERT_EQ(outcome.identifier, expected.identifier) << what;
  ASSERT_EQ(outcome.message, expected.message) << what;
  ASSERT_EQ(outcome.result == nullptr, expected.result == nullptr) << what;
  if (!expected.result) return;
  const auto a = elements(outcome.result), b = elements(expected.result);
  ASSERT_EQ(a.size(), b.size()) << what;
  const std::size_t set = expected.status == 0                  ? a.size()
                          : expected.identifier == kUnknownZone ? 0
                                                                : call.bad;
  for (std::size_t i = 0; i < set; ++i) {
    ASSERT_SAME_BITS(a[i], b[i]) << what << ", element " << i;
  }
}

TEST(ZonesMetBefore, GiveWhatFirstCallsGive) {
  const DatetimeModule module, forgetful("plx_datetime_forgetful.so");
  std::vector<std::string> zones = zonesOfThisRun();
  zones.insert(zones.end(), {"+05:30", "-0800", "UTC+14", "Z", "utc-3:15:20", "GMT+3", "gmt-11:45",
                             "local", "No/Where", "america/new_york", "Etc/Unknown", "EST5EDT"});
  Random random(1);
  Cases cases(ofWhole(40000));
  for (const std::string& zone : zones) {
    for (const Selector selector : kSelectorsOfAll) {
      for (const std::size_t count : {0U, 1U, 2U, 7U, 8U, 9U, 40U, 79U, 80U, 81U, 333U}) {
        const Call call = anyCall(random, count, selector);
        const Array t = datetimes(call.t), values = doubles(call.values);
        const Outcome expected = forgetful.set(t, values, selector, zone);
        for (int i = 0; i < kCalls; ++i, ++cases) {
          expectSame(module.set(t, values, selector, zone), expected, call,
                     zone + ", selector " + std::to_string(selector) + ", " +
                         std::to_string(count) + " elements, call " + std::to_string(i));
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  }
}

// The offset of a zone in hours, as calls of one element tell it: that of 2020-01-01.
class ZoneOffsetHours {
 public:
  // From a call of each length; they must agree. NaN where the zone is unknown.
  double operator()(const std::string& zone) const {
    double hours = kNan;
    for (const std::size_t count : {1U, 100U, 1U}) {
      const std::vector<doubledouble> t(count, {kNoon, 0.0});
      const Outcome outcome = module_.set(datetimes(t), scalar(0), kTimeOfDay, zone);
      const double told =
          outcome.status == 0
              ? (kNoon - kDayLong / 2.0 - elements(outcome.result)[count / 2].hi) / kHourLong
              : kNan;
      EXPECT_TRUE(hours != hours || told == hours) << zone;
      hours = told;
    }
    return hours;
  }

 private:
  static constexpr double kNoon = 18262 * kDayLong + kDayLong / 2.0;
  DatetimeModule module_;
};

// Rules of the same release as ICU's own, in which Berlin is as many hours ahead of UTC as told.
std::string rulesWithBerlinAt(int hours) {
  const TemporaryFolder system;
  UErrorCode status = U_ZERO_ERROR;
  system.write("tzdata.zi",
               "# version " + std::string(icu::TimeZone::getTZDataVersion(status)) + '\n');
  std::filesystem::create_directory(system.path("Europe"));
  system.write("Europe/Berlin", zoneFile(hours * 3600, {}));
  return zones::convert(zones::SystemZones(system.path("")), zones::readOwnRules()).file;
}

TEST(ZonesMetBefore, OtherRulesCountOnceIcuHasThem) {
  const ZoneOffsetHours offset;
  const TemporaryFolder folder;
  std::vector<std::string> rules;
  for (const int hours : {3, 4, 5}) rules.push_back(rulesWithBerlinAt(hours));
  Cases cases(6);
  EXPECT_EQ(offset("Europe/Berlin"), 1.0);
  for (int round = 0; round < 2; ++round) {
    for (int hours = 3; hours <= 5; ++hours, ++cases) {
      folder.write(std::string(zones::kRulesFile), rules[static_cast<std::size_t>(hours - 3)]);
      u_cleanup();
      UErrorCode status = U_ZERO_ERROR;
      u_setTimeZoneFilesDirectory(folder.path("").c_str(), &status);
      icu::TimeZone::getTZDataVersion(status);  // as a program may: it is the same
      EXPECT_EQ(offset("Europe/Berlin"), hours);
      EXPECT_EQ(offset("Europe/Berlin"), hours);
      EXPECT_EQ(offset("+05:30"), 5.5);
    }
  }
  u_cleanup();
  EXPECT_EQ(offset("Europe/Berlin"), 1.0);
}

// A zone of a program's own kind, by a name of ICU's: a fixed offset.
class OwnZone : public icu::RuleBasedTimeZone {
 public:
  OwnZone(int hours, const char* name)
      : RuleBasedTimeZone(name, new icu::InitialTimeZoneRule(name, hours * 3600000, 0)) {
    UErrorCode status = U_ZERO_ERROR;
    complete(status);
  }
  OwnZone* clone() const override { return new OwnZone(*this); }
};

TEST(ZonesMetBefore, LocalFollowsTheDefaultZone) {
  const ZoneOffsetHours offset;
  const std::unique_ptr<icu::TimeZone> before(icu::TimeZone::createDefault());
  const auto renamed = [](const char* id, const char* name) {
    icu::TimeZone* const zone = icu::TimeZone::createTimeZone(id);
    zone->setID(name);
    return zone;
  };
  const struct {
    icu::TimeZone* zone;  // adopted
    double hours;
    const char* why;
  } rows[] = {
      {icu::TimeZone::createTimeZone("Europe/Paris"), 1, "a zone"},
      {icu::TimeZone::createTimeZone("America/New_York"), -5, "another"},
      {icu::TimeZone::createTimeZone("Europe/Paris"), 1, "the first again"},
      {new icu::SimpleTimeZone(7 * 3600000, "Europe/Paris"), 7, "a fixed offset of its name"},
      {new icu::SimpleTimeZone(8 * 3600000, "Europe/Paris"), 8, "another"},
      {icu::TimeZone::createTimeZone("Europe/Paris"), 1, "the first again"},
      {new OwnZone(9, "Europe/Paris"), 9, "a zone of the program's own"},
      {new OwnZone(10, "Europe/Paris"), 10, "another"},
      {renamed("Asia/Tokyo", "Europe/Paris"), 9, "another zone by its name"},
      {renamed("Etc/GMT-2", "Europe/Paris"), 2, "one without transitions"},
      {icu::TimeZone::createTimeZone("Etc/UTC"), 0, "UTC"},
      {new icu::SimpleTimeZone(6 * 3600000, "Etc/UTC"), 6, "a fixed offset of its name"},
      {renamed("Etc/GMT-3", "Etc/UTC"), 3, "two without transitions"},
      {renamed("Asia/Kolkata", "Etc/UTC"), 5.5, "one that had transitions"},
      {icu::TimeZone::createTimeZone("Etc/UTC"), 0, "UTC again"},
      {renamed("Europe/Paris", "Not/Known"), 1, "a zone by a name that ICU does not know"},
      {icu::TimeZone::createTimeZone("GMT+4"), 4, "an offset"},
      {renamed("GMT+5", "GMT+04:00"), 5, "another by its name"},
  };
  Cases cases(54);
  for (const auto& row : rows) {
    icu::TimeZone::adoptDefault(row.zone);
    for (const char* name : {"local", "LOCAL", "Local"}) {
      EXPECT_EQ(offset(name), row.hours) << row.why;
      EXPECT_EQ(offset("Europe/Paris"), 1.0) << "whatever the default zone is called";
      ++cases;
    }
  }
  icu::TimeZone::setDefault(*before);
}

TEST(ZonesMetBefore, OffsetsFollowTheLocale) {
  const ZoneOffsetHours offset;
  Cases cases(30);
  for (int round = 0; round < 3; ++round) {
    for (const auto& [locale, hours] : {std::pair{"en_US", kNan}, {"fi_FI", 5.5}, {"da_DK", 5.5}}) {
      ASSERT_EQ(paSetLocale(locale, nullptr), 0);
      for (int i = 0; i < 3; ++i, ++cases) {
        EXPECT_TRUE(sameBits(offset("UTC+5.30"), hours)) << locale;
        EXPECT_EQ(offset("Europe/Paris"), 1.0);
      }
    }
  }
  // A language that ICU does not know has the spellings of the default locale.
  ASSERT_EQ(paSetLocale("xx_YY", nullptr), 0);
  UErrorCode status = U_ZERO_ERROR;
  const std::string before = uloc_getDefault();
  for (const auto& [locale, hours] : {std::pair{"en_US", kNan}, {"fi_FI", 5.5}, {"en_US", kNan}}) {
    uloc_setDefault(locale, &status);
    for (int i = 0; i < 3; ++i, ++cases) EXPECT_TRUE(sameBits(offset("UTC+5.30"), hours)) << locale;
  }
  uloc_setDefault(before.c_str(), &status);
  paSetLocale("en_US", nullptr);
}

// A child may call in zones that were met, whatever the parent's other threads were doing in such zones.
TEST(ZonesMetBefore, AChildOfForkCallsAtOnce) {
  if (PLX_SANITIZED)
    GTEST_SKIP() << "a sanitizer's own allocator may keep a child after fork() waiting";
  constexpr unsigned kSecondsOfAChild = 60;  // longer than it takes on a machine that is busy
  constexpr int kForks = 300;
  const ZoneOffsetHours offset;
  const auto areRight = [&] {
    return offset("Europe/Paris") == 1.0 && offset("+05:30") == 5.5 && offset("Asia/Tokyo") == 9.0;
  };
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(areRight());
  std::atomic<bool> isDone = false;
  std::atomic<int> failures = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      while (!isDone) failures += !areRight();
    });
  }
  Cases cases(kForks);
  for (int i = 0; i < kForks; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      signal(SIGALRM, SIG_DFL);
      alarm(kSecondsOfAChild);
      _exit(areRight() && offset("America/New_York") == -5.0 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "child " << i << (status == SIGALRM ? ": it hung" : "");
    if (status != 0) break;  // those after it would take as long
    ++cases;
  }
  isDone = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

TEST(ZonesMetBefore, ProgramsThatTraceAreServed) {
  const ZoneOffsetHours offset;
  const int own = 0;
  Cases cases(6);
  for (int i = 0; i < 6; ++i, ++cases) {
    utrace_setFunctions(i % 2 ? &own : nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(offset("Europe/Paris"), 1.0);
    const void* context = nullptr;
    UTraceEntry* entry = nullptr;
    UTraceExit* exit = nullptr;
    UTraceData* data = nullptr;
    utrace_getFunctions(&context, &entry, &exit, &data);
    EXPECT_TRUE(i % 2 == 0 || context == &own) << "the program's own stays";
  }
  utrace_setFunctions(nullptr, nullptr, nullptr, nullptr);
}

TEST(ZonesMetBefore, FloodsOfTextsTakeNoMemory) {
  const DatetimeModule module;
  Cases cases(ofWhole(20000));
  const auto flood = [&] {
    for (std::int64_t i = 0; i < ofWhole(10000); ++i, ++cases) {
      const auto number = std::to_string(1000 + i);
      module.set(scalar(0.0), scalar(1.0), kHour, "Nowhere/" + number);
      const std::string text = "+" + number.substr(0, 2) + ":" + number.substr(2, 2);
      for (int twice = 0; twice < 2; ++twice) module.set(scalar(0.0), scalar(1.0), kHour, text);
    }
  };
  flood();
  const std::size_t before = mallinfo2().uordblks;
  flood();
  const std::size_t after = mallinfo2().uordblks;
  std::printf("%zu, then %zu bytes\n", before, after);
#if !PLX_SANITIZED
  EXPECT_LT(after, before + 4096);
#endif
}

}  // namespace
