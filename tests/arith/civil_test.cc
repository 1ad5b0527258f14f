#include "arith/civil.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>

#include "support/bits.h"
#include "support/cases.h"

namespace {

TEST(Civil, DayNumberOfADate) {
  const struct {
    double year, month, day, days;
    const char* why;
  } rows[] = {
      {1970, 1, 1, 0, "the epoch"},
      {2000, 2, 29, 11016, "the leap day that closes a 400-year cycle"},
      {2014, 13, 1, 16436, "month 13 carries into January 2015"},
      {2014, 0, 1, 16040, "month 0 is December of the year before"},
      {2014, -11, 1, 15706, "month -11 is January of the year before"},
      {2014, 3, 0, 16129, "day 0 is the last day of February"},
      {2014, 1, 32, 16102, "day 32 of January is 1 February"},
      {2014, 1, -1, 16069, "day -1 is the last but one day of the month before"},
      {0, 1, 1, -719528, "year 0 exists"},
      {-1, 12, 31, -719529, "and follows year -1"},
  };
  for (const auto& r : rows) EXPECT_SAME_BITS(ymd2days(r.year, r.month, r.day), r.days) << r.why;
}

}  // namespace
