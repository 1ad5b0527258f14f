// The walk over the elements of an array by plain arithmetic over a table of the zone's offsets:
// what the calendar computes, in closed form.
//
//     L = t + offset(t), in days D of 86400000 ms and ms after midnight; y, m, d the date of D
//     wall = 86400000 N + ms', with the component replaced in D, which gives N, or in ms
//            (base/wall_setting.h)
//     result = wall - localOffset(wall)
#pragma once

#include <cstddef>

#include "base/component.h"
#include "base/elements.h"
#include "offsets/offset_table.h"
#include "zoned/calendar_walk.h"

// Writes the result of element i as the calendar would, or claims nothing: then it writes nothing
// and returns false. That is so wherever the calendar raises an error, for times of day that wrap
// at 32 bits, and for fields that are no components.
bool setByTable(const OffsetTable& table, Component component, const Elements& elements,
                std::size_t i);

// The same, with what is not claimed in the hands of the calendar, which may raise.
void setElement(const OffsetTable& table, Component component, const Elements& elements,
                std::size_t i, CalendarWalk& calendar);

// Sets all elements in order.
void tableWalk(const OffsetTable& table, Component component, const Elements& elements,
               CalendarWalk& calendar);
