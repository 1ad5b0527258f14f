// What people call the times of a zone.
#pragma once

#include <string>

#include "datetime/exact.h"
#include "datetime/zone.h"

namespace plx {

// "EST" for New York in winter; empty where none is in use among speakers of English, and for
// offsets.
std::string abbreviation(const Zone& zone, int128 second);

// What a zone's text stands for in a title: "America/New_York", "plain calendar time".
std::string titleOf(const Zone& zone);

}  // namespace plx
