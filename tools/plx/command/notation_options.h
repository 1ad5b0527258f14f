// How datetimes are written, as the options tell it: forms and formats, of all of them or of a column.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command/arguments.h"
#include "datetime/notation.h"

namespace plx {

struct NotationOptions {
  std::optional<std::string> from, to, digits, toFormat, year, missing;
  std::vector<std::string> formats;
  bool exact = false;
  bool inLine = false;  // datetimes stand anywhere in lines
};

// Declares them. Those that have to do with writing datetimes only where the command does.
void declareNotationOptions(Arguments& arguments, NotationOptions& options, bool writesDatetimes);

// Whether a format, of all or behind the name of a column, leaves the year to --year.
bool lacksYear(const std::string& text);

// Throws a Failure of Status::usage.
Notation notationOf(const NotationOptions& options);

// A column as it is asked for: by its name or number, and perhaps behind a colon how its datetimes are
// written, as in created:us and due:%d.%m.%Y.
struct ColumnText {
  std::string name;
  std::optional<Notation> notation;  // of its own
};

// Where the header has the whole text, it is a name. Throws a Failure of Status::usage for what is no
// format.
ColumnText columnOf(const std::string& text, std::string_view header,
                    const NotationOptions& options);

}  // namespace plx
