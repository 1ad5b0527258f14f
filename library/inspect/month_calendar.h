// The month of a date as a calendar on a wall, with one or two days marked.
#pragma once

#include <string>
#include <vector>

#include "datetime/zone.h"
#include "inspect/paint.h"

namespace plx {

// The months of two day numbers, as lines without their ends: one month if both lie in it, else two
// beside each other or below. Weeks begin on Sunday, or as the zone's own do, and bear their number in the
// zone. (10) is the day before, [10] the day after.
std::vector<std::string> monthCalendar(double dayBefore, double dayAfter, const Zone& zone,
                                       const Paint& paint, bool besideEachOther = true);

}  // namespace plx
