// What a time-zone argument is remembered by.
#pragma once

#include <optional>

#include "host/pa_array.h"
#include "offsets/remembered_zones.h"

// The key of a text of the kind `named`, in the host's locale of now; nothing for a text that is not
// remembered, because it is too long or ICU's life cannot be told. Points into the text.
std::optional<ZoneKey> zoneKeyOf(const paArray* tz);
