// Two independent answers to what a calendar with a time zone gives when one component is set:
// ICU's own calendar in its plainest form, through its C interface, and a closed form in integers
// that asks ICU for nothing but offsets. For whole milliseconds and 32-bit values.
#pragma once

#include <unicode/basictz.h>
#include <unicode/ucal.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "support/datetime_module.h"
#include "support/integer_calendar.h"

namespace oracles {

inline void check(UErrorCode status) {
  if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
}

class CalendarLoop {
 public:
  explicit CalendarLoop(const std::string& zone) {
    UErrorCode status = U_ZERO_ERROR;
    const std::u16string id(zone.begin(), zone.end());
    calendar_ =
        ucal_open(id.data(), static_cast<int32_t>(id.size()), "en_US", UCAL_GREGORIAN, &status);
    check(status);
    ucal_setGregorianChange(calendar_, -9007199254740992.0, &status);
    check(status);
    ucal_setAttribute(calendar_, UCAL_REPEATED_WALL_TIME, UCAL_WALLTIME_LAST);
    ucal_setAttribute(calendar_, UCAL_SKIPPED_WALL_TIME, UCAL_WALLTIME_LAST);
    ucal_setAttribute(calendar_, UCAL_FIRST_DAY_OF_WEEK, UCAL_SUNDAY);
    ucal_setAttribute(calendar_, UCAL_MINIMAL_DAYS_IN_FIRST_WEEK, 1);
  }
  ~CalendarLoop() { ucal_close(calendar_); }
  CalendarLoop(const CalendarLoop&) = delete;
  CalendarLoop& operator=(const CalendarLoop&) = delete;

  double set(double t, Selector selector, std::int32_t v) {
    UErrorCode status = U_ZERO_ERROR;
    ucal_setMillis(calendar_, t, &status);
    switch (selector) {
      case kYear:
        ucal_set(calendar_, UCAL_EXTENDED_YEAR, v);
        break;
      case kQuarter:
        ucal_set(calendar_, UCAL_MONTH, 3 * (v - 1));
        break;
      case kMonth:
        ucal_set(calendar_, UCAL_MONTH, v - 1);
        break;
      case kWeekOfYear:
        ucal_set(calendar_, UCAL_WEEK_OF_YEAR, v);
        break;
      case kDay:
        ucal_set(calendar_, UCAL_DATE, v);
        break;
      case kDayOfYear:
        ucal_set(calendar_, UCAL_DAY_OF_YEAR, v);
        break;
      case kDayOfWeek:
        ucal_set(calendar_, UCAL_DAY_OF_WEEK, v);
        break;
      case kHour:
        ucal_set(calendar_, UCAL_HOUR_OF_DAY, v);
        break;
      case kMinute:
        ucal_set(calendar_, UCAL_MINUTE, v);
        break;
      case kSecond:
        ucal_set(calendar_, UCAL_SECOND, v);
        ucal_set(calendar_, UCAL_MILLISECOND, 0);
        break;
      case kTimeOfDay:
        ucal_set(calendar_, UCAL_MILLISECONDS_IN_DAY, v * 1000);
        break;
    }
    const double result = ucal_getMillis(calendar_, &status);
    check(status);
    return result;
  }

 private:
  UCalendar* calendar_;
};

class ClosedForm {
 public:
  explicit ClosedForm(const std::string& zone)
      : zone_(dynamic_cast<icu::BasicTimeZone*>(
            icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(zone)))) {
    if (!zone_) throw std::runtime_error("no zone with rules: " + zone);
  }

  std::int64_t set(std::int64_t t, Selector selector, std::int64_t v) const {
    using namespace integer_calendar;
    constexpr Int kDayMillis = 86400000;
    const Int local = t + offset(t);
    const Int day = floorDiv(local, kDayMillis);
    const Int ms = local - day * kDayMillis;
    const Date date = dateOf(day);
    Int n = day, clock = ms;
    switch (selector) {
      case kYear:
        n = firstOfMonth(v, date.month) - 1 + date.day;
        break;
      case kQuarter:
        n = firstOfMonth(date.year, 3 * (v - 1) + 1) - 1 + date.day;
        break;
      case kMonth:
        n = firstOfMonth(date.year, v) - 1 + date.day;
        break;
      case kDay:
        n = day - date.day + v;
        break;
      case kDayOfYear:
        n = firstOfYear(date.year) - 1 + v;
        break;
      case kWeekOfYear: {
        // The last days of December that share the week of 1 January count as week 1 of that year.
        const Int january = firstOfYear(dateOf(day - weekday(day) + 6).year);
        n = january - weekday(january) + 7 * (v - 1) + weekday(day);
        break;
      }
      case kDayOfWeek:
        n = day - weekday(day) + floorMod(v - 1, 7);
        break;
      case kHour:
        clock = 3600000 * Int{v} + ms % 3600000;
        break;
      case kMinute:
        clock = ms / 3600000 * 3600000 + 60000 * Int{v} + ms % 60000;
        break;
      case kSecond:
        clock = ms / 60000 * 60000 + 1000 * Int{v};
        break;
      case kTimeOfDay:
        clock = 1000 * Int{v};
        break;
    }
    const Int wall = n * kDayMillis + clock;
    return static_cast<std::int64_t>(wall - offsetOfWall(static_cast<std::int64_t>(wall)));
  }

  const icu::BasicTimeZone& zone() const { return *zone_; }

 private:
  std::int64_t offset(std::int64_t t) const {
    int32_t raw = 0, dst = 0;
    UErrorCode status = U_ZERO_ERROR;
    zone_->getOffset(static_cast<double>(t), false, raw, dst, status);
    check(status);
    return raw + dst;
  }

  // A skipped wall time has the offset before the gap, a repeated one that after the overlap.
  std::int64_t offsetOfWall(std::int64_t wall) const {
    int32_t raw = 0, dst = 0;
    UErrorCode status = U_ZERO_ERROR;
    zone_->getOffsetFromLocal(static_cast<double>(wall), UCAL_TZ_LOCAL_FORMER, UCAL_TZ_LOCAL_LATTER,
                              raw, dst, status);
    check(status);
    return raw + dst;
  }

  std::unique_ptr<icu::BasicTimeZone> zone_;
};

}  // namespace oracles
