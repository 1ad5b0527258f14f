#include "set/refusals.h"

#include <cmath>
#include <string_view>

#include "datetime/datetime_text.h"
#include "datetime/zone.h"

namespace plx {

namespace {

constexpr double kMinInt = -2147483648, kMaxInt = 2147483647;
// The module counts a time of day in a zone in milliseconds of 32 bits, which wrap.
constexpr double kMaxTimeOfDay = 2147483;

}  // namespace

std::optional<Complaint> refusedByCalendar(const Component& component, double value) {
  if (component.name == "time-of-day" && std::fabs(value) > kMaxTimeOfDay) {
    return Complaint{"the time of day is out of range",
                     "in a time zone, seconds from -2147483 to 2147483"};
  }
  if (component.whole && (value < kMinInt || value > kMaxInt)) {
    return Complaint{"the value is out of range",
                     "in a time zone, numbers from -2147483648 to 2147483647"};
  }
  return std::nullopt;
}

Complaint complaintOf(const paError& error) {
  if (std::string_view(error.identifier) == "Pelmor:datetime:RangeError")
    return {"the value or the result is out of range", kAcceptedCalendarRange};
  return {escapeText(error.message), kAcceptedDatetimes};
}

}  // namespace plx
