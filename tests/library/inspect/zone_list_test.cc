// The list of time zones: names of the same rules share what is worked out for one of them.

#include "inspect/zone_list.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "support/cases.h"

namespace plx {
namespace {

TEST(ZoneList, OfAllZonesHasTheLinesOfEach) {
  Cases cases(3 * 600);
  const std::vector<std::string> names = zoneNames();
  // Before the first change of any zone, in the years of most changes, and far from now.
  for (const std::int64_t second :
       {std::int64_t{-5'000'000'000}, std::int64_t{-700'000'000}, std::int64_t{20'000'000'000}}) {
    std::istringstream all(zoneTable(names, second));
    for (const std::string& name : names) {
      std::string line, alone = zoneTable({name}, second);
      ASSERT_TRUE(std::getline(all, line)) << name;
      // Alone its column is as wide as the name.
      EXPECT_EQ(line.substr(0, name.size()), name);
      EXPECT_EQ(line.substr(line.find_first_not_of(' ', name.size())) + '\n',
                alone.substr(alone.find_first_not_of(' ', name.size())));
      ++cases;
    }
  }
}

}  // namespace
}  // namespace plx
