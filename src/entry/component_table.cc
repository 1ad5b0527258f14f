#include "entry/component_table.h"

constexpr std::array<std::uint8_t, kSelectors> componentFields = {
    UCAL_ERA,                   //  1
    UCAL_JULIAN_DAY,            //  2
    UCAL_EXTENDED_YEAR,         //  3  year
    UCAL_YEAR,                  //  4  not the year that can be set: it counts within an era
    UCAL_YEAR_WOY,              //  5
    kQuarterField,              //  6  quarter
    UCAL_MONTH,                 //  7  month
    UCAL_IS_LEAP_MONTH,         //  8
    UCAL_WEEK_OF_YEAR,          //  9  week of year
    UCAL_WEEK_OF_MONTH,         // 10
    UCAL_DATE,                  // 11  day of month
    UCAL_DATE,                  // 12  day of month: two selectors map to it, both are meant
    UCAL_DAY_OF_YEAR,           // 13  day of year
    UCAL_DAY_OF_WEEK,           // 14  day of week
    UCAL_DAY_OF_WEEK_IN_MONTH,  // 15
    UCAL_AM_PM,                 // 16
    UCAL_HOUR,                  // 17
    UCAL_HOUR_OF_DAY,           // 18  hour
    UCAL_MINUTE,                // 19  minute
    UCAL_SECOND,                // 20  second
    UCAL_MILLISECONDS_IN_DAY,   // 21  time of day
    UCAL_ZONE_OFFSET,           // 22
    UCAL_DST_OFFSET,            // 23
};

static_assert(
    [] {
      for (const ComponentFacts& facts : kComponentFacts) {
        for (const int selector : {facts.selector, facts.otherSelector}) {
          if (selector != 0 && componentFields[selector - 1] != facts.field) return false;
        }
      }
      return true;
    }(),
    "each component stands where its selectors lead");

// The codes are part of the module's interface: they must not move with ICU.
static_assert(UCAL_ERA == 0 && UCAL_YEAR == 1 && UCAL_WEEK_OF_MONTH == 4 &&
              UCAL_DAY_OF_WEEK_IN_MONTH == 8 && UCAL_AM_PM == 9 && UCAL_HOUR == 10 &&
              UCAL_ZONE_OFFSET == 15 && UCAL_DST_OFFSET == 16 && UCAL_YEAR_WOY == 17 &&
              UCAL_JULIAN_DAY == 20 && UCAL_IS_LEAP_MONTH == 22);
