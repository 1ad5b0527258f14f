#include "zoned/set_field.h"

#include <cstddef>

#include "zoned/calendar_walk.h"

void setField(const paArray* datetimes, const paArray* values, UCalendarDateFields field,
              paArray* result, boost::unique_ptr<icu::GregorianCalendar> calendar) {
  const Elements elements{
      .high = paGetRealData(datetimes),
      .low = paIsComplex(datetimes) ? paGetImagData(datetimes) : nullptr,
      .values = paGetRealData(values),
      .step = paGetNumberOfElements(values) == 1 ? std::size_t{0} : 1,
      .resultHigh = paGetRealData(result),
      .resultLow = paGetImagData(result),
      .count = paGetNumberOfElements(result),
  };
  if (elements.count == 0) return;
  CalendarWalk(*calendar, field, elements).setAll();
}
