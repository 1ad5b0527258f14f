// What the module does not take, told before it is asked, and what it says where it refuses.
#pragma once

#include <optional>

#include "base/component.h"
#include "host/embed.h"
#include "messages/message.h"

namespace plx {

// What a calendar cannot take, though the component can.
std::optional<Complaint> refusedByCalendar(Component component, double value);

// What the module's error means for a datetime and a value that have been checked before.
Complaint complaintOf(const paError& error);

}  // namespace plx
