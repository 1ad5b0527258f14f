// The plain walk over the elements of an array: one after the other, by the functions of
// components.h and leap_seconds.h. It defines what setting a component means; the vector walks are
// tested against it bit by bit and leave elements that they do not claim to it.
#pragma once

#include <cstddef>

#include "base/component.h"
#include "base/elements.h"

// Writes the result of element i. False where its new value must be a whole number and is not:
// then nothing is written.
bool setByPlainCode(Component component, bool leapSeconds, const Elements& elements, std::size_t i);

// Sets elements in order. Returns their count, or the index of the first whose value must be a whole
// number and is not; the elements before that one are written, and what later ones hold is unspecified.
using UnzonedWalk = std::size_t(Component component, bool leapSeconds, const Elements& elements);
UnzonedWalk plainWalk;
