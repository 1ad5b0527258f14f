#include "table/cells.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>

#include "stream/line_reader.h"
#include "table/field_reader.h"
#include "table/sixteen_bytes.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedRecords = "records with all the columns that were asked for";
// How long the record is in the end is not known where it is refused.
constexpr std::size_t kShownOfLongRecord = 60;

// The first such byte at `begin` or behind it; the size where there is none.
std::size_t findByte(std::string_view bytes, char byte, std::size_t begin) {
  return std::min(bytes.find(byte, begin), bytes.size());
}

// Goes through the records of a chunk of a table. Most have no quotes, which takes looking for line
// ends and separators only.
class TableSplitter {
 public:
  TableSplitter(const Chunk& chunk, const TableFormat& format, const std::vector<Column>& columns,
                Cells& cells)
      : chunk_(chunk), bytes_(chunk.bytes()), format_(format), columns_(columns), cells_(cells) {}

  void split();

 private:
  bool isBare();
  bool isEmptyLine(std::size_t begin) const;
  bool skipHeader();
  bool isCut(std::size_t end) const;
  bool splitRecord();
  bool splitBare();
  bool splitPlain(std::size_t lineEnd, std::size_t textEnd);
  bool splitQuoted();
  bool finishRecord(std::size_t end, std::size_t next);
  bool failMissing(std::size_t fields, std::size_t end);
  bool failUncertain(const FieldError& error);
  bool failTooLong();

  const Chunk& chunk_;
  const std::string_view bytes_;
  const TableFormat& format_;
  const std::vector<Column>& columns_;
  Cells& cells_;
  std::size_t at_ = 0;                  // where the current record begins
  std::size_t quote_ = 0, return_ = 0;  // the first quote and CR from where a record began on
};

void TableSplitter::split() {
  at_ = byteOrderMark(chunk_);
  quote_ = findByte(bytes_, '"', at_);
  return_ = findByte(bytes_, '\r', at_);
  bool good = !chunk_.first || !format_.header || skipHeader();
  cells_.end = at_;
  while (good && at_ < bytes_.size()) {
    if (isBare()) {
      good = splitBare();
      break;
    }
    if (isEmptyLine(at_)) {
      at_ += bytes_[at_] == '\r' ? 2 : 1;
    } else {
      good = splitRecord();
    }
    if (good) cells_.end = at_;
  }
  cells_.cells.resize(cells_.records.size() * columns_.size(), {0, 0});  // none of a wrong record
}

// Whether there are neither quotes nor CR from the current record on.
bool TableSplitter::isBare() {
  if (quote_ < at_) quote_ = findByte(bytes_, '"', at_);
  if (return_ < at_) return_ = findByte(bytes_, '\r', at_);
  return quote_ == bytes_.size() && return_ == bytes_.size();
}

bool TableSplitter::isEmptyLine(std::size_t begin) const {
  return bytes_[begin] == '\n' || bytes_.substr(begin, 2) == "\r\n";
}

bool TableSplitter::skipHeader() {
  for (std::size_t begin = at_;;) {
    FieldError error;
    const auto field = readField(bytes_, begin, format_, error);
    if (!field) return failUncertain(error);
    begin = field->next;
    if (!field->lastOfRecord) continue;
    if (isCut(begin)) return failTooLong();
    at_ = begin;
    return true;
  }
}

// Whether a record that ends there goes on where the reader has stopped.
bool TableSplitter::isCut(std::size_t end) const {
  return chunk_.end == Chunk::End::limit && end == bytes_.size();
}

bool TableSplitter::splitRecord() {
  const std::size_t lineEnd = findByte(bytes_, '\n', at_);
  const bool crlf = lineEnd < bytes_.size() && lineEnd > at_ && bytes_[lineEnd - 1] == '\r';
  const std::size_t textEnd = crlf ? lineEnd - 1 : lineEnd;
  return quote_ < lineEnd || return_ < textEnd ? splitQuoted() : splitPlain(lineEnd, textEnd);
}

// All records of a chunk that has neither quotes nor CR from here on.
bool TableSplitter::splitBare() {
  const EitherOf separatorOrLineEnd(format_.separator, '\n');
  const Column* const first = columns_.data();
  const Column* const last = first + columns_.size();
  const std::size_t size = bytes_.size();
  const Column* column = first;        // the next one to find
  std::size_t index = 0, begin = at_;  // of the current field
  const auto endField = [&](std::size_t end) {
    for (; column != last && column->index == index; ++column) cells_.cells.push_back({begin, end});
  };
  const auto endRecord = [&](std::size_t end) {
    if (column != last) return failMissing(index + 1, end);
    if (!finishRecord(end, std::min(end + 1, size))) return false;
    cells_.end = begin = at_;
    column = first;
    index = 0;
    return true;
  };
  for (std::size_t at = at_, next = at; at < size; at = next) {
    next = at + kSixteen;
    std::uint32_t ends = separatorOrLineEnd.among(bytes_.substr(at));
    for (; ends != 0; ends &= ends - 1) {
      const std::size_t end = at + static_cast<std::size_t>(std::countr_zero(ends));
      const bool isLineEnd = bytes_[end] == '\n';
      if (isLineEnd && end == at_) {  // of an empty line
        cells_.end = begin = ++at_;
        continue;
      }
      endField(end);
      if (!isLineEnd && column != last) {
        ++index;
        begin = end + 1;
        continue;
      }
      // Fields behind the last column are passed over.
      if (!endRecord(isLineEnd ? end : findByte(bytes_, '\n', end))) return false;
      if (isLineEnd) continue;
      next = at_;
      break;
    }
  }
  if (at_ == size) return true;
  endField(size);
  return endRecord(size);
}

// A record without quotes, and without CR but in its line end.
bool TableSplitter::splitPlain(std::size_t lineEnd, std::size_t textEnd) {
  const std::string_view text = bytes_.substr(0, textEnd);
  std::size_t index = 0, begin = at_, end = findByte(text, format_.separator, at_);
  for (const Column& column : columns_) {
    for (; index < column.index; ++index) {
      if (end == textEnd) return failMissing(index + 1, textEnd);
      begin = end + 1;
      end = findByte(text, format_.separator, begin);
    }
    cells_.cells.push_back({begin, end});
  }
  return finishRecord(textEnd, std::min(lineEnd + 1, bytes_.size()));
}

bool TableSplitter::splitQuoted() {
  auto column = columns_.begin();
  std::size_t begin = at_;
  for (std::size_t index = 0;; ++index) {
    FieldError error;
    const auto field = readField(bytes_, begin, format_, error);
    if (!field) return failUncertain(error);
    if (column != columns_.end() && column->index == index) {
      cells_.cells.push_back({field->begin, field->end, field->quoted, field->doubled});
      ++column;
    }
    if (field->lastOfRecord) {
      const std::size_t end = field->end + (field->quoted ? 1 : 0);
      if (column != columns_.end()) return failMissing(index + 1, end);
      return finishRecord(end, field->next);
    }
    begin = field->next;
  }
}

inline bool TableSplitter::finishRecord(std::size_t end, std::size_t next) {
  if (isCut(next) || end - at_ > format_.longest) return failTooLong();
  cells_.records.push_back({at_, end});
  at_ = next;
  return true;
}

bool TableSplitter::failMissing(std::size_t fields, std::size_t end) {
  const auto missing = std::find_if(columns_.begin(), columns_.end(),
                                    [&](const Column& column) { return column.index >= fields; });
  const std::string what =
      fmt::format("column {} ({}) is missing, the record has {} field{}", missing->index + 1,
                  escapeText(missing->name), fields, fields == 1 ? "" : "s");
  cells_.failure = {Status::badData, describe(location(chunk_, end), {what, kAcceptedRecords},
                                              bytes_.substr(at_, end - at_))};
  return false;
}

bool TableSplitter::failUncertain(const FieldError& error) {
  // A quote that was left open, or just a long field.
  if (error.unclosed && chunk_.end == Chunk::End::limit) return failTooLong();
  cells_.failure = uncertainField(chunk_, error);
  return false;
}

bool TableSplitter::failTooLong() {
  const std::string accepted = fmt::format(
      "records of up to {} bytes, all quotes closed; or a larger --longest", format_.longest);
  cells_.failure = {Status::badData,
                    describe(location(chunk_, at_), {"the record is too long, it begins", accepted},
                             bytes_.substr(at_, kShownOfLongRecord))};
  return false;
}

}  // namespace

void clear(Cells& cells) {
  cells.cells.clear();
  cells.records.clear();
  cells.end = 0;
  cells.failure.reset();
  cells.wrong.clear();
  cells.present.clear();
}

void splitLines(const Chunk& chunk, std::size_t longest, Cells& cells) {
  clear(cells);
  std::size_t number = chunk.line;
  while (cells.end < chunk.size) {
    const Line line = lineAt(chunk, cells.end, number++);
    if (line.text.size() > longest) {
      cells.failure = lineTooLong(chunk.source, line, longest);
      return;
    }
    const std::size_t begin = cells.end + line.lead.size(), end = begin + line.text.size();
    cells.cells.push_back({begin, end});
    cells.records.push_back({begin, end});
    cells.end = end + line.ending.size();
  }
}

void splitTable(const Chunk& chunk, const TableFormat& format, const std::vector<Column>& columns,
                Cells& cells) {
  clear(cells);
  TableSplitter(chunk, format, columns, cells).split();
}

void dropBlanks(const Chunk& chunk, const TableFormat& format, Cells& cells) {
  const std::string_view bytes = chunk.bytes();
  for (Cell& cell : cells.cells) {
    while (cell.begin < cell.end && isBlank(bytes[cell.begin], format)) ++cell.begin;
    while (cell.begin < cell.end && isBlank(bytes[cell.end - 1], format)) --cell.end;
  }
}

std::string_view textOf(const Chunk& chunk, const Cell& cell, std::string& buffer) {
  const std::string_view text = chunk.bytes().substr(cell.begin, cell.end - cell.begin);
  return cell.doubled ? std::string_view(buffer = undoubled(text)) : text;
}

std::string location(const Chunk& chunk, std::size_t at) {
  if (chunk.line == 0) return std::string(chunk.source);
  const std::string_view before = chunk.bytes().substr(0, at);
  const auto lines = std::count(before.begin(), before.end(), '\n');
  const std::size_t lineBegin = lines > 0 ? before.rfind('\n') + 1 : byteOrderMark(chunk);
  const std::string_view inLine = before.substr(std::min(lineBegin, before.size()));
  const auto characters =  // all bytes of UTF-8 but those that continue a character
      std::count_if(inLine.begin(), inLine.end(), [](char c) { return (c & 0xC0) != 0x80; });
  return fmt::format("{}:{}:{}", chunk.source, chunk.line + static_cast<std::size_t>(lines),
                     characters + 1);
}

Failure uncertainField(const Chunk& chunk, const FieldError& error) {
  const std::string_view text = chunk.bytes().substr(error.begin);
  return {Status::badData, describe(location(chunk, error.at), error.complaint,
                                    text.substr(0, findByte(text, '\n', 0)))};
}

}  // namespace plx
