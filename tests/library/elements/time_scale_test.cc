#include "elements/time_scale.h"

#include <gtest/gtest.h>

#include <boost/multiprecision/cpp_int.hpp>
#include <string>
#include <vector>

#include "support/cases.h"
#include "support/integer_calendar.h"
#include "support/random.h"

namespace plx {
namespace {

using boost::multiprecision::cpp_int;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

const cpp_int kMostMillis = (cpp_int(1) << 52) * 86'400'000;

// Attoseconds of the units that have a length.
cpp_int attoseconds(TimeUnit unit) {
  const cpp_int second = pow(cpp_int(10), 18);
  switch (unit) {
    case TimeUnit::W:
      return second * 604'800;
    case TimeUnit::D:
      return second * 86'400;
    case TimeUnit::h:
      return second * 3'600;
    case TimeUnit::m:
      return second * 60;
    default:
      return second /
             pow(cpp_int(1'000), static_cast<unsigned>(unit) - static_cast<unsigned>(TimeUnit::s));
  }
}

cpp_int attosecondsOf(const Instant& instant, const TimeScale& scale) {
  const cpp_int milli = pow(cpp_int(10), 15);
  return cpp_int(instant.millis) * milli + cpp_int(instant.parts) * (milli / scale.partsPerMilli());
}

std::int64_t anyCount(Random& random) {
  const int bits = static_cast<int>(random.whole(1, 63));
  const std::int64_t most = bits == 63 ? kMost : (std::int64_t{1} << bits) - 1;
  if (random.oneIn(10)) return random.oneIn(2) ? most : -most;
  return random.whole(-most, most);
}

std::int32_t anyMultiple(Random& random) {
  if (random.oneIn(2)) return 1;
  return static_cast<std::int32_t>(random.whole(1, random.oneIn(2) ? 100 : 2'147'483'647));
}

// Every count stands for exactly the instant that its product with the unit says, and comes back;
// it is refused if and only if that instant is too far away.
TEST(TimeScale, EveryCountOfEveryUnitIsExactOrRefused) {
  Cases exact(150'000), refused(10'000);
  Random random(1);
  for (int u = static_cast<int>(TimeUnit::W); u <= static_cast<int>(TimeUnit::as); ++u) {
    const auto unit = static_cast<TimeUnit>(u);
    for (int i = 0; i < 20'000; ++i) {
      const std::int32_t multiple = anyMultiple(random);
      const TimeScale scale(unit, multiple);
      const std::int64_t count = i == 0 ? kMost : i == 1 ? -kMost : anyCount(random);
      const cpp_int value = attoseconds(unit) * multiple * count;
      const auto instant = scale.instantOf(count);
      const bool isFar = abs(value) > kMostMillis * pow(cpp_int(10), 15);
      if (!instant) {
        ASSERT_TRUE(isFar) << u << ": " << count << " * " << multiple;
        ++refused;
        continue;
      }
      ASSERT_EQ(attosecondsOf(*instant, scale), value) << u << ": " << count << " * " << multiple;
      ASSERT_EQ(scale.countOf(*instant), count) << u << ": " << multiple;
      ++exact;
    }
  }
}

TEST(TimeScale, EveryCountOfYearsAndMonthsIsExactOrRefused) {
  Cases exact(20'000), refused(5'000);
  Random random(2);
  for (int i = 0; i < 40'000; ++i) {
    const bool isYears = random.oneIn(2);
    const std::int32_t multiple = anyMultiple(random);
    const TimeScale scale(isYears ? TimeUnit::Y : TimeUnit::M, multiple);
    const std::int64_t count = anyCount(random);
    const int128 months = int128{count} * multiple * (isYears ? 12 : 1);
    const auto instant = scale.instantOf(count);
    const int128 days = integer_calendar::firstOfMonth(1970, months + 1);
    if (!instant) {
      ASSERT_TRUE(days < -kMaxDays || days > kMaxDays) << count << " * " << multiple;
      ++refused;
      continue;
    }
    ASSERT_TRUE(instant->millis == days * 86'400'000) << count << " * " << multiple;
    ASSERT_EQ(scale.countOf(*instant), count) << multiple;
    ++exact;
  }
}

// Instants between two counts have none, and those beyond the last.
TEST(TimeScale, OtherInstantsHaveNoCount) {
  Cases cases(30'000);
  Random random(3);
  for (int i = 0; i < 60'000; ++i) {
    const auto unit = static_cast<TimeUnit>(random.whole(0, 12));
    const TimeScale scale(unit, anyMultiple(random));
    const std::int64_t count = anyCount(random);
    const auto instant = scale.instantOf(count);
    if (!instant) continue;
    Instant other = *instant;
    // Less than the smallest unit, a day, is never a whole count more.
    if (scale.partsPerMilli() > 1) {
      other.parts += other.parts == 0 ? 1 : -1;
    } else {
      other.millis += scale.millisPerCount() == 0 ? random.whole(1, 86'399'999) : 1;
    }
    const auto found = scale.countOf(other);
    if (!found) {
      ++cases;
      continue;
    }
    ASSERT_NE(*found, count);
    ASSERT_EQ(scale.instantOf(*found), other);
  }
}

TEST(TimeScale, KnownCounts) {
  const struct {
    TimeUnit unit;
    std::int32_t multiple;
    std::int64_t count;
    std::int64_t millis, parts;
    const char* why;
  } rows[] = {
      {TimeUnit::Y, 1, 30, 946'684'800'000, 0, "2000"},
      {TimeUnit::Y, 5, -1, -157'766'400'000, 0, "1965"},
      {TimeUnit::M, 1, -1, -2'678'400'000, 0, "December 1969"},
      {TimeUnit::W, 1, 1, 604'800'000, 0, "weeks begin on Thursday, as 1970 did"},
      {TimeUnit::s, 25, -2, -50'000, 0, "a multiple"},
      {TimeUnit::us, 1, -1, -1, 999, "parts count forward from the millisecond before"},
      {TimeUnit::ns, 1, 1'399'710'615'250'000'007, 1'399'710'615'250, 7, "2014-05-10T08:30:15.25"},
      {TimeUnit::as, 1, kMost, 9223, 372'036'854'775'807, "9.2 seconds are all that 63 bits tell"},
      {TimeUnit::as, 1, -kMost, -9224, 627'963'145'224'193, "and as much before 1970"},
  };
  for (const auto& r : rows) {
    const TimeScale scale(r.unit, r.multiple);
    EXPECT_EQ(scale.instantOf(r.count), (Instant{r.millis, r.parts})) << r.why;
    EXPECT_EQ(scale.countOf({r.millis, r.parts}), r.count) << r.why;
  }
  EXPECT_EQ(TimeScale(TimeUnit::Y, 1).countOf({86'400'000, 0}), std::nullopt) << "2 January";
  EXPECT_EQ(TimeScale(TimeUnit::M, 1).countOf({1, 0}), std::nullopt);
  EXPECT_EQ(TimeScale(TimeUnit::as, 1).countOf({9224, 0}), std::nullopt) << "beyond 63 bits";
  EXPECT_EQ(TimeScale(TimeUnit::ns, 1).countOf({-9'223'372'036'855, 224'192}), std::nullopt)
      << "the count that is NaT";
}

}  // namespace
}  // namespace plx
