// --zone local: the zone that the system's clock shows, or none.
#include "datetime/local_zone.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "datetime/zone.h"
#include "support/cases.h"
#include "tools/support/npy_bytes.h"
#include "tools/support/run_plx.h"
#include "tools/support/temporary_folder.h"
#include "tools/support/zone_files.h"

namespace plx {
namespace {

namespace fs = std::filesystem;

// Paris as ICU has it from 2000 on. The changes of 2000 to 2001 and a rule for what follows.
constexpr int kHour = 3600;
const std::vector<std::pair<std::int64_t, int>> kParisChanges = {
    {954032400, 2 * kHour}, {972781200, kHour}, {985482000, 2 * kHour}, {1004230800, kHour}};
const std::string kParisRule = "CET-1CEST,M3.5.0,M10.5.0/3";

// No change from 2014-01-01 until 2015-01-01; from there on the rule goes.
const std::vector<std::pair<std::int64_t, int>> kNoSummerIn2014 = {{1388534400, kHour},
                                                                   {1420070400, kHour}};

// A system of its own: a folder of zones, and what TZ says, for the programs that a test starts.
class LocalZone : public testing::Test {
 protected:
  LocalZone() {
    fs::create_directories(folder_.path("zoneinfo/Europe"));
    fs::create_directories(folder_.path("zoneinfo/America"));
    folder_.write("zoneinfo/Europe/Paris", zoneFile(kHour, kParisChanges, kParisRule));
    folder_.write("zoneinfo/America/Yonder", zoneFile(-4 * kHour, {{0, -3 * kHour}}, "<-03>3"));
    ::setenv("TZDIR", folder_.path("zoneinfo").c_str(), 1);
  }
  ~LocalZone() override {
    ::unsetenv("TZDIR");
    ::unsetenv("TZ");
  }

  PlxResult run(const std::string& tz, const std::vector<std::string>& arguments,
                std::string_view input = "") const {
    ::setenv("TZ", tz.c_str(), 1);
    return runPlx(arguments, input);
  }
  // What setting the hour in the local zone comes to.
  PlxResult set(const std::string& tz, const std::string& datetime) const {
    return run(tz, {"set", "hour", "12", datetime, "--zone", "local"});
  }

  const TemporaryFolder folder_;
};

TEST_F(LocalZone, IsTheOneThatTheSystemShows) {
  fs::create_symlink("zoneinfo/Europe/Paris", folder_.path("link"));
  fs::create_symlink(folder_.path("link"), folder_.path("link to link"));
  fs::copy_file(folder_.path("zoneinfo/Europe/Paris"), folder_.path("copy"));
  const struct {
    std::string tz;
    const char *summer, *why;
  } rows[] = {
      {"Europe/Paris", "2014-07-10T12:00:00+02:00", "a name"},
      {":Europe/Paris", "2014-07-10T12:00:00+02:00", "behind a colon"},
      {folder_.path("zoneinfo/Europe/Paris"), "2014-07-10T12:00:00+02:00", "a path"},
      {":" + folder_.path("zoneinfo/Europe/Paris"), "2014-07-10T12:00:00+02:00", "and a colon"},
      {folder_.path("link"), "2014-07-10T12:00:00+02:00", "a link"},
      {":" + folder_.path("link to link"), "2014-07-10T12:00:00+02:00", "a link to it"},
      {folder_.path("copy"), "2014-07-10T12:00:00+02:00", "a copy is known by its content"},
      {"", "2014-07-10T12:00:00+00:00", "the C library takes an empty one for UTC"},
      {"<+03>-3", "2014-07-10T12:00:00+03:00", "an offset, counted westward"},
      {"XYZ3:30", "2014-07-10T12:00:00-03:30", "with minutes"},
      {"UTC0", "2014-07-10T12:00:00+00:00", "or none"},
  };
  Cases cases(11);
  for (const auto& r : rows) {
    EXPECT_EQ(set(r.tz, "2014-07-10"), (PlxResult{0, std::string(r.summer) + '\n', "", 0}))
        << r.tz << ": " << r.why;
    ++cases;
  }
}

// As in a program that has asked for the time before.
TEST_F(LocalZone, IsThatOfTheVariableAsItIsNow) {
  for (const auto& [tz, text] : {std::pair{"<+03>-3", "+03:00"}, {"<+05>-5", "+05:00"}}) {
    ::setenv("TZ", tz, 1);
    Complaint complaint;
    EXPECT_EQ(localZoneText(complaint), text) << complaint.what;
  }
}

TEST_F(LocalZone, IsRefusedWhereICUHasNone) {
  folder_.write("own", zoneFile(kHour, {{0, 2 * kHour}}));
  const struct {
    std::string tz, what;
  } rows[] = {
      {"EST5EDT,M3.2.0,M11.1.0",
       "TZ is a rule, and no name of a time zone: EST5EDT,M3.2.0,M11.1.0"},
      {"CET-1CEST", "TZ is a rule, and no name of a time zone: CET-1CEST"},
      {"FAR+24", "TZ is a rule a day or more from UTC: FAR+24"},
      {"FAR-25", "TZ is a rule a day or more from UTC: FAR-25"},
      {"Europe/Pariss", "TZ names no time zone of the system: Europe/Pariss"},
      {":Europe/Pariss", "TZ names no time zone of the system: Europe/Pariss"},
      {"Asia/Tokyo", "TZ names no time zone of the system: Asia/Tokyo"},
      {"Europe", "TZ names no time zone of the system: Europe"},
      {"/dev/null", "TZ names no time zone of the system: /dev/null"},
      {"America/Yonder",
       "the system's zone America/Yonder is unknown to the time-zone data in use, " +
           timeZoneData()},
      {folder_.path("own"), "the system's zone has no name, only a file, " + folder_.path("own")},
  };
  Cases cases(11);
  for (const auto& r : rows) {
    EXPECT_EQ(set(r.tz, "2014-07-10"),
              (PlxResult{3, "",
                         "plx: --zone: " + r.what +
                             ": \"local\"; accepted: an identifier such as Europe/Paris, or an "
                             "offset such as +05:30\n",
                         0}))
        << r.tz;
    // Whoever does not ask for it is not bothered.
    EXPECT_EQ(run(r.tz, {"set", "hour", "12", "2014-07-10", "--zone", "Europe/Paris"}).status, 0);
    ++cases;
  }
}

const std::string kDiffering =
    ": local is Europe/Paris, where the system's clock and the time-zone data in use, " +
    timeZoneData() + ", differ from ";
const std::string kAccepted =
    "; accepted: a zone by its identifier, which means the rules of that data; or newer data\n";

// The system's Paris has no summer time in 2014: its clock differs from 2014-03-30T01:00Z until October.
TEST_F(LocalZone, IsRefusedWhereTheClocksDiffer) {
  folder_.write("zoneinfo/Europe/Paris", zoneFile(kHour, kNoSummerIn2014, kParisRule));
  const struct {
    const char *datetime, *refused, *why;
  } rows[] = {
      {"2014-02-10", nullptr, "before it"},
      {"2014-03-27T23:00", nullptr, "more than two days before"},
      {"2014-03-28T03:30", "2014-03-30T01:00:00Z on: +01:00 and +02:00", "less than two"},
      {"2014-07-10", "2014-03-30T01:00:00Z on: +01:00 and +02:00", "between"},
      {"2014-10-27", "2014-03-30T01:00:00Z on: +01:00 and +02:00", "just after it"},
      {"2014-11-10", nullptr, "after it"},
      {"2020-07-10", nullptr, "years later"},
  };
  Cases cases(7);
  for (const auto& r : rows) {
    const PlxResult result = set("Europe/Paris", r.datetime);
    if (r.refused == nullptr) {
      EXPECT_EQ(result.status, 0) << r.why << result.err;
    } else {
      EXPECT_EQ(result, (PlxResult{3, "",
                                   "plx: argument" + kDiffering + r.refused + ": \"" + r.datetime +
                                       "\"" + kAccepted,
                                   0}))
          << r.why;
    }
    ++cases;
  }
}

// Wherever a datetime comes from, and wherever it is led, though by way of others.
TEST_F(LocalZone, EveryWayIsChecked) {
  folder_.write("zoneinfo/Europe/Paris", zoneFile(kHour, kNoSummerIn2014, kParisRule));
  const std::string from = "2014-03-30T01:00:00Z on: +01:00 and +02:00";
  const std::string july = "1404993600000";  // 2014-07-10T12:00Z
  const std::string table = "at,tz\n2014-02-01,local\n2014-07-10,local\n2014-07-10,Europe/Paris\n";
  folder_.write("february.npy", npyOf<double>("<f8", {1391212800000}));
  folder_.write("july.npy", npyOf<double>("<f8", {1391212800000, 1404993600000}));
  const struct {
    std::vector<std::string> command;
    std::string_view input, out, where, text;
  } rows[] = {
      {{"set", "month", "7", "2014-02-10"}, "", "", "argument", "2014-02-10"},
      {{"set", "month=7", "month=2", "2014-02-10"}, "", "", "argument", "2014-02-10"},
      {{"set", "day", "1", "--from", "ms"}, july, "", "-:1:1", july},
      {{"set", "day", "1", "--from", "pair"}, "1404993600000,0", "", "-:1:1", "1404993600000,0"},
      {{"get", "day", "2014-02-10", "2014-07-10"}, "", "10\n", "argument", "2014-07-10"},
      {{"explain", "day", "1", "2014-07-10"}, "", "", "argument", "2014-07-10"},
      {{"set", "day", "1"}, "2014-02-10\n2014-07-10\n", "2014-02-01\n", "-:2:1", "2014-07-10"},
  };
  Cases cases(10);
  for (const auto& r : rows) {
    std::vector<std::string> command = r.command;
    command.insert(command.end(), {"--zone", "local"});
    const PlxResult result = run("Europe/Paris", command, r.input);
    EXPECT_EQ(result.status, 3) << r.text;
    EXPECT_EQ(result.out, r.out) << r.text;
    EXPECT_EQ(result.err, "plx: " + std::string(r.where) + kDiffering + from + ": \"" +
                              std::string(r.text) + "\"" + kAccepted);
    ++cases;
  }
  const PlxResult rows3 =
      run("Europe/Paris",
          {"set", "day", "1", "-c", "at", "--zone-column", "tz", "--on-error", "pass"}, table);
  EXPECT_EQ(rows3.status, 1);
  EXPECT_EQ(rows3.out, "at,tz\n2014-02-01,local\n2014-07-10,local\n2014-07-01,Europe/Paris\n");
  ++cases;
  for (const char* array : {"february.npy", "july.npy"}) {
    const PlxResult result =
        run("Europe/Paris", {"set", "month", array[0] == 'f' ? "7" : "2", folder_.path(array), "-z",
                             "local", "-o", folder_.path("out.npy")});
    EXPECT_EQ(result.status, 3) << array;
    EXPECT_NE(result.err.find(kDiffering + from), std::string::npos) << result.err;
    EXPECT_FALSE(fs::exists(folder_.path("out.npy")));
    ++cases;
  }
}

}  // namespace
}  // namespace plx
