// Writes a chunk with some of its cells replaced and fields appended; every other byte as it is.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "stream/chunk.h"
#include "table/cells.h"
#include "table/table_format.h"

namespace plx {

// How values of JSON are written.
struct JsonStyle {
  bool numbers = false;  // a number takes the place of a string
};

class CellWriter {
 public:
  // Of lines: a last one without its line end gets a LF, as the lines of the next file would go on
  // in it. Appends to `out`, from byte `from` of the chunk on.
  CellWriter(const Chunk& chunk, std::string& out, std::size_t from = 0);
  // Of a table.
  CellWriter(const Chunk& chunk, const TableFormat& format, std::string& out);

  // Of JSON lines.
  CellWriter(const Chunk& chunk, const JsonStyle& style, std::string& out);

  // What follows is called in the order of the chunk.

  // In quotes where it had them, and where the text has a separator, a quote, CR or LF. In JSON, a number stays
  // one where the text is one, and an empty text is null.
  void replace(const Cell& cell, std::string_view text);
  // A field behind the last one of a record; several times for several.
  void append(const Record& record, std::string_view text);

  // What is left up to `end`: that of the Cells, or where a record begins whose text is wrong.
  void finish(std::size_t end);

 private:
  void copyTo(std::size_t end);
  bool needsQuotes(std::string_view text) const;
  void writeText(std::string_view text, bool quoted);
  void replaceJson(const Cell& cell, std::string_view text);

  const Chunk& chunk_;
  std::string& out_;
  std::size_t at_;  // copied up to here
  const bool isTable_;
  const TableFormat format_;
  const std::optional<JsonStyle> json_;
};

}  // namespace plx
