// A new value as people write it: a decimal number, or a name such as last, mon or jan.
#pragma once

#include <cmath>
#include <limits>
#include <optional>
#include <string_view>

#include "base/component.h"
#include "messages/message.h"

namespace plx {

// Stands for the last value that a component has at a datetime, which differs between datetimes.
// No text is read as NaN otherwise.
inline constexpr double kLast = std::numeric_limits<double>::quiet_NaN();
inline bool isLast(double value) { return std::isnan(value); }

// A number, or kLast. Nothing, and a complaint, for a text that is neither, and for a number that
// the component does not take.
std::optional<double> readValue(std::string_view text, Component component, Complaint& complaint);

}  // namespace plx
