// `plx rules`, which rules the program uses, and what it says where the system's are others.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "datetime/local_zone.h"
#include "datetime/rules_in_use.h"
#include "support/built.h"
#include "support/cases.h"
#include "support/lines_of.h"
#include "tools/support/pipe.h"
#include "tools/support/run_plx.h"
#include "tools/support/zone_files.h"
#include "zones/yearly_rule.h"

namespace plx {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

constexpr int kHour = 3600;
constexpr std::int64_t k2030 = 1893456000;  // 2030-01-01T00:00:00Z

// A system of zones and a user's folder of data, both made.
class RulesCommand : public testing::Test {
 protected:
  RulesCommand() {
    ::unsetenv("ICU_TIMEZONE_FILES_DIR");
    ::setenv("TZDIR", system().c_str(), 1);
    ::setenv("XDG_DATA_HOME", folder_.path("data").c_str(), 1);
    release("2099z");
  }
  ~RulesCommand() override {
    ::unsetenv("TZDIR");
    ::unsetenv("XDG_DATA_HOME");
    ::setenv("ICU_TIMEZONE_FILES_DIR", "/nowhere", 1);
  }
  std::string system() const { return folder_.path("zoneinfo"); }
  std::string rules() const { return folder_.path("data/plx/rules"); }
  std::string file() const { return rules() + "/zoneinfo64.res"; }
  void zone(const std::string& name, const std::string& bytes) const {
    fs::create_directories(fs::path(system() + '/' + name).parent_path());
    folder_.write("zoneinfo/" + name, bytes);
  }
  void release(const std::string& name) const {
    fs::create_directories(system());
    // As a package is upgraded: whoever reads meanwhile finds the old file or the new one.
    folder_.write("zoneinfo/new", "# version " + name + '\n');
    fs::rename(system() + "/new", system() + "/tzdata.zi");
  }
  PlxResult update() const { return runPlx({"rules", "update", "--to", rules()}); }
  std::vector<std::string> left() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(rules()))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  TemporaryFolder folder_;
  const std::string own_ = timeZoneData();
};

// Two hours ahead of UTC from 2030 on; ICU's is UTC.
const std::string kAhead = zoneFile(-968, {{-1830383032, 0}, {k2030, 2 * kHour}});

TEST_F(RulesCommand, TellsWhichThereAre) {
  zone("Africa/Abidjan", kAhead);
  EXPECT_EQ(runPlx({"rules"}),
            (PlxResult{0,
                       "in use  " + own_ + ", ICU's own\nsystem  2099z, " + system() +
                           "\nThey differ for 1 zone since 1970, and for 0 before that alone.\n",
                       "", 0}));
  const PlxResult updated = update();
  EXPECT_EQ(updated.status, 0);
  EXPECT_THAT(updated.out, StartsWith(file() + ": "));
  EXPECT_THAT(updated.out,
              HasSubstr(" zones of 2099z from " + system() + ", 0 of them new to ICU\n"));
  EXPECT_EQ(runPlx({"rules"}),
            (PlxResult{0,
                       "in use  2099z, " + rules() + ", from " + system() + "\nsystem  2099z, " +
                           system() + "\nThey do not differ.\n",
                       "", 0}));
  EXPECT_THAT(runPlx({"--version"}).out,
              HasSubstr("time-zone data    2099z, " + rules() + ", from " + system() + '\n'));
  EXPECT_EQ(
      runPlx({"zones", "abidjan", "--at", "2030-01-01"}),
      (PlxResult{0, "Africa/Abidjan  +02:00     -\n",
                 "plx: time-zone rules of 2099z, " + rules() + ", from " + system() + '\n', 0}));
  // What somebody has chosen for ICU wins.
  ::setenv("ICU_TIMEZONE_FILES_DIR", "/nowhere", 1);
  EXPECT_THAT(runPlx({"rules"}).out, StartsWith("in use  " + own_ + ", ICU's own\n"));
  ::setenv("ICU_TIMEZONE_FILES_DIR", rules().c_str(), 1);
  EXPECT_THAT(runPlx({"rules"}).out,
              StartsWith("in use  2099z, ICU_TIMEZONE_FILES_DIR, " + rules() + ", from "));
  ::unsetenv("ICU_TIMEZONE_FILES_DIR");
  ::setenv("TZDIR", "/nowhere", 1);
  EXPECT_THAT(runPlx({"rules"}).out, HasSubstr("system  none: there is no folder /nowhere\n"));
}

TEST_F(RulesCommand, AZoneThatTheSystemAloneKnowsIsTold) {
  zone("Mars/Base", kAhead);
  folder_.write("zoneinfo/Mars/Notes", "no zone");
  fs::create_directories(system() + "/right/Mars");
  zone("right/Mars/Base", kAhead);
  const std::vector<std::string> get = {"get", "hour", "2031-01-01T00:00Z", "--zone"};
  const auto getIn = [&](const char* name) {
    std::vector<std::string> words = get;
    words.emplace_back(name);
    return runPlx(words);
  };
  const PlxResult before = getIn("Mars/Base");
  EXPECT_EQ(before.status, 3);
  EXPECT_EQ(before.err,
            "plx: --zone: a time zone of the system's rules that those in use, " + own_ +
                ", do not know: \"Mars/Base\"; accepted: zones that plx zones lists; plx "
                "rules update takes the system's rules\n");
  // What is no zone, and zones that an update would not take, are unknown as ever.
  for (const char* name :
       {"Mars/Notes", "right/Mars/Base", "Mars", "tzdata.zi", "../zoneinfo/Mars/Base"})
    EXPECT_THAT(getIn(name).err, StartsWith("plx: --zone: unknown time zone: ")) << name;
  EXPECT_EQ(update().status, 0);
  EXPECT_EQ(getIn("Mars/Base").out, "2\n");
}

TEST_F(RulesCommand, OlderOnesAreNotUsed) {
  zone("Africa/Abidjan", kAhead);
  Cases cases(2);
  for (const std::string& name : {std::string("1996n"), own_}) {
    release(name);
    const PlxResult updated = update();
    ASSERT_EQ(updated.status, 0);
    EXPECT_THAT(updated.out, EndsWith("They are not newer than ICU's own of " + own_ +
                                      ", and so not taken into use.\n"));
    EXPECT_THAT(runPlx({"rules"}).out, StartsWith("in use  " + own_ + ", ICU's own\n"));
    // Nobody is sent to do what does not help.
    EXPECT_EQ(runPlx({"get", "hour", "--zone", "Africa/Abidjan", "2035-06-01"}).err,
              "plx: the time-zone rules in use (" + own_ + ", ICU's own) and the system's (" +
                  name +
                  ") differ for Africa/Abidjan from 2035-06-01 on; the system's are not "
                  "newer, and so not taken into use\n");
    ++cases;
  }
}

TEST_F(RulesCommand, AFolderWithoutZonesDoesNotAgree) {
  EXPECT_THAT(runPlx({"rules"}).out,
              EndsWith("\nsystem  none: there are no zone files in " + system() + '\n'));
  const PlxResult none{4, "",
                       "plx: " + system() +
                           ": has no zone files; accepted: a folder of compiled zones such as "
                           "/usr/share/zoneinfo\n",
                       0};
  EXPECT_EQ(runPlx({"rules", "diff"}), none);
  EXPECT_EQ(update(), none);
}

// Of 2007 to 2029 in New York: second Sunday of March, first one of November.
std::vector<std::pair<std::int64_t, int>> changesOfEST5EDT() {
  const auto rule = zones::readYearlyRule("EST5EDT,M3.2.0,M11.1.0");
  std::vector<std::pair<std::int64_t, int>> changes;
  for (int year = 2007; year < 2030; ++year) {
    changes.emplace_back(rule->beginIn(year), -4 * kHour);
    changes.emplace_back(rule->endIn(year), -5 * kHour);
  }
  return changes;
}

TEST_F(RulesCommand, ListsWhereTheyDiffer) {
  const struct {
    const char *since, *zone, *what;
    std::string bytes;
    const char* why;
  } rows[] = {
      {"1970", "Africa/Abidjan", "from 2030-01-01 on +02:00 (in use: +00:00)", kAhead, "for ever"},
      {"1970", "Etc/GMT+1", "from 2030-01-01 to 2030-12-31 +00:00 (in use: -01:00)",
       zoneFile(-kHour, {{k2030, 0}, {k2030 + 365 * 86400, -kHour}}), "for a while"},
      {"1970", "Etc/GMT+2",
       "from 2029-12-31 to 2030-01-10 -01:00 (in use: -02:00); once more until 2030-01-30",
       zoneFile(-2 * kHour, {{k2030, -kHour},
                             {k2030 + 10 * 86400, -2 * kHour},
                             {k2030 + 20 * 86400, 0},
                             {k2030 + 30 * 86400, -2 * kHour}}),
       "twice"},
      {"1970", "Etc/GMT+3",
       "from 2029-12-31 to 2030-01-10 -02:00 (in use: -03:00); from 2030-01-21 on +00:00 (in use: "
       "-03:00)",
       zoneFile(-3 * kHour,
                {{k2030, -2 * kHour}, {k2030 + 10 * 86400, -3 * kHour}, {k2030 + 20 * 86400, 0}}),
       "and then for ever"},
      {"1970", "Etc/GMT+4", "until 1979-12-31 +00:00 (in use: -04:00)",
       zoneFile(0, {{315532800, -4 * kHour}}), "from the beginning"},
      {"1970", "Etc/GMT-1", "from 2030-03-31 on +02:00 in summer (in use: +01:00)",
       zoneFile(kHour, {{k2030, kHour}}, "CET-1CEST,M3.5.0,M10.5.0/3"), "saving that ICU has not"},
      {"2020", "EST5EDT", "from 2030-03-10 on -05:00 (in use: -04:00 in summer)",
       zoneFile(-5 * kHour, changesOfEST5EDT()), "saving that the system has not"},
      {"1970", "Etc/GMT+5",
       "from 2029-12-31 to 2030-01-10 -03:00 (in use: -05:00); from 2030-01-10 on -06:00 (in use: "
       "-05:00)",
       zoneFile(-5 * kHour, {{k2030, -3 * kHour}, {k2030 + 10 * 86400, -6 * kHour}}),
       "one difference after the other"},
      {"1970", "Etc/GMT-2", "from 2030-01-01 on +05:00 (in use: +02:00)",
       zoneFile(2 * kHour, {{k2030, 5 * kHour}}, "AAA-5BBB,M3.5.0,M10.5.0/3"),
       "for ever, by more in summer"},
      {"1970", "Europe/Yonder", "unknown to the rules in use", zoneFile(0, {}), "a new one"},
  };
  for (const auto& row : rows) zone(row.zone, row.bytes);
  Cases cases(10);
  for (const auto& row : rows) {
    EXPECT_EQ(runPlx({"rules", "diff", "--since", row.since, row.zone}),
              (PlxResult{0, std::string(row.zone) + ": " + row.what + '\n', "", 0}))
        << row.why;
    ++cases;
  }
  const PlxResult all = runPlx({"rules", "diff"});
  EXPECT_EQ(std::count(all.out.begin(), all.out.end(), '\n'), 10) << all.out;
  EXPECT_EQ(runPlx({"rules", "diff", "Etc/GMT+1", "Europe/Yonder", "Etc/GMT+1"}).out,
            "Etc/GMT+1: from 2030-01-01 to 2030-12-31 +00:00 (in use: -01:00)\n"
            "Europe/Yonder: unknown to the rules in use\n")
      << "each once";
  zone("Etc/GMT+6", zoneFile(0, {{-315619200, -6 * kHour}}));
  EXPECT_EQ(runPlx({"rules", "diff", "Etc/GMT+6"}).out,
            "Etc/GMT+6: until 1959-12-31 +00:00 (in use: -06:00)\n")
      << "zones that are named, before 1970, too";
  EXPECT_EQ(runPlx({"rules", "diff"}).out,
            all.out + "and 1 zone before 1970 alone: plx rules diff --since 1800\n");
}

TEST_F(RulesCommand, OtherNamesOfAZoneStandBesideIt) {
  const struct {
    std::vector<std::string> names;
    const char* told;
  } rows[] = {
      {{"Europe/London", "GB", "GB-Eire"}, "Europe/London, also GB, GB-Eire: "},
      {{"Africa/Abidjan", "Africa/Dakar", "Africa/Lome", "Africa/Timbuktu", "Atlantic/St_Helena",
        "Iceland"},
       "Africa/Abidjan, also Africa/Dakar, Africa/Lome, Atlantic/St_Helena, Africa/Timbuktu, "
       "Iceland: "},
  };
  Cases cases(2);
  for (const auto& row : rows) {
    for (const std::string& name : row.names) zone(name, kAhead);
    const std::string told = runPlx({"rules", "diff"}).out;
    EXPECT_THAT(told, StartsWith(row.told));
    EXPECT_EQ(told.find('\n'), told.size() - 1) << told;
    fs::remove_all(system());
    release("2099z");
    ++cases;
  }
}

TEST_F(RulesCommand, TellsOfDifferencesBefore1970Alone) {
  zone("Etc/GMT+6", zoneFile(0, {{-315619200, -6 * kHour}}));
  EXPECT_THAT(runPlx({"rules"}).out,
              EndsWith("\nThey differ for 0 zones since 1970, and for 1 before that alone.\n"));
}

TEST_F(RulesCommand, SaysWhatIsWrong) {
  zone("Africa/Abidjan", kAhead);
  fs::create_directories(folder_.path("locked/.lock"));
  const struct {
    std::vector<std::string> arguments;
    int status;
    std::string told;
  } rows[] = {
      {{"rules", "renew"}, 2, "rules: no such command: \"renew\"; accepted: diff or update"},
      {{"rules", "diff", "Africa/Abidjann"},
       3,
       "ZONE: the system has no such zone: \"Africa/Abidjann\"; accepted: an identifier such as "
       "Europe/Paris"},
      {{"rules", "diff", "--since", "noon"},
       2,
       "--since: not a year that it takes: \"noon\"; accepted: 1800 to 2099"},
      {{"rules", "diff", "--since", "2100"},
       2,
       "--since: not a year that it takes: \"2100\"; accepted: 1800 to 2099"},
      {{"rules", "update", "--to", rules(), "--from", "/nowhere"},
       4,
       "/nowhere: cannot be read: No such file or directory; accepted: a folder of compiled zones "
       "such as /usr/share/zoneinfo"},
      {{"rules", "update", "--to", folder_.path("locked")},
       4,
       folder_.path("locked") + "/.lock: cannot open: Is a directory"},
      {{"rules", "update", "--to", "/dev/null/rules"},
       4,
       "/dev/null/rules: cannot create: Not a directory"},
  };
  Cases cases(7);
  for (const auto& row : rows) {
    EXPECT_EQ(runPlx(row.arguments), (PlxResult{row.status, "", "plx: " + row.told + '\n', 0}));
    ++cases;
  }
}

// ---------------------------------------------------------------------- What goes wrong while updating

TEST_F(RulesCommand, ADamagedZoneLeavesTheOldRulesInPlace) {
  zone("Africa/Abidjan", kAhead);
  ASSERT_EQ(update().status, 0);
  const std::string before = folder_.read("data/plx/rules/zoneinfo64.res");
  zone("Africa/Accra", kAhead.substr(0, 100));
  release("2099za");
  EXPECT_EQ(update(), (PlxResult{4, "",
                                 "plx: " + system() +
                                     ": Africa/Accra: cut short; accepted: a folder of compiled "
                                     "zones such as /usr/share/zoneinfo\n",
                                 0}));
  EXPECT_EQ(folder_.read("data/plx/rules/zoneinfo64.res"), before);
  EXPECT_EQ(left(), (std::vector<std::string>{".lock", "zoneinfo64.res"}));
  // One that ICU has never heard of is known by the table of countries.
  zone("Africa/Accra", kAhead);
  zone("Mars/Base", 'X' + kAhead.substr(1));
  folder_.write("zoneinfo/zone.tab", "MA\t+0000+00000\tMars/Base\n");
  EXPECT_THAT(update().err, HasSubstr(": Mars/Base: not a zone file; accepted: "));
  EXPECT_EQ(folder_.read("data/plx/rules/zoneinfo64.res"), before);
}

// A limit on a file's size stops writing where a full disk does.
TEST_F(RulesCommand, AFullDiskLeavesTheOldRulesInPlace) {
  zone("Africa/Abidjan", kAhead);
  ASSERT_EQ(update().status, 0);
  const std::string before = folder_.read("data/plx/rules/zoneinfo64.res");
  release("2099za");
  const auto told = linesOf("(trap '' XFSZ; ulimit -f 40; exec '" + built("plx") +
                            "' rules update --to '" + rules() + "') 2>&1; echo $?");
  EXPECT_EQ(told,
            (std::vector<std::string>{"plx: " + file() + ": cannot write: File too large", "4"}));
  EXPECT_EQ(folder_.read("data/plx/rules/zoneinfo64.res"), before);
  EXPECT_EQ(left(), (std::vector<std::string>{".lock", "zoneinfo64.res"}));
}

TEST_F(RulesCommand, AFolderWithoutRightsIsTold) {
  if (::geteuid() == 0) GTEST_SKIP() << "root may write everywhere";
  zone("Africa/Abidjan", kAhead);
  fs::create_directories(rules());
  ASSERT_EQ(::chmod(rules().c_str(), 0555), 0);
  const PlxResult result = update();
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.err, "plx: " + rules() + "/.lock: cannot open: Permission denied\n");
  ::chmod(rules().c_str(), 0755);
}

TEST_F(RulesCommand, AFolderThatIsGivenHasAName) {
  zone("Africa/Abidjan", kAhead);
  Cases cases(2);
  for (const std::string option : {"--to", "--from"}) {
    EXPECT_EQ(
        runPlx({"rules", "update", option, ""}),
        (PlxResult{2, "",
                   "plx: " + option + ": no name of a folder: \"\"; accepted: the path of one\n",
                   0}));
    ++cases;
  }
  EXPECT_FALSE(fs::exists(file()));
}

// Where nobody says where to, rules are put into the user's own folder; root's test would write into the system's.
TEST_F(RulesCommand, AUserWithoutAHomeSaysWhereTo) {
  zone("Africa/Abidjan", kAhead);
  ASSERT_EQ(::chmod(folder_.path("").c_str(), 0777), 0);
  const std::string as = ::geteuid() == 0 ? "setpriv --reuid 65534 --clear-groups " : "";
  const std::string update = "; " + as + "'" + built("plx") + "' rules update 2>&1; echo $?)";
  if (linesOf("(" + as + "'" + built("plx") + "' components > '/dev/null' 2>&1; echo $?)") !=
      std::vector<std::string>{"0"})
    GTEST_SKIP() << "another user cannot run plx here";
  EXPECT_EQ(linesOf("(unset HOME XDG_DATA_HOME" + update),
            (std::vector<std::string>{"plx: there is no HOME to put rules into; accepted: --to DIR",
                                      "2"}));
  const auto told = linesOf("(umask 022" + update);
  ASSERT_EQ(told.size(), 2u);
  EXPECT_THAT(told[0], StartsWith(file() + ": "));
  EXPECT_TRUE(fs::exists(file()));
}

TEST_F(RulesCommand, AFolderThatIsGivenNeedsNoHome) {
  zone("Africa/Abidjan", kAhead);
  const std::string home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
  ::unsetenv("HOME");
  ::unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(update().status, 0);
  ::setenv("HOME", home.c_str(), 1);
}

// Which zone a short name means is another matter than whose rules it has.
TEST_F(RulesCommand, ShortNamesAreToldWithTheSystemsRulesToo) {
  zone("Africa/Abidjan", kAhead);
  ASSERT_EQ(update().status, 0);
  EXPECT_EQ(runPlx({"set", "hour", "0", "2014-05-10", "-z", "BST"}),
            (PlxResult{0, "2014-05-10\n",
                       "plx: time zone BST was read as Asia/Dhaka; if another was meant: "
                       "Europe/London, Pacific/Bougainville\n",
                       0}));
  EXPECT_EQ(runPlx({"set", "hour", "0", "2014-05-10", "-z", "BST", "--quiet"}).err, "");
}

// Each thread and each input has a watch of its own.
TEST_F(RulesCommand, TheFirstInstantOfAllWatchesIsTold) {
  zone("Africa/Abidjan", kAhead);
  Cases cases(3);
  for (const int month : {12, 5, 8}) {
    RulesWatch("Africa/Abidjan").take((k2030 + month * 2'592'000.0) * 1000.0);
    ++cases;
  }
  EXPECT_THAT(otherRules(), HasSubstr("Africa/Abidjan from 2030-05-31 on"));
}

TEST_F(RulesCommand, RulesAreForEveryoneToRead) {
  zone("Africa/Abidjan", kAhead);
  const mode_t mask = ::umask(077);
  EXPECT_EQ(update().status, 0);
  ::umask(mask);
  struct stat info;
  ASSERT_EQ(::stat(file().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0644u);
  ASSERT_EQ(::stat(rules().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0755u);
}

// Whoever reads meanwhile finds the old rules or the new ones, whole.
TEST_F(RulesCommand, SeveralUpdatesAndReadersAtOnce) {
  zone("Africa/Abidjan", kAhead);
  ASSERT_EQ(update().status, 0);
  std::vector<std::thread> threads;
  std::atomic<int> done = 0;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int k = 0; k < 5; ++k) {
        EXPECT_EQ(update().status, 0);
        if (i == 0) release(k % 2 == 0 ? "2099za" : "2099z");
      }
      ++done;
    });
  }
  Cases cases(20);
  for (int i = 0; i < 20 || done < 4; ++i) {
    const PlxResult result = runPlx({"zones", "abidjan", "--at", "2030-01-01"});
    EXPECT_EQ(result.out, "Africa/Abidjan  +02:00     -\n");
    EXPECT_THAT(result.err, StartsWith("plx: time-zone rules of 2099z"));
    ++cases;
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(left(), (std::vector<std::string>{".lock", "zoneinfo64.res"}));
}

// Else one that began earlier could put its older rules over those of a later one.
TEST_F(RulesCommand, AnUpdateWaitsForTheOneBeforeIt) {
  zone("Africa/Abidjan", kAhead);
  fs::create_directories(rules());
  const int before = ::open((rules() + "/.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(::flock(before, LOCK_EX), 0);
  const Pipe out;
  PlxProcess update({"rules", "update", "--to", rules()}, STDIN_FILENO, out.write, STDERR_FILENO);
  ::close(out.write);
  struct pollfd told = {out.read, POLLIN, 0};
  EXPECT_EQ(::poll(&told, 1, 400), 0) << "it has ended";
  EXPECT_FALSE(fs::exists(file()));
  ::close(before);
  EXPECT_EQ(update.wait().status, 0);
  EXPECT_TRUE(fs::exists(file()));
  ::close(out.read);
}

TEST_F(RulesCommand, DamagedRulesAreToldAndOthersUsed) {
  zone("Africa/Abidjan", kAhead);
  ASSERT_EQ(update().status, 0);
  std::string bytes = folder_.read("data/plx/rules/zoneinfo64.res");
  bytes[bytes.size() / 2] = static_cast<char>(bytes[bytes.size() / 2] ^ 4);
  folder_.write("data/plx/rules/zoneinfo64.res", bytes);
  EXPECT_EQ(runPlx({"get", "hour", "2014-05-10T08:30Z", "--zone", "Africa/Abidjan"}),
            (PlxResult{0, "8\n",
                       "plx: The time-zone rules " + file() +
                           " are not used: the file is cut short or damaged. Rules of " + own_ +
                           " are in use. A folder that plx rules update has written is accepted.\n",
                       0}));
  EXPECT_EQ(update().status, 0);
  EXPECT_EQ(runPlx({"get", "hour", "2030-05-10T08:30Z", "--zone", "Africa/Abidjan"}),
            (PlxResult{0, "10\n", "", 0}));
}

// ------------------------------------------------------------------------------ Data beyond agreement

TEST_F(RulesCommand, OtherRulesAreToldWhereTheDataReachThem) {
  zone("Africa/Abidjan", kAhead);
  zone("Etc/GMT+1", zoneFile(-kHour, {{k2030 + 86400, 0}}));
  zone("Europe/Paris", zoneFile(kHour, {}));
  zone("Africa/Cairo", zoneFile(kHour, {}));
  const auto told = [&](const std::string& what) {
    return "plx: the time-zone rules in use (" + own_ +
           ", ICU's own) and the system's (2099z) differ for " + what +
           "; plx rules update takes the system's\n";
  };
  const std::string many = [] {
    std::string lines;
    for (int year = 2020; year < 2040; ++year) lines += std::to_string(year) + "-05-10T08:30Z\n";
    return lines;
  }();
  const struct {
    std::vector<std::string> arguments;
    std::string in, err;
    const char* why;
  } rows[] = {
      {{"get", "hour", "--zone", "Africa/Abidjan", "2029-12-31T23:59:59Z"},
       "",
       "",
       "the second before"},
      {{"get", "hour", "--zone", "Africa/Abidjan", "2030-01-01T00:00:00Z"},
       "",
       told("Africa/Abidjan from 2030-01-01 on"),
       "the first one"},
      {{"get", "hour", "--zone", "Africa/Abidjan", "2035-06-01"},
       "",
       told("Africa/Abidjan from 2035-06-01 on"),
       "later"},
      {{"get", "hour", "--zone", "Africa/Abidjan"},
       many,
       told("Africa/Abidjan from 2030-01-01 on"),
       "once of many"},
      {{"set", "year", "2031", "--zone", "Africa/Abidjan", "2029-06-01"},
       "",
       told("Africa/Abidjan from 2030-01-01 on"),
       "a result"},
      {{"explain", "year", "2031", "--zone", "Africa/Abidjan", "2029-06-01"},
       "",
       told("Africa/Abidjan from 2030-01-01 on"),
       "explained"},
      {{"set", "hour", "3", "2031-01-01T08:30+00:00[Africa/Abidjan]"},
       "",
       told("Africa/Abidjan from 2031-01-01 on"),
       "a zone that the text has"},
      {{"set", "hour", "3", "--column", "t", "--zone-column", "z"},
       "t,z\n2031-01-01,Etc/GMT+1\n2031-01-01,UTC\n2031-01-01,Africa/Abidjan\n2031-01-01,+03:00\n",
       told("Africa/Abidjan from 2031-01-01 on, and for 1 more"),
       "zones of a column"},
      {{"get", "hour", "--zone", "Africa/Abidjan", "--quiet", "2035-06-01"},
       "",
       "",
       "not asked for"},
      {{"set", "hour", "1", "--zone", "Africa/Abidjan", "--quiet", "2035-06-01"},
       "",
       "",
       "not asked for"},
      {{"explain", "hour", "1", "--zone", "Africa/Abidjan", "--quiet", "2035-06-01"},
       "",
       "",
       "not asked for"},
      {{"get", "hour", "--zone", "Egypt", "2035-06-01"},
       "",
       told("Egypt from 2035-06-01 on"),
       "a name of ICU's for a zone of the system's"},
      {{"get", "hour", "--zone", "+02:00", "2035-06-01"}, "", "", "an offset"},
      {{"get", "hour", "--zone", "UTC", "2035-06-01"}, "", "", "no zone of the data"},
      {{"get", "hour", "2035-06-01"}, "", "", "no zone"},
      {{"get", "hour", "--zone", "Asia/Tokyo", "2035-06-01"},
       "",
       "",
       "the system has no file of it"},
  };
  Cases cases(16);
  for (const auto& row : rows) {
    EXPECT_EQ(runPlx(row.arguments, row.in).err, row.err) << row.why;
    ++cases;
  }
  // Nor is a folder without a release passed over.
  fs::rename(system() + "/tzdata.zi", system() + "/moved");
  EXPECT_EQ(runPlx({"get", "hour", "--zone", "Africa/Abidjan", "2035-06-01"}).err,
            "plx: the time-zone rules in use (" + own_ +
                ", ICU's own) and the system's (of no known release) differ for Africa/Abidjan "
                "from 2035-06-01 on; the system's do not tell their release, and so are not taken "
                "into use\n");
  fs::rename(system() + "/moved", system() + "/tzdata.zi");
  // Of an array, too, whose elements are looked at in another way.
  const auto array = [&](std::vector<std::int64_t> seconds) {
    std::string bytes("\x93NUMPY\x01\0", 8);
    std::string header = "{'descr': '<M8[s]', 'fortran_order': False, 'shape': (" +
                         std::to_string(seconds.size()) + ",), }";
    header.resize(117, ' ');
    header += '\n';
    bytes += static_cast<char>(header.size());
    bytes += '\0';
    bytes += header;
    for (const std::int64_t second : seconds)
      bytes.append(reinterpret_cast<const char*>(&second), sizeof second);
    return folder_.write("in.npy", bytes);
  };
  const std::string out = folder_.path("out.npy");
  const auto errorOf = [&](std::vector<std::int64_t> seconds, const char* name) {
    return runPlx({"set", "minute", "0", "--zone", name, "-o", out, array(seconds)}).err;
  };
  EXPECT_EQ(errorOf({1, 2, 3, 4, k2030 - 86400, 5}, "Africa/Abidjan"), "");
  EXPECT_EQ(errorOf({1, 2, 3, 4, k2030 + 3599, 5}, "Africa/Abidjan"),
            told("Africa/Abidjan from 2030-01-01 on"));
  EXPECT_EQ(errorOf({1, 2, 3, 4, k2030, 5}, "Asia/Tokyo"), "");
  // What has been chosen is chosen, but told too.
  ::setenv("ICU_TIMEZONE_FILES_DIR", "/nowhere", 1);
  EXPECT_THAT(runPlx({"get", "hour", "--zone", "Africa/Abidjan", "2035-06-01"}).err,
              HasSubstr("; ICU_TIMEZONE_FILES_DIR chooses the former\n"));
  ::unsetenv("ICU_TIMEZONE_FILES_DIR");
  ASSERT_EQ(update().status, 0);
  EXPECT_EQ(runPlx({"get", "hour", "--zone", "Africa/Abidjan", "2035-06-01"}).err, "");
  // Files are changed within a release, too.
  zone("Africa/Abidjan", zoneFile(kHour, {}));
  EXPECT_EQ(runPlx({"get", "hour", "--zone", "Africa/Abidjan", "2035-06-01"}).err,
            "plx: the time-zone rules in use (2099z, " + rules() + ", from " + system() +
                ") and the system's (2099z) differ for Africa/Abidjan from 2035-06-01 on; plx "
                "rules update takes the system's\n");
}

}  // namespace
}  // namespace plx
