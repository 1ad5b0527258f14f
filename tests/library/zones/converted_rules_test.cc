// ICU with the converted rules of the system's zone files, compared with Python's zoneinfo, which reads the same
// files by code of its own.
//
// ICU reads its rules once in a process, so they are converted before the tests run. Beside the system's zones
// stand made ones, with rules that nobody has.

#include <gtest/gtest.h>
#include <unicode/basictz.h>
#include <unicode/putil.h>
#include <unicode/tztrans.h>
#include <unicode/ucal.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "support/cases.h"
#include "support/every_zone.h"
#include "support/length.h"
#include "support/random.h"
#include "tools/support/temporary_folder.h"
#include "tools/support/zone_files.h"
#include "zones/converter.h"
#include "zones/rules_file.h"

namespace {

namespace fs = std::filesystem;

constexpr int kFirstYear = 1800, kLastYear = 2500;
constexpr std::int64_t kHour = 3600;

// What the tests work with, made before they run.
struct Rules {
  TemporaryFolder folder;
  zones::OwnRules own = zones::readOwnRules();
  std::string zoneinfo = folder.path("zoneinfo"), release;
  zones::Converted converted;
  std::vector<std::string> names;  // of zones in this run

  Rules();
};
const Rules* rules = nullptr;

// Both changes away from the turn of the year, and no days counted from zero: there Python 3.11 reads a rule otherwise
// than the C library, which this library agrees with.
std::string madeRule(Random& random) {
  const auto date = [&](std::int64_t firstMonth) {
    std::string text;
    if (random.oneIn(6)) {
      text = "J" + std::to_string(random.whole(0, 90) + firstMonth * 30);
    } else {
      text = "M" + std::to_string(firstMonth + random.whole(0, 2)) + '.' +
             std::to_string(random.whole(1, 5)) + '.' + std::to_string(random.whole(0, 6));
    }
    if (random.oneIn(4)) return text + '/' + std::to_string(random.whole(-167, 167));
    if (random.oneIn(3)) return text + '/' + std::to_string(random.whole(0, 24)) + ":30";
    return text;
  };
  std::string spring = date(2), autumn = date(8);
  if (random.oneIn(2)) std::swap(spring, autumn);
  const auto standard = random.whole(-14, 12);
  const auto west = [](std::int64_t hours, bool half) {
    return std::to_string(-hours) + (half ? ":30" : "");
  };
  return "AAA" + west(standard, random.oneIn(3)) + "BBB" +
         west(standard + (random.oneIn(2)   ? 1
                          : random.oneIn(2) ? -1
                                            : 2),
              random.oneIn(3)) +
         ',' + spring + ',' + autumn;
}

Rules::Rules() {
  const zones::SystemZones system(zones::systemZonesFolder());
  release = system.release().value_or("");
  fs::create_directories(zoneinfo + "/Made");
  std::ofstream(zoneinfo + "/tzdata.zi") << "# version 2099z\n";
  const std::vector<std::string> all = system.names();
  for (const std::string& name : all) {
    const fs::path path = fs::path(zoneinfo) / name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << *system.bytesOf(name);
  }
  std::set<std::string> some = {"Africa/Casablanca",   "Africa/El_Aaiun", "America/Nuuk",
                                "Antarctica/Troll",    "Asia/Gaza",       "Europe/Dublin",
                                "Pacific/Apia",        "Asia/Jerusalem",  "America/Santiago",
                                "Australia/Lord_Howe", "Africa/Cairo",    "America/Havana"};
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (testsAreWhole() || i % 12 == 0) some.insert(all[i]);
  }
  Random random(15);
  for (std::int64_t i = 0; i < ofWhole(250); ++i) {
    const std::string name = "Made/Zone" + std::to_string(1000 + i), rule = madeRule(random);
    const auto read = zones::readYearlyRule(rule);
    if (!read) throw std::runtime_error("no rule: " + rule);
    std::ofstream(fs::path(zoneinfo) / name, std::ios::binary)
        << zoneFile(read->standard, {}, rule);
    some.insert(name);
  }
  names.assign(some.begin(), some.end());
  converted = zones::convert(zones::SystemZones(zoneinfo), own);
  folder.write("zoneinfo64.res", converted.file);
}

struct Step {
  std::int64_t second;
  int offset;
  friend bool operator==(const Step&, const Step&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const Step& step) {
    return stream << step.second << " to " << step.offset;
  }
};

int offsetAt(const icu::BasicTimeZone& zone, std::int64_t second) {
  int32_t raw = 0, saving = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(static_cast<double>(second) * 1000, false, raw, saving, status);
  EXPECT_TRUE(U_SUCCESS(status));
  return (raw + saving) / 1000;
}

constexpr std::int64_t kFirst = -5364662400, kEnd = 16756761600;  // 1800-01-01, 2501-01-01

// As ICU lists a zone's changes.
std::vector<Step> stepsOf(const icu::BasicTimeZone& zone) {
  std::vector<Step> all;
  icu::TimeZoneTransition next;
  int before = offsetAt(zone, kFirst);
  for (double t = kFirst * 1000.0;
       zone.getNextTransition(t, false, next) && next.getTime() < kEnd * 1000.0;) {
    t = next.getTime();
    const int offset = (next.getTo()->getRawOffset() + next.getTo()->getDSTSavings()) / 1000;
    if (offset != before) all.push_back({static_cast<std::int64_t>(t / 1000), offset});
    before = offset;
  }
  return all;
}

TEST(ConvertedRules, AreThoseThatPythonReads) {
  UErrorCode status = U_ZERO_ERROR;
  ASSERT_STREQ(ucal_getTZDataVersion(&status), "2099z");
  std::map<std::string, std::unique_ptr<icu::BasicTimeZone>> icuZones;
  std::ostringstream asked;
  for (const std::string& name : rules->names) {
    icuZones[name] = zoneOf(name);
    icu::UnicodeString id;
    ASSERT_EQ(icuZones[name]->getID(id), icu::UnicodeString(name.c_str()));
    asked << name;
    for (const Step& step : stepsOf(*icuZones[name]))
      asked << ' ' << step.second - 1 << ' ' << step.second;
    asked << '\n';
  }
  const std::string in = rules->folder.write("asked", asked.str());
  const std::string out = rules->folder.path("told");
  const std::string command = "python3 '" PLX_STEPS_BY_PYTHON "' '" + rules->zoneinfo + "' " +
                              std::to_string(kFirstYear) + ' ' + std::to_string(kLastYear) + ' ' +
                              (testsAreWhole() ? "10" : "40") + " < '" + in + "' > '" + out + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);

  Cases cases(ofWhole(500'000));
  std::size_t told = 0;
  std::ifstream lines(out);
  for (std::string line; std::getline(lines, line); ++told) {
    std::istringstream words(line);
    std::string name;
    int before = 0;
    words >> name >> before;
    if (name == "probes") {
      std::cout << "Python was asked for " << before << " offsets in " << rules->names.size()
                << " zones\n";
      continue;
    }
    const icu::BasicTimeZone& zone = *icuZones.at(name);
    std::vector<Step> steps;
    for (Step step{}; words >> step.second >> step.offset;) steps.push_back(step);
    EXPECT_EQ(offsetAt(zone, kFirst), before) << name;
    EXPECT_EQ(stepsOf(zone), steps) << name;
    for (const Step& step : steps) {
      EXPECT_EQ(offsetAt(zone, step.second - 1), before) << name << ' ' << step.second;
      EXPECT_EQ(offsetAt(zone, step.second), step.offset) << name << ' ' << step.second;
      EXPECT_EQ(offsetAt(zone, step.second + 1), step.offset) << name << ' ' << step.second;
      before = step.offset;
      cases += 3;
    }
  }
  EXPECT_EQ(told, rules->names.size() + 1);
}

TEST(ConvertedRules, OfTheOddOnes) {
  const struct {
    const char *zone, *since;  // the release from which on it holds
    std::int64_t second;
    std::int64_t offset;
    const char* why;
  } rows[] = {
      {"Europe/Dublin", "2018a", 1909500000, kHour,
       "summer of 2030: an hour of saving, or none to the system's file"},
      {"Europe/Dublin", "2018a", 1893456000, 0, "winter of 2030"},
      {"Africa/Casablanca", "2018g", 1735689600, kHour, "2025-01-01: an hour ahead"},
      {"Africa/Casablanca", "2018g", 1741478400, 0, "2025-03-09: an hour less in Ramadan"},
      {"Africa/El_Aaiun", "2018g", 1741478400, 0, "the same"},
      {"Australia/Lord_Howe", "1996n", 1909500000, 10 * kHour + 1800, "winter of 2030"},
      {"Australia/Lord_Howe", "1996n", 1893456000, 11 * kHour, "summer: half an hour of saving"},
      {"Antarctica/Troll", "2014b", 1909500000, 2 * kHour, "summer of 2030: two hours of saving"},
      {"Asia/Gaza", "2024a", 1893456000, 2 * kHour, "winter of 2030"},
      {"Pacific/Apia", "2021e", 1325239199, -10 * kHour, "the last second of 2011-12-29"},
      {"Pacific/Apia", "2021e", 1325239200, 14 * kHour, "the next one, on 2011-12-31"},
      {"Pacific/Apia", "2021b", 1672531200, 13 * kHour, "no saving any more"},
      {"Pacific/Kwajalein", "2021a", 745934399, -12 * kHour, "the last second of 1993-08-20"},
      {"Pacific/Kwajalein", "2021a", 745934400, 12 * kHour, "the next one, on 1993-08-22"},
      {"Africa/Monrovia", "2018a", 63593069, -2670, "44:30 behind, until 1972-01-07"},
      {"Africa/Monrovia", "2018a", 63593070, 0, "UTC since"},
      {"America/Mexico_City", "2022f", 1688000000, -6 * kHour, "summer of 2023: without saving"},
      {"Africa/Cairo", "2023c", 1688000000, 3 * kHour, "summer of 2023: with saving again"},
      {"Asia/Almaty", "2024a", 1709229599, 6 * kHour, "2024-02-29"},
      {"Asia/Almaty", "2024a", 1709229600, 5 * kHour, "2024-03-01"},
      {"America/Nuuk", "2023a", 1735689600, -2 * kHour, "the winter of 2025"},
      {"America/Nuuk", "2023a", 1751328000, -kHour, "its summer"},
      {"America/Asuncion", "2024b", 1751328000, -3 * kHour, "saving for ever, since October 2024"},
      {"America/Coyhaique", "2025b", 1751328000, -3 * kHour, "a zone younger than ICU 77"},
      {"America/Ciudad_Juarez", "2022g", 1688000000, -6 * kHour, "a zone younger than ICU 72"},
  };
  Cases cases(15);
  for (const auto& row : rows) {
    if (zones::isNewer(row.since, rules->release)) continue;
    EXPECT_EQ(offsetAt(*zoneOf(row.zone), row.second), row.offset) << row.zone << ": " << row.why;
    ++cases;
  }
}

// Every name that ICU knows means a zone, and what it was another name of.
TEST(ConvertedRules, EveryNameOfIcusKeepsWorking) {
  Cases cases(600);
  for (const zones::OwnRules::Zone& own : rules->own.zones) {
    const icu::UnicodeString id(own.name.c_str());
    const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(id));
    icu::UnicodeString got;
    EXPECT_EQ(zone->getID(got), id) << own.name;
    UErrorCode status = U_ZERO_ERROR;
    char region[8] = {};
    icu::TimeZone::getRegion(id, region, sizeof region, status);
    if (own.name != "Etc/Unknown") {
      EXPECT_EQ(region, own.region) << own.name;
      icu::UnicodeString canonical;
      icu::TimeZone::getCanonicalID(id, canonical, status);
      EXPECT_TRUE(U_SUCCESS(status)) << own.name;
    }
    ++cases;
  }
}

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  const Rules made;
  rules = &made;
  // Its own rules have been read by now, and with them the environment.
  UErrorCode status = U_ZERO_ERROR;
  u_setTimeZoneFilesDirectory(made.folder.path("").c_str(), &status);
  return RUN_ALL_TESTS();
}
