#include "zoned/calendar.h"

#include <typeinfo>

#include "icu/checks.h"
#include "icu/locale.h"
#include "icu/memory.h"

namespace {

// The switch from the Julian to the Gregorian calendar, moved before every time the calendar is
// given: -2^53 ms, -283457-03-21T15:00:59.008Z.
constexpr UDate kGregorianChange = -0x1p53;

}  // namespace

boost::unique_ptr<icu::GregorianCalendar> createCalendar(boost::unique_ptr<icu::TimeZone> zone) {
  const icu::Locale locale = hostLocale();
  UErrorCode status = U_ZERO_ERROR;
  // ICU's operator new gives null where there is no memory. Then the constructor's arguments are not
  // evaluated, and `zone` still owns the zone.
  boost::unique_ptr<icu::GregorianCalendar> calendar(
      checkICUMemory(new icu::GregorianCalendar(zone.release(), locale, status)));
  checkICUStatus(status, "create calendar");
  calendar->setGregorianChange(kGregorianChange, status);
  checkICUStatus(status, "set Gregorian change");
  calendar->setSkippedWallTimeOption(UCAL_WALLTIME_LAST);
  calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_LAST);
  calendar->setFirstDayOfWeek(UCAL_SUNDAY);
  calendar->setMinimalDaysInFirstWeek(1);
  return calendar;
}

bool isCreatedCalendar(const icu::GregorianCalendar& calendar) {
  UErrorCode status = U_ZERO_ERROR;
  const bool weeksBeginOnSunday = calendar.getFirstDayOfWeek(status) == UCAL_SUNDAY;
  return U_SUCCESS(status) && weeksBeginOnSunday && calendar.getMinimalDaysInFirstWeek() == 1 &&
         calendar.getGregorianChange() <= kGregorianChange &&
         calendar.getSkippedWallTimeOption() == UCAL_WALLTIME_LAST &&
         calendar.getRepeatedWallTimeOption() == UCAL_WALLTIME_LAST && calendar.isLenient() &&
         typeid(calendar) == typeid(icu::GregorianCalendar);
}
