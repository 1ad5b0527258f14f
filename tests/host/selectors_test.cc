// The components that callers name in C are those of the one list, which another test holds against
// the module.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "base/component.h"
#include "host/components.h"
#include "support/cases.h"

namespace {

TEST(Selectors, NameTheComponents) {
  const std::map<std::string_view, paComponent> named = {
      {"year", paYEAR},
      {"quarter", paQUARTER},
      {"month", paMONTH},
      {"week-of-year", paWEEK_OF_YEAR},
      {"day", paDAY_OF_MONTH},
      {"day-of-year", paDAY_OF_YEAR},
      {"day-of-week", paDAY_OF_WEEK},
      {"hour", paHOUR},
      {"minute", paMINUTE},
      {"second", paSECOND},
      {"time-of-day", paTIME_OF_DAY},
  };
  Cases cases(11);
  EXPECT_EQ(named.size(), kComponentFacts.size());
  for (const auto& component : kComponentFacts) {
    ASSERT_TRUE(named.contains(component.name)) << component.name;
    EXPECT_EQ(named.at(component.name), component.selector) << component.name;
    ++cases;
  }
}

}  // namespace
