// What a calendar does not take, told before the module is called, and what the module's errors mean.
#pragma once

#include <optional>

#include "base/component.h"
#include "host/embed.h"
#include "messages/message.h"

namespace plx {

// What is wrong with a value that the component takes, but the calendar of a time zone does not.
std::optional<Complaint> refusedByCalendar(Component component, double value);

// What the module's error means for a datetime and a value that have been checked before.
Complaint complaintOf(const paError& error);

}  // namespace plx
