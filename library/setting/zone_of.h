// A zone by its text, for callers of the library.
#pragma once

#include <string>
#include <utility>

#include "datetime/zone.h"
#include "setting/wrong.h"

namespace plx {

// Throws a Wrong for a text that names no zone.
inline Zone zoneOf(const std::string& text) {
  Complaint complaint;
  auto zone = Zone::find(text, complaint);
  if (zone) return std::move(*zone);
  complaint.identifier = id::kUnknownTimeZone;
  throw wrong(complaint, text);
}

}  // namespace plx
