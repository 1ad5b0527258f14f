// In which forms datetimes are read and written.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace plx {

enum class Form {
  recognised,  // reading: whichever of the next five a text is in; a bare number is never guessed
  calendar,    // ISO 8601 calendar dates, 2014-05-10T08:30:15
  ordinal,     // ISO 8601 ordinal dates, 2014-130T08:30:15
  week,        // ISO 8601 week dates, 2014-W19-6T08:30:15
  rfc3339,     // 2014-05-10T08:30:15Z
  rfc9557,     // 2014-05-10T08:30:15+02:00[Europe/Paris]
  seconds,     // numbers since 1970-01-01T00:00:00 on the line that the zone works on
  milliseconds,
  microseconds,
  nanoseconds,
  pair,  // the two doubles themselves, in milliseconds: 1399710615000,0
};

// By the names of the command line: iso, ordinal, week, rfc3339, rfc9557, s, ms, us, ns, pair.
// Nothing for any other text; Form::recognised has no name.
std::optional<Form> formNamed(std::string_view name);

// For messages about a name that is none.
inline constexpr std::string_view kAcceptedForms =
    "iso, ordinal, week, rfc3339, rfc9557, s, ms, us, ns, pair";

class Format;

struct Notation {
  Form from = Form::recognised;
  std::vector<std::shared_ptr<const Format>> formats;  // in place of `from`: any of them
  bool recognisedToo = false;                          // beside the formats, `from` all the same
  std::shared_ptr<const Format> toFormat;              // in place of `to`
  std::optional<Form> to;             // never Form::recognised; without it, as a datetime came in
  std::vector<std::string> missing;   // texts that stand for no datetime, beside those of isMissing
  bool exact = false;                 // write what reads back to the same pair of doubles
  std::optional<std::size_t> digits;  // at most so many behind the point, the rest cut off
};

}  // namespace plx
