// The two setters called by their own names, with what a call of the module never passes.

#include <gtest/gtest.h>

#include "entry/component_table.h"
#include "support/bits.h"
#include "support/datetime_arrays.h"
#include "support/raised.h"
#include "unzoned/set_field_utc.h"
#include "zoned/calendar.h"
#include "zoned/set_field.h"

namespace {

boost::unique_ptr<icu::GregorianCalendar> calendarOf(const char* zone) {
  return createCalendar(boost::unique_ptr<icu::TimeZone>(icu::TimeZone::createTimeZone(zone)));
}

Array resultFor(std::size_t n) {
  const std::vector<double> zeros(n);
  return doubles(zeros, &zeros);
}

TEST(ComponentTable, AgreesWithTheMask) {
  const std::uint8_t codes[] = {0, 20, 19, 1, 17, 23, 2,  22, 3,  4,  5, 5,
                                6, 7,  8,  9, 10, 11, 12, 13, 21, 15, 16};
  ASSERT_EQ(std::size(codes), componentFields.size());
  unsigned settable = 0;
  for (std::size_t i = 0; i < componentFields.size(); ++i) {
    EXPECT_EQ(componentFields[i], codes[i]) << "selector " << i + 1;
    settable += isSettable(componentFields[i]);
  }
  EXPECT_EQ(settable, 12u) << "eleven components, one of them with two selectors";
  for (unsigned code = 0; code < 64; ++code) {
    const bool expected = code == 2 || code == 3 || code == 5 || code == 6 || code == 7 ||
                          code == 11 || code == 12 || code == 13 || code == 19 || code == 21 ||
                          code == 23;
    EXPECT_EQ(isSettable(code), expected) << code;
  }
}

// Any other field goes down the date path with nothing changed, the check for whole numbers
// included.
TEST(SetFieldUTC, OtherFieldsChangeNothing) {
  const Array t = doubles({1399710615250.25}), result = resultFor(1);
  for (const UCalendarDateFields field : {UCAL_YEAR, UCAL_ERA, UCAL_ZONE_OFFSET, UCAL_JULIAN_DAY}) {
    setFieldUTC(t.get(), scalar(99).get(), field, result.get(), false);
    EXPECT_SAME_BITS(elements(result)[0], (doubledouble{1399710615250.25, 0.0}));
    const auto raised =
        raisedBy([&] { setFieldUTC(t.get(), scalar(1.5).get(), field, result.get(), false); });
    ASSERT_TRUE(raised);
    EXPECT_EQ(raised->identifier, "Pelmor:datetime:MustBeInteger");
  }
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
