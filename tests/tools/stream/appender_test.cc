#include "stream/appender.h"

#include <gtest/gtest.h>

#include <string>

#include "support/at_the_end.h"
#include "support/cases.h"
#include "support/random.h"

namespace plx {
namespace {

// Against std::string's own appending: texts of every short length and some long ones, which end where memory does.
TEST(Appender, AppendsAsTheStringDoes) {
  Random random(1);
  Cases cases(40'000);
  AtTheEnd atTheEnd;
  for (int i = 0; i < 1'000; ++i) {
    std::string expected(static_cast<std::size_t>(random.whole(0, 40)), 'a'), out = expected;
    {
      Appender appender(out);
      for (int k = 0; k < 40; ++k) {
        const std::int64_t most = random.oneIn(20) ? 300 : 40;
        std::string text(static_cast<std::size_t>(random.whole(0, most)), ' ');
        for (char& c : text) c = static_cast<char>(random.whole(-128, 127));
        if (random.oneIn(10)) appender.reserve(static_cast<std::size_t>(random.whole(0, 200)));
        appender.append(atTheEnd(text));
        expected += text;
        if (random.oneIn(4)) {
          appender.append('\n');
          expected += '\n';
        }
        ++cases;
      }
      if (random.oneIn(2)) appender.finish();
    }
    ASSERT_EQ(out, expected);
  }
}

}  // namespace
}  // namespace plx
