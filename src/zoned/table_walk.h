// The walk over the elements of an array by plain arithmetic over a table of the zone's offsets:
// what the calendar computes, in closed form.
//
//     local  = t + (offset at instant t)          = 86400000 day + ms
//     wall   = local with the component replaced, in the day or in ms (base/wall_setting.h)
//     result = wall - (offset at wall time wall)
#pragma once

#include <cstddef>

#include "base/component.h"
#include "base/elements.h"
#include "offsets/offset_table.h"
#include "zoned/calendar_walk.h"

// Writes the result of element i as the calendar would. False, with nothing written, for an element that
// it does not claim: wherever the calendar raises an error, for seconds and times of day beyond the
// calendar's 32 bits, and for Component::none.
bool setByTable(const OffsetTable& table, Component component, const Elements& elements,
                std::size_t i);

// The same, but an element that is not claimed is set by the calendar, which may raise.
void setByTableOrCalendar(const OffsetTable& table, Component component, const Elements& elements,
                          std::size_t i, CalendarWalk& calendar);

// Sets all elements in order.
void tableWalk(const OffsetTable& table, Component component, const Elements& elements,
               CalendarWalk& calendar);
