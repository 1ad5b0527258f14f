// The zone of the option --zone, and what was perhaps meant by a text that names none.
#pragma once

#include <string>
#include <string_view>

#include "datetime/zone.h"

namespace plx {

// Throws a Failure of Status::unknownName.
Zone zoneNamed(std::string_view text);

// " (did you mean Europe/Paris?)" for europe/paris, Europe/Pariss and Paris; empty where no name is near.
std::string zoneMeant(std::string_view text);

}  // namespace plx
