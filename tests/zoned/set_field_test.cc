// The setter called by its own name, with what a call of the module never passes.
#include "zoned/set_field.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "host/embed.h"
#include "support/bits.h"
#include "support/cases.h"
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

// What a call uses of a zone that is remembered is free once the call is over, however it ends: forgetting leaves
// out what is in use.
TEST(SetField, AZoneIsLeftByErrorsToo) {
  const std::u16string name = u"Europe/Paris";
  const std::vector<std::uint16_t> units(name.begin(), name.end());
  const ZoneKey key{units, "en_US", 1};
  const Array t = doubles(std::vector<double>(100, 1399710615250.0)), result = resultFor(100);
  const auto set = [&](double value, const CalendarWalk::MakeCalendar& makeCalendar,
                       const std::function<bool(const OffsetTable*)>& isOfKey) {
    setField(t.get(), scalar(value).get(), UCAL_MONTH, result.get(), key, makeCalendar, isOfKey);
  };
  const auto paris = [] { return calendarOf("Europe/Paris"); };
  const auto none = []() -> boost::unique_ptr<icu::GregorianCalendar> { throw std::bad_alloc(); };
  const auto yes = [](const OffsetTable*) { return true; };
  const auto unknown = [](const OffsetTable*) -> bool { throw std::bad_alloc(); };
  const auto isRemembered = [&] { return static_cast<bool>(rememberedZones().find(key)); };
  constexpr double kFraction = 2.5;  // is refused
  Cases cases(8);
  for (int round = 0; round < 2; ++round, cases += 4) {
    rememberedZones().forget();
    EXPECT_NO_THROW(set(2, paris, nullptr));
    EXPECT_FALSE(isRemembered()) << "a first call keeps nothing, of however many elements";
    EXPECT_ANY_THROW(set(kFraction, paris, nullptr)) << "as the zone is remembered";
    EXPECT_TRUE(isRemembered());
    EXPECT_ANY_THROW(set(kFraction, paris, yes)) << "in a zone that is";
    EXPECT_ANY_THROW(set(kFraction, none, yes)) << "where the calendar cannot be made";
    EXPECT_ANY_THROW(set(2, none, unknown)) << "where nobody can tell whose the key is";
    EXPECT_NO_THROW(set(2, none, yes)) << "no calendar is needed";
    EXPECT_TRUE(isRemembered());
    rememberedZones().forget();
    EXPECT_FALSE(isRemembered());
  }
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
