// The values to work on in a chunk of JSON lines: one value of JSON in each line.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "json/json_reader.h"
#include "stream/chunk.h"
#include "table/cells.h"

namespace plx {

class JsonSplitter {
 public:
  explicit JsonSplitter(const std::vector<JsonPath>& paths) : reader_(paths) {}

  // Each line but blank ones is a record with a cell for each path: the text of a string, or a number. One
  // that is absent or null is empty, and stands in no quotes. Lines that are wrong have empty cells and
  // are listed; a failure is a line of more than `longest` bytes.
  void split(const Chunk& chunk, std::size_t longest, Cells& cells);

 private:
  void addLine(const Chunk& chunk, std::size_t begin, std::string_view text, Cells& cells);

  JsonReader reader_;
  std::string padded_;  // a line behind which the chunk has too few bytes
  std::vector<JsonValue> values_;
};

}  // namespace plx
