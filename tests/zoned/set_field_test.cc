// The setter called by its own name, with what a call of the module never passes.
#include "zoned/set_field.h"

#include <gtest/gtest.h>

#include "host/embed.h"
#include "support/bits.h"
#include "support/datetime_arrays.h"
#include "zoned/calendar.h"

namespace {

boost::unique_ptr<icu::GregorianCalendar> calendarOf(const char* zone) {
  return createCalendar(boost::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(zone)));
}

Array resultFor(std::size_t n) {
  const std::vector<double> zeros(n);
  return doubles(zeros, &zeros);
}

TEST(SetField, OtherFieldsChangeNothing) {
  const Array t = doubles({1399710615250.25}), result = resultFor(1);
  setField(t.get(), scalar(99).get(), UCAL_ZONE_OFFSET, result.get(), calendarOf("Europe/Paris"));
  EXPECT_SAME_BITS(elements(result)[0], (doubledouble{1399710615250.25, 0.0}));
}

TEST(SetField, TheResultsCountDrivesTheLoop) {
  const Array t = doubles({0.0, 1.0, 2.0}), result = resultFor(2);
  setField(t.get(), doubles({2, 3}).get(), UCAL_MONTH, result.get(), calendarOf("Etc/UTC"));
  EXPECT_SAME_BITS(elements(result)[0], (doubledouble{31 * 86400000.0, 0.0}));
  EXPECT_SAME_BITS(elements(result)[1], (doubledouble{59 * 86400000.0 + 1, 0.0}));
  setField(t.get(), scalar(1.5).get(), UCAL_MONTH, resultFor(0).get(),
           nullptr);  // no calendar is used
}

TEST(CreateCalendar, Configuration) {
  for (const char* locale : {"en_US", "de_DE", "ar_EG", "th_TH_TRADITIONAL"}) {
    ASSERT_EQ(paSetLocale(locale, nullptr), 0);
    const auto calendar = calendarOf("Europe/Paris");
    EXPECT_EQ(calendar->getGregorianChange(), -9007199254740992.0);
    EXPECT_EQ(calendar->getSkippedWallTimeOption(), UCAL_WALLTIME_LAST);
    EXPECT_EQ(calendar->getRepeatedWallTimeOption(), UCAL_WALLTIME_LAST);
    UErrorCode status = U_ZERO_ERROR;
    EXPECT_EQ(calendar->getFirstDayOfWeek(status), UCAL_SUNDAY);
    EXPECT_EQ(calendar->getMinimalDaysInFirstWeek(), 1);
    EXPECT_TRUE(calendar->isLenient());
    icu::UnicodeString id;
    EXPECT_EQ(calendar->getTimeZone().getID(id), "Europe/Paris");
  }
  paSetLocale("en_US", nullptr);
}

}  // namespace
