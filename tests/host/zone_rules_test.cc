// paUseZoneRules: which rules a process uses afterwards. ICU reads its rules once in a process, so each case has one of
// its own.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unicode/putil.h>
#include <unicode/timezone.h>
#include <unicode/ures.h>
#include <unicode/uvernum.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>

#include "host/embed.h"
#include "support/cases.h"
#include "tools/support/temporary_folder.h"
#include "tools/support/zone_files.h"
#include "zones/converter.h"
#include "zones/rules_file.h"

namespace {

namespace fs = std::filesystem;

std::string inUse() {
  UErrorCode status = U_ZERO_ERROR;
  const char* release = icu::TimeZone::getTZDataVersion(status);
  return U_SUCCESS(status) ? release : u_errorName(status);
}

// What a process says that does this.
std::string inAProcess(const std::function<std::string()>& work) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("pipe");
  const pid_t child = fork();
  if (child == 0) {
    const std::string text = work();
    _exit(write(ends[1], text.data(), text.size()) < 0);
  }
  close(ends[1]);
  char text[4000];
  std::string all;
  for (ssize_t count; (count = read(ends[0], text, sizeof text)) > 0;)
    all.append(text, static_cast<std::size_t>(count));
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  return all;
}

// "result identifier message; the rules in use".
std::string answer(const char* path) {
  paError error;
  const int result = paUseZoneRules(path, &error);
  return std::to_string(result) + ' ' + error.identifier + ' ' + error.message + "; " + inUse();
}

const std::string& own() {
  static const std::string release = inAProcess([] { return inUse(); });
  return release;
}

// A converted folder of a made release, in which Berlin is three hours ahead.
std::string rulesOf(const std::string& release) {
  static std::map<std::string, std::string> made;
  std::string& file = made[release];
  if (!file.empty()) return file;
  file = inAProcess([&] {
    const TemporaryFolder zones;
    zones.write("tzdata.zi", "# version " + release + '\n');
    fs::create_directory(zones.path("Europe"));
    zones.write("Europe/Berlin", zoneFile(3 * 3600, {}));
    return zones::convert(zones::SystemZones(zones.path("")), zones::readOwnRules()).file;
  });
  return file;
}

class ZoneRules : public testing::Test {
 protected:
  ZoneRules() {
    ::unsetenv("ICU_TIMEZONE_FILES_DIR");
    ::setenv("XDG_DATA_HOME", folder_.path("data").c_str(), 1);
    fs::create_directories(folder_.path("data/plx/rules"));
    fs::create_directories(folder_.path("given"));
  }
  std::string given() const { return folder_.path("given"); }
  std::string givenFile() const { return given() + "/zoneinfo64.res"; }
  std::string answerTo(const std::string& bytes) const {
    folder_.write("given/zoneinfo64.res", bytes);
    return inAProcess([&] { return answer(given().c_str()); });
  }
  std::string refused(const std::string& problem) const {
    return "1 Pelmor:host:BadZoneRules The time-zone rules " + givenFile() +
           " are not used: the file " + problem + ". Rules of " + own() +
           " are in use. A folder that plx rules update has written is accepted.; " + own();
  }

  TemporaryFolder folder_;
};

TEST_F(ZoneRules, AreUsedWhereTheyAreNewer) {
  EXPECT_EQ(answerTo(rulesOf("2099z")), "0  ; 2099z");
  EXPECT_EQ(answerTo(rulesOf("1996n")), "0  ; " + own());
  EXPECT_EQ(answerTo(rulesOf(own())), "0  ; " + own());
  folder_.write("given/zoneinfo64.res", rulesOf("2099z"));
  EXPECT_EQ(
      inAProcess([&] {
        answer(given().c_str());
        const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone("Europe/Berlin"));
        return std::to_string(zone->getRawOffset()) + answer(given().c_str());
      }),
      "108000000  ; 2099z")
      << "and a second time";
}

TEST_F(ZoneRules, OfTheUserAreFoundByThemselves) {
  folder_.write("data/plx/rules/zoneinfo64.res", rulesOf("2099z"));
  EXPECT_EQ(inAProcess([] { return answer(nullptr); }), "0  ; 2099z");
  // Whoever asks for a folder gets no other one.
  EXPECT_EQ(answerTo(rulesOf("1996n")), "0  ; " + own());
}

TEST_F(ZoneRules, TheEnvironmentWins) {
  folder_.write("data/plx/rules/zoneinfo64.res", rulesOf("2099y"));
  folder_.write("given/zoneinfo64.res", rulesOf("2099z"));
  ::setenv("ICU_TIMEZONE_FILES_DIR", given().c_str(), 1);
  EXPECT_EQ(inAProcess([] { return answer(nullptr); }), "0  ; 2099z");
  EXPECT_EQ(inAProcess([&] { return answer((given() + "/nowhere").c_str()); }), "0  ; 2099z");
  ::unsetenv("ICU_TIMEZONE_FILES_DIR");
  EXPECT_EQ(inAProcess([] { return answer(nullptr); }), "0  ; 2099y");
}

// ICU itself reads beyond the end of the former, and uses its own in place of the latter without a word.
TEST_F(ZoneRules, DamagedOnesOfTheEnvironmentAreToldAndNotUsed) {
  const std::string good = rulesOf("2099z");
  std::string otherOrder = good;
  otherOrder[8] = static_cast<char>(otherOrder[8] ^ 1);
  ASSERT_NE(own(), "") << "asked for while ICU finds no others";
  ::setenv("ICU_TIMEZONE_FILES_DIR", given().c_str(), 1);
  EXPECT_EQ(answerTo(good.substr(0, 1000)), refused("is cut short or damaged"));
  EXPECT_EQ(answerTo(good.substr(0, good.size() - 1)), refused("is cut short or damaged"));
  EXPECT_EQ(answerTo(otherOrder),
            refused("is of a machine with another order of bytes, or damaged"));
  EXPECT_EQ(answerTo(good), "0  ; 2099z");
  fs::remove(givenFile());
  EXPECT_EQ(inAProcess([] { return answer(nullptr); }), "0  ; " + own())
      << "a folder without rules";
  ::unsetenv("ICU_TIMEZONE_FILES_DIR");
}

TEST_F(ZoneRules, DamagedOnesAreToldAndNotUsed) {
  const std::string good = rulesOf("2099z");
  const auto changed = [&](std::size_t at) {
    std::string bytes = good;
    bytes[at] = static_cast<char>(bytes[at] ^ 1);
    return bytes;
  };
  std::string otherFile = good;
  otherFile.replace(good.find("; ICU ") + 6, 2, std::to_string(U_ICU_VERSION_MAJOR_NUM + 4));
  zones::sealRules(otherFile);
  const std::string major = std::to_string(U_ICU_VERSION_MAJOR_NUM);
  const struct {
    std::string bytes, problem;
  } rows[] = {
      {"", "is cut short"},
      {good.substr(0, good.size() / 2), "is cut short or damaged"},
      {good.substr(0, good.size() - 16), "is cut short or damaged"},
      {good + '\0', "is cut short or damaged"},
      {std::string(good.size(), '\0'), "is no file of ICU's, or damaged"},
      {changed(2), "is no file of ICU's, or damaged"},
      {changed(8), "is of a machine with another order of bytes, or damaged"},
      {changed(16), "is cut short or damaged"},
      {changed(30), "is not one that plx rules update writes, or damaged"},
      {changed(good.find("2099z") + 3), "is cut short or damaged"},
      {changed(good.size() / 3), "is cut short or damaged"},
      {changed(good.size() - 1), "is cut short or damaged"},
      {otherFile, "is made for ICU " + std::to_string(U_ICU_VERSION_MAJOR_NUM + 4) +
                      ", and this is ICU " + major},
  };
  Cases cases(13);
  for (const auto& row : rows) {
    EXPECT_EQ(answerTo(row.bytes), refused(row.problem));
    ++cases;
  }
}

TEST_F(ZoneRules, ThatCannotBeReadAreTold) {
  EXPECT_EQ(inAProcess([&] { return answer(given().c_str()); }),
            refused("cannot be read: No such file or directory"));
  fs::create_directory(givenFile());
  EXPECT_EQ(inAProcess([&] { return answer(given().c_str()); }),
            refused("cannot be read: Is a directory"));
  fs::remove(givenFile());
  ASSERT_EQ(::mkfifo(givenFile().c_str(), 0600), 0);
  EXPECT_EQ(inAProcess([&] { return answer(given().c_str()); }), refused("is not a regular file"));
  // Where nobody has put rules, there is nothing to tell; but what is there and wrong is told beside better ones.
  fs::create_directory(folder_.path("data/plx/rules/zoneinfo64.res"));
  const std::string told = inAProcess([] { return answer(nullptr); });
  EXPECT_EQ(told.substr(0, 29), "1 Pelmor:host:BadZoneRules Th") << told;
  fs::remove_all(folder_.path("data"));
  EXPECT_EQ(inAProcess([] { return answer(nullptr); }).substr(0, 4), "0  ;");
}

TEST_F(ZoneRules, InAFolderThatIcuDoesNotFindAreTold) {
  fs::create_directories(folder_.path("with:colon"));
  folder_.write("with:colon/zoneinfo64.res", rulesOf("2099z"));
  EXPECT_EQ(inAProcess([&] { return answer(folder_.path("with:colon").c_str()); }),
            "1 Pelmor:host:BadZoneRules The time-zone rules " +
                folder_.path("with:colon/zoneinfo64.res") +
                " are not used: the file stands in a folder with a colon in its name, where ICU "
                "does not find it. Rules of " +
                own() + " are in use. A folder that plx rules update has written is accepted.; " +
                own());
}

TEST_F(ZoneRules, AreRefusedOnceOthersAreInUse) {
  folder_.write("given/zoneinfo64.res", rulesOf("2099z"));
  const std::string expected =
      "1 Pelmor:host:ZoneRulesTooLate The time-zone rules " + givenFile() +
      " are not used: the process has rules of " + own() +
      " in use already. The call is accepted before the first use of a time zone.; " + own();
  EXPECT_EQ(inAProcess([&] {
              inUse();
              return answer(given().c_str());
            }),
            expected);
  EXPECT_EQ(inAProcess([&] {
              delete icu::TimeZone::createTimeZone("Europe/Berlin");
              return answer(given().c_str());
            }),
            expected);
}

// A file that is replaced changes nothing in a process that has begun.
TEST_F(ZoneRules, StayAsTheyWereInARunningProcess) {
  folder_.write("given/zoneinfo64.res", rulesOf("2099z"));
  EXPECT_EQ(
      inAProcess([&] {
        const std::string before = answer(given().c_str());
        fs::rename(givenFile(), givenFile() + ".old");
        folder_.write("given/zoneinfo64.res", rulesOf("2099y").substr(0, 1000));
        const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone("Europe/Berlin"));
        return before + ' ' + std::to_string(zone->getRawOffset());
      }),
      "0  ; 2099z 10800000");
}

TEST_F(ZoneRules, NeedNoErrorToBeWrittenTo) {
  EXPECT_EQ(inAProcess([&] { return std::to_string(paUseZoneRules(given().c_str(), nullptr)); }),
            "1");
}

}  // namespace
