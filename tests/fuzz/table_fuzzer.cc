// Tables of any bytes. A table is read in one way or refused: two readers that differ about quotes see
// the same fields up to the first record that is refused, and about that one they differ. Wherever the
// chunks end, the cells are the same. What is left alone comes out as it went in, and what is put into
// the place of a cell is read there afterwards.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/input.h"
#include "stream/boundaries.h"
#include "stream/chunk.h"
#include "table/cell_writer.h"
#include "table/cells.h"

namespace {

using namespace plx;

struct Span {
  std::size_t begin, end;
  bool last;  // of its record
  bool operator==(const Span&) const = default;
};

bool isEnd(char c, const TableFormat& format) { return c == format.separator || c == '\n'; }

// Every quote begins or ends a part in which nothing ends a field, nor the record at the end of the text.
std::vector<Span> fieldsByParity(std::string_view text, const TableFormat& format) {
  std::vector<Span> fields;
  std::size_t begin = 0;
  bool inQuotes = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '"') inQuotes = !inQuotes;
    if (inQuotes || !isEnd(text[at], format)) continue;
    fields.push_back({begin, at, text[at] == '\n'});
    begin = at + 1;
  }
  if (begin < text.size() || (!text.empty() && text.back() == format.separator))
    fields.push_back({begin, text.size(), !inQuotes});
  return fields;
}

// A field is quoted if it begins with a quote, up to the next one that is not doubled; what is behind
// that, and all other fields, are without quotes.
std::vector<Span> fieldsByBeginnings(std::string_view text, const TableFormat& format) {
  std::vector<Span> fields;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    if (text[at] == '"') {
      for (++at; at < text.size() && (text[at] != '"' || text.substr(at, 2) == "\"\""); ++at)
        if (text[at] == '"') ++at;
      ++at;
    }
    while (at < text.size() && !isEnd(text[at], format)) ++at;
    at = std::min(at, text.size());
    const bool separated = at < text.size() && text[at] == format.separator;
    fields.push_back({begin, at, !separated});
    ++at;
    if (separated && at == text.size()) fields.push_back({at, at, true});
  }
  return fields;
}

std::vector<Span> before(std::vector<Span> fields, std::size_t end) {
  std::erase_if(fields, [&](const Span& field) { return field.begin >= end; });
  return fields;
}

Chunk chunkOf(std::string_view text, bool first) {
  Chunk chunk;
  chunk.source = "table";
  chunk.first = first;
  chunk.end = text.ends_with('\n') ? Chunk::End::record : Chunk::End::source;
  chunk.storage.assign(text.begin(), text.end());
  chunk.size = text.size();
  return chunk;
}

std::string_view bytesOf(const Chunk& chunk, const Record& record) {
  return chunk.bytes().substr(record.begin, record.end - record.begin);
}

struct Table {
  std::string text;
  TableFormat format;
  std::vector<Column> columns;

  Cells split(const Chunk& chunk) const {
    Cells cells;
    splitTable(chunk, format, columns, cells);
    return cells;
  }
};

// Why a message is; without where, and without the text.
std::string reasonOf(const std::optional<Failure>& failure) {
  if (!failure) return "";
  const std::string& message = failure->message;
  return message.substr(message.find(": ") + 2, message.find(": \"") - message.find(": "));
}

std::string lineOf(const std::optional<Failure>& failure) {
  return failure ? failure->message.substr(0, failure->message.find(": ")) : "";
}

void checkReadings(const Table& table, const Cells& cells) {
  const std::size_t mark = table.text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const auto text = std::string_view(table.text).substr(mark);
  const auto byParity = fieldsByParity(text, table.format);
  const auto byBeginnings = fieldsByBeginnings(text, table.format);
  const std::size_t end = cells.end - mark;
  require(before(byParity, end) == before(byBeginnings, end), "what is read is read in one way");
  if (!cells.failure) require(byParity == byBeginnings, "all of it");
  const std::string reason = reasonOf(cells.failure);
  if (reason.starts_with("there is a quote") || reason.starts_with("there is one more quote"))
    require(byParity != byBeginnings, "what is refused for its quotes could be read in two ways");
}

void checkOrder(const Table& table, const Chunk& chunk, const Cells& cells) {
  require(cells.cells.size() == cells.records.size() * table.columns.size(),
          "cells of each record");
  std::size_t at = 0, next = 0;
  for (const Record& record : cells.records) {
    require(at <= record.begin && record.begin <= record.end, "records in order");
    std::size_t within = record.begin;
    for (std::size_t k = 0; k < table.columns.size(); ++k) {
      const Cell& cell = cells.cells[next++];
      require(within <= cell.begin && cell.begin <= cell.end, "cells in order");
      within = cell.end;
    }
    require(within <= record.end, "cells within their record");
    at = record.end;
  }
  require(at <= cells.end && cells.end <= chunk.size, "records within the chunk");
  require(cells.failure || cells.end == chunk.size, "all of the chunk");
}

void checkUnchanged(const Table& table, const Chunk& chunk, const Cells& cells) {
  std::string out, buffer;
  CellWriter writer(chunk, table.format, out);
  for (const Cell& cell : cells.cells) {
    const std::string_view text = textOf(chunk, cell, buffer);
    const bool plain = cell.quoted || text.find('"') == std::string_view::npos;
    if (plain) writer.replace(cell, text);
  }
  writer.finish(cells.end);
  require(out == chunk.bytes().substr(0, cells.end), "what is left alone comes out");
}

void checkChanged(const Table& table, const Chunk& chunk, const Cells& cells,
                  const std::string& replacement) {
  // At the start of the text, one that begins with a byte-order mark would be taken for one.
  if (replacement.empty() || replacement.starts_with(kByteOrderMark)) return;
  std::string out;
  CellWriter writer(chunk, table.format, out);
  std::size_t next = 0;
  for (const Record& record : cells.records) {
    for (std::size_t k = 0; k < table.columns.size(); ++k)
      writer.replace(cells.cells[next++], replacement);
    writer.append(record, replacement);
  }
  writer.finish(cells.end);
  const Chunk changed = chunkOf(out, true);
  const Cells again = table.split(changed);
  require(!again.failure, "what was written is read");
  require(again.cells.size() == cells.cells.size(), "as many cells as before");
  std::string buffer;
  for (const Cell& cell : again.cells)
    require(textOf(changed, cell, buffer) == replacement, "what was written is read the same");
}

// The chunks that come of pieces of `step` bytes.
void checkChunks(const Table& table, const Chunk& whole, const Cells& expected, std::size_t step) {
  Boundaries boundaries(true);
  std::vector<std::string> records;
  std::size_t begin = 0, line = 1;
  std::string failed, failedAt;
  const auto take = [&](std::size_t size, Chunk::End end, std::size_t lines) {
    Chunk chunk = chunkOf(std::string_view(table.text).substr(begin, size), begin == 0);
    chunk.end = end;
    chunk.line = line;
    const Cells cells = table.split(chunk);
    for (const Record& record : cells.records) records.emplace_back(bytesOf(chunk, record));
    failed = reasonOf(cells.failure);
    failedAt = lineOf(cells.failure);
    begin += size;
    line += lines;
  };
  for (std::size_t end = 0; end < table.text.size() && failed.empty();) {
    end = std::min(end + step, table.text.size());
    boundaries.scan(std::string_view(table.text).substr(begin, end - begin));
    if (boundaries.boundary() == 0) continue;
    const std::size_t size = boundaries.boundary(), lines = boundaries.lines();
    boundaries.restart();
    take(size, Chunk::End::record, lines);
  }
  if (failed.empty() && begin < table.text.size())
    take(table.text.size() - begin, Chunk::End::source, 0);
  std::vector<std::string> expectedRecords;
  for (const Record& record : expected.records)
    expectedRecords.emplace_back(bytesOf(whole, record));
  require(records == expectedRecords, "the records of chunks are those of the whole");
  require(failed == reasonOf(expected.failure) && failedAt == lineOf(expected.failure),
          "the failure of chunks is that of the whole:", failedAt + " " + failed);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  Table table;
  const unsigned kind = in.byte();
  table.format = {(kind & 1) != 0 ? '\t' : ',', (kind & 4) != 0};
  for (std::size_t i = 0; i < 3; ++i) {
    if ((kind >> 3 & 1u << i) != 0) table.columns.push_back({i + (kind >> 7 & 1u), "column"});
  }
  const std::size_t step = 1 + in.below(64);
  std::string replacement;
  for (unsigned left = in.byte() % 8; left > 0; --left) replacement += static_cast<char>(in.byte());
  table.text = in.rest();

  const Chunk chunk = chunkOf(table.text, true);
  const Cells cells = table.split(chunk);
  checkReadings(table, cells);
  checkOrder(table, chunk, cells);
  checkUnchanged(table, chunk, cells);
  checkChanged(table, chunk, cells, replacement);
  checkChunks(table, chunk, cells, step);
  return 0;
}
