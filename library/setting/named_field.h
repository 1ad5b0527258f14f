// Components and the fields beside them by the names that people type.
#pragma once

#include <string>
#include <string_view>

#include "inspect/calendar_field.h"

namespace plx {

// By name or selector; throws a Failure of Status::unknownName that lists the names and tells the nearest.
CalendarField findField(std::string_view text);

// All of them with examples, as `plx components` prints them.
std::string fieldTable();

}  // namespace plx
