#include "table/cell_writer.h"

#include <algorithm>

#include "json/json_text.h"

namespace plx {

CellWriter::CellWriter(const Chunk& chunk, std::string& out, std::size_t from)
    : chunk_(chunk), out_(out), at_(from), isTable_(false), format_() {}

CellWriter::CellWriter(const Chunk& chunk, const TableFormat& format, std::string& out)
    : chunk_(chunk), out_(out), at_(0), isTable_(true), format_(format) {
  for (const char c : {format.separator, '\n', '\r', '"'})
    needsQuotes_[static_cast<unsigned char>(c)] = true;
}

CellWriter::CellWriter(const Chunk& chunk, const JsonStyle& style, std::string& out)
    : chunk_(chunk), out_(out), at_(0), isTable_(true), format_(), json_(style) {}

void CellWriter::copyTo(std::size_t end) {
  if (end > at_) out_.append(chunk_.storage.data() + at_, end - at_);
  at_ = end;
}

void CellWriter::replace(const Cell& cell, std::string_view text) {
  if (json_) return replaceJson(cell, text);
  const bool quotes = isTable_ && !cell.quoted && needsQuotes(text);
  copyTo(cell.begin);
  if (quotes) out_ += '"';
  writeText(text, quotes || cell.quoted);
  if (quotes) out_ += '"';
  at_ = cell.end;
}

void CellWriter::replaceJson(const Cell& cell, std::string_view text) {
  const std::size_t quote = cell.quoted ? 1 : 0;
  copyTo(cell.begin - quote);
  at_ = cell.end + quote;
  if (text.empty()) {
    out_ += "null";
  } else if (isJsonNumber(text) && (json_->numbers || !cell.quoted)) {
    out_ += text;
  } else {
    out_ += '"';
    appendJson(out_, text);
    out_ += '"';
  }
}

void CellWriter::append(const Record& record, std::string_view text) {
  const bool quotes = needsQuotes(text);
  copyTo(record.end);
  out_ += format_.separator;
  if (quotes) out_ += '"';
  writeText(text, quotes);
  if (quotes) out_ += '"';
}

void CellWriter::finish(std::size_t end) {
  copyTo(end);
  if (!isTable_ && end > 0 && chunk_.bytes()[end - 1] != '\n') out_ += '\n';
}

bool CellWriter::needsQuotes(std::string_view text) const {
  bool any = false;
  for (const char c : text) any |= needsQuotes_[static_cast<unsigned char>(c)];
  return any;
}

// The text, its quotes doubled within quotes.
void CellWriter::writeText(std::string_view text, bool quoted) {
  if (!quoted) {
    out_ += text;
    return;
  }
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t quote = text.find('"', at);
    const std::size_t end = quote == std::string_view::npos ? text.size() : quote + 1;
    out_ += text.substr(at, end - at);
    if (quote != std::string_view::npos) out_ += '"';
    at = end;
  }
}

}  // namespace plx
