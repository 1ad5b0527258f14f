// Finds the datetime in each line of a log.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datetime/format.h"
#include "messages/message.h"
#include "stream/chunk.h"
#include "table/cells.h"
#include "table/pattern.h"

namespace plx {

// The formats of logs beside the dates of ISO 8601: those of web servers, mail, git and the system's log.
// Those that have no year only where there is one for all.
std::vector<std::shared_ptr<const Format>> logFormats(std::optional<int> year);

struct InLineOptions {
  std::vector<std::shared_ptr<const Format>> formats;
  bool recognised = true;  // calendar dates of ISO 8601 too
  std::optional<std::string>
      match;  // a regular expression for the part of a line that has the datetime
};

class InLineSplitter {
 public:
  // The options outlive the splitter. Throws a Failure of Status::usage for a wrong expression.
  explicit InLineSplitter(const InLineOptions& options);

  // Each line is a record with one cell, its datetime: the one that has a time of day, or where none has,
  // the one date. A line without any has an empty cell, and one of several is listed as wrong. A failure
  // is a line of more than `longest` bytes.
  void split(const Chunk& chunk, std::size_t longest, Cells& cells);

 private:
  struct Found {
    std::size_t begin = 0, end = 0;  // in the line
    bool hasTime = false;
  };
  std::optional<Found> at(std::string_view line, std::size_t begin) const;
  void addLine(std::string_view line, std::size_t begin, Cells& cells);

  const InLineOptions& options_;
  std::array<bool, 256> beginnings_{};
  std::optional<Pattern> pattern_;
  std::vector<Found> found_;
};

}  // namespace plx
