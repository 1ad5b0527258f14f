// What `plx zones` lists.
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

#include "datetime/local_zone.h"
#include "inspect/zone_list.h"
#include "support/cases.h"
#include "support/every_zone.h"
#include "tools/support/run_plx.h"

namespace plx {
namespace {

// Which rules the list goes by.
const std::string kTold = "plx: time-zone rules of " + timeZoneData() + ", ICU's own\n";

TEST(Zones, AreListedWithTheirOffsets) {
  const struct {
    std::vector<std::string> arguments;
    const char* printed;
  } rows[] = {
      {{"new_york", "--at", "2014-05-10"},
       "America/New_York  -04:00     2014-11-02T01:00:00-05:00\n"},
      {{"NEW YORK", "--at", "2014-12-10"},
       "America/New_York  -05:00     2015-03-08T03:00:00-04:00\n"},
      {{"America/New_York", "--at", "2014-11-02T06:00:00Z"},
       "America/New_York  -05:00     2015-03-08T03:00:00-04:00\n"},
      {{"America/New_York", "--at", "2014-11-02T07:59:59+02:00"},
       "America/New_York  -04:00     2014-11-02T01:00:00-05:00\n"},
      {{"*/kathmandu", "--at", "1985-12-31"},
       "Asia/Kathmandu  +05:30     1986-01-01T00:15:00+05:45  = Asia/Katmandu\n"},
      {{"asia/kat[mh]an?u", "--at", "2014-05-10"}, "Asia/Katmandu  +05:45     -\n"},
      {{"utcleap", "--at", "2014-05-10"}, "UTCLeapSeconds  +00:00     -\n"},
      {{"America/New_York", "--at", "1800-01-01"},
       "America/New_York  -04:56:02  1883-11-18T12:00:00-05:00\n"},
      {{"us/eastern", "--at", "2014-05-10"},
       "US/Eastern  -04:00     2014-11-02T01:00:00-05:00  = America/New_York\n"},
  };
  for (const auto& r : rows) {
    std::vector<std::string> arguments = {"zones"};
    arguments.insert(arguments.end(), r.arguments.begin(), r.arguments.end());
    EXPECT_EQ(runPlx(arguments), (PlxResult{0, r.printed, kTold, 0})) << r.arguments[0];
  }
}

TEST(Zones, SayWhatIsWrong) {
  const PlxResult none = runPlx({"zones", "atlantis"});
  EXPECT_EQ(none.status, 3);
  EXPECT_EQ(none.err,
            "plx: PATTERN: no time zone matches: \"atlantis\"; accepted: a part of a name such as "
            "paris, or a pattern such as 'europe/*'\n");
  EXPECT_EQ(runPlx({"zones", "etc/unknown"}).status, 3);
  EXPECT_EQ(runPlx({"zones", "paris", "--at", "noon"}).status, 1);
  EXPECT_EQ(runPlx({"zones", "paris", "--at", "+200000-01-01"}).status, 1);
  EXPECT_EQ(runPlx({"zones", "paris", "london"}).status, 2);
}

// The list is what --zone takes, and nothing else has a place in it.
TEST(Zones, AreAllThatICUHas) {
  Cases cases(590);
  const PlxResult all = runPlx({"zones"});
  EXPECT_EQ(all.status, 0);
  std::set<std::string> names;
  std::istringstream lines(all.out);
  for (std::string line; std::getline(lines, line); ++cases)
    EXPECT_TRUE(names.insert(line.substr(0, line.find(' '))).second) << line;
  for (const std::string& id : everyZone()) EXPECT_TRUE(names.contains(id)) << id;
  EXPECT_TRUE(names.contains("local") && names.contains("UTCLeapSeconds") && names.contains("UTC"));
  EXPECT_FALSE(names.contains("Etc/Unknown"));
}

TEST(Zones, MatchPartsAndPatterns) {
  EXPECT_TRUE(matches("Europe/Paris", ""));
  EXPECT_TRUE(matches("Europe/Paris", "PAR"));
  EXPECT_TRUE(matches("Europe/Paris", "europe/*"));
  EXPECT_TRUE(matches("Europe/Paris", "e*s"));
  EXPECT_FALSE(matches("Europe/Paris", "paris*"));
  EXPECT_FALSE(matches("Europe/Paris", "e?s"));
  EXPECT_FALSE(matches("Europe/Paris", "\\"));
  EXPECT_FALSE(matches("Europe/Paris", "[p"));
  EXPECT_TRUE(matches("America/Port_of_Spain", "port of"));
  EXPECT_TRUE(matches("Etc/GMT+5", "gmt+5"));
}

}  // namespace
}  // namespace plx
