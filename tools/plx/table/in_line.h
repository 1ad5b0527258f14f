// Finds the datetime in each line of a log.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datetime/format.h"
#include "messages/message.h"
#include "stream/chunk.h"
#include "table/beside.h"
#include "table/cells.h"
#include "table/pattern.h"

namespace plx {

// The formats of logs beside the dates of ISO 8601: those of web servers, mail, git and the system's log.
// Those that have no year only where there is one for all.
std::vector<std::shared_ptr<const Format>> logFormats(std::optional<int> year);

// Whether a format has a letter for the year.
bool namesYear(std::string_view format);

struct InLineOptions {
  std::vector<std::shared_ptr<const Format>> formats;
  bool recognised = true;  // calendar dates of ISO 8601 too
  std::optional<std::string>
      match;               // a regular expression for the part of a line that has the datetime
  bool usesClock = false;  // the time of day is read or set, so that a date alone has to be one
  // Formats are tried by the places of their parts first, and words are looked for sixteen bytes at a time, which finds
  // the same; tests compare.
  bool byPlaces = true;
};

class InLineSplitter {
 public:
  // The options outlive the splitter. Throws a Failure of Status::usage for a wrong expression.
  explicit InLineSplitter(const InLineOptions& options);

  // Each line is a record with one cell, its datetime: the one that has a time of day, or where none has,
  // the one date. A line without any has an empty cell, and one in which that is not sure, as several are
  // there, or a part of the datetime would be left beside it, is listed as wrong. A failure is a line of more
  // than `longest` bytes.
  void split(const Chunk& chunk, std::size_t longest, Cells& cells);

 private:
  // Formats, by their numbers, and the dates of ISO 8601.
  using Forms = std::uint32_t;

  void findFronts();
  Forms formsBegunBy(std::string_view text) const;
  Forms formsAt(std::string_view text) const;
  FoundInLine readFront(std::size_t number, std::string_view line, std::size_t begin);
  std::optional<FoundInLine> at(std::string_view line, std::size_t begin);
  std::size_t candidateFrom(std::size_t at, std::string_view line, Span part) const;
  std::size_t wordFrom(std::size_t at, std::string_view line, Span part) const;
  bool isCandidate(std::size_t at, std::string_view line, Span part) const;
  void findIn(std::string_view line, Span part);
  std::optional<Beside> wrongBefore(std::size_t end, std::string_view line, Span part) const;
  std::optional<Beside> doubtOf(std::string_view line, Span part);
  void addLine(std::string_view line, std::size_t begin, Cells& cells);

  const InLineOptions& options_;
  // By place and byte: the forms that may have it there.
  std::array<std::array<Forms, 256>, Format::kFronts> fronts_{};
  std::array<bool, 256> begins_{};  // by byte: whether a datetime may begin with it
  bool beginsWithWords_ = true;     // those are letters and digits
  PlainTime time_;                  // what was read last
  std::vector<bool> hasYear_;       // of the formats
  std::vector<Forms> begunBy_;      // likewise: the shorter formats that each one begins with
  std::optional<Pattern> pattern_;
  std::vector<FoundInLine> found_;  // of the line
  std::size_t firstCandidate_ = 0;  // the first place in it where one may begin
  std::optional<std::size_t>
      unclear_;  // where a datetime begins in it of which the end is not clear
};

}  // namespace plx
