// What stands beside a datetime in a line, belongs to it, and would be left as it was.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "messages/message.h"
#include "table/pattern.h"

namespace plx {

// A datetime that was found in a line, and what it tells itself.
struct FoundInLine {
  std::size_t begin = 0, end = 0;
  bool hasTime = false;    // else it is a date alone
  bool hasOffset = false;  // or a zone
  bool hasYear = true;
};

struct Beside {
  std::size_t at = 0;  // in the line
  Complaint complaint;
};

// AM or PM, an offset, a zone or a year behind it, or the day of the week before it. Nothing where none of
// these is there.
std::optional<Beside> besideDatetime(std::string_view line, const FoundInLine& found);

// A time of day in some part of a line, such as 08:30; nothing where there is none.
std::optional<Span> timeOfDayIn(std::string_view line, Span part);

}  // namespace plx
