// What a time-zone argument is remembered by.
#pragma once

#include <unicode/timezone.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "host/pa_array.h"
#include "offsets/remembered_zones.h"

// The key of a text of the kind `named`, in the host's locale of now; nothing for a text that is not
// remembered, because it is too long or ICU's life cannot be told. Points into the text.
std::optional<ZoneKey> zoneKeyOf(const paArray* tz);

// The same for the name that a zone bears, which is copied to `units`; nothing for a zone of a program's own
// class.
std::optional<ZoneKey> zoneKeyOf(const icu::TimeZone& zone, std::vector<std::uint16_t>& units);

// Whether a zone has the class and the rules of the one that ICU makes of its name. A program may call a
// zone what it likes.
bool isOfItsName(const icu::TimeZone& zone);
