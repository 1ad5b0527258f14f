// Writes a chunk with some of its cells replaced and fields appended; every other byte as it is.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "stream/appender.h"
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
  // Of lines: a last line without a line end gets a LF; else the next file's first line would be appended
  // to it. Appends to `out`, from byte `from` of the chunk on.
  CellWriter(const Chunk& chunk, std::string& out, std::size_t from = 0);
  // Of a table.
  CellWriter(const Chunk& chunk, const TableFormat& format, std::string& out);

  // Of JSON lines.
  CellWriter(const Chunk& chunk, const JsonStyle& style, std::string& out);

  // The functions below are called in the order of the chunk.

  // Tells what the texts that replace cells from now on are parts of. Most often nothing in it needs quotes, and then
  // none of them is looked through.
  void expect(std::string_view texts);
  // Writes the text in quotes where the cell had quotes, or the text has a separator, a quote, CR or LF. In JSON,
  // a number stays a number where the text is one, and an empty text is null.
  void replace(const Cell& cell, std::string_view text) {
    if (!arePlain_) return replaceOther(cell, text);
    copyTo(cell.begin);
    out_.append(text);
    at_ = cell.end;
  }
  // Appends a field to a record; may be called several times.
  void append(const Record& record, std::string_view text);

  // Copies what is left up to `end`: Cells::end, or the begin of a record that is not written.
  void finish(std::size_t end);

 private:
  void copyTo(std::size_t end) {
    if (end > at_) out_.append({chunk_.storage.data() + at_, end - at_});
    at_ = end;
  }
  void replaceOther(const Cell& cell, std::string_view text);
  bool needsQuotes(std::string_view text) const;
  void writeText(std::string_view text, bool quoted);
  void replaceJson(const Cell& cell, std::string_view text);

  const Chunk& chunk_;
  Appender out_;
  std::size_t at_;  // bytes of the chunk copied so far
  const bool isTable_;
  const TableFormat format_;
  std::array<bool, 256> needsQuotes_{};  // by byte, of a table
  bool arePlain_ = false;                // no text that replaces a cell needs quotes
  const std::optional<JsonStyle> json_;
  std::string escaped_;
};

}  // namespace plx
