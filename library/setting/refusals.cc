#include "setting/refusals.h"

#include <fmt/format.h>

#include <cmath>
#include <string>
#include <string_view>

#include "base/calendar_limits.h"
#include "datetime/datetime_text.h"
#include "datetime/zone.h"
#include "messages/identifiers.h"

namespace plx {

namespace {

std::string numbersWithin(std::string_view what, double least, double most) {
  return fmt::format("in a time zone, {} from {:.0f} to {:.0f}", what, least, most);
}

}  // namespace

std::optional<Complaint> refusedByCalendar(Component component, double value) {
  if (component == Component::timeOfDay && std::fabs(value) > kLargestSeconds) {
    static const std::string accepted = numbersWithin("seconds", -kLargestSeconds, kLargestSeconds);
    return Complaint{"the time of day is out of range", accepted, Status::badData, id::kRangeError};
  }
  const double least = -kLargest32Bits - 1.0;
  if (!factsOf(component).takesFractions && (value < least || value > kLargest32Bits)) {
    static const std::string accepted = numbersWithin("numbers", least, kLargest32Bits);
    return Complaint{"the value is out of range", accepted, Status::badData, id::kRangeError};
  }
  return std::nullopt;
}

Complaint complaintOf(const paError& error) {
  if (std::string_view(error.identifier) == "Pelmor:datetime:RangeError")
    return {"the value or the result is out of range", kAcceptedCalendarRange};
  return {escapeText(error.message), kAcceptedDatetimes};
}

}  // namespace plx
