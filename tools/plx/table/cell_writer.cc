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

void CellWriter::expect(std::string_view texts) {
  const auto has = [&](char c) { return texts.find(c) != std::string_view::npos; };
  const bool mayNeedQuotes =
      isTable_ && (has(format_.separator) || has('"') || has('\n') || has('\r'));
  arePlain_ = !json_ && !mayNeedQuotes;
  out_.reserve(chunk_.size - at_ + texts.size());
}

void CellWriter::replaceOther(const Cell& cell, std::string_view text) {
  if (json_) return replaceJson(cell, text);
  const bool quotes = isTable_ && !cell.quoted && needsQuotes(text);
  copyTo(cell.begin);
  if (quotes) out_.append('"');
  writeText(text, quotes || cell.quoted);
  if (quotes) out_.append('"');
  at_ = cell.end;
}

void CellWriter::replaceJson(const Cell& cell, std::string_view text) {
  const std::size_t quote = cell.quoted ? 1 : 0;
  copyTo(cell.begin - quote);
  at_ = cell.end + quote;
  if (text.empty()) {
    out_.append("null");
  } else if (isJsonNumber(text) && (json_->numbers || !cell.quoted)) {
    out_.append(text);
  } else {
    out_.append('"');
    escaped_.clear();
    appendJson(escaped_, text);
    out_.append(escaped_);
    out_.append('"');
  }
}

void CellWriter::append(const Record& record, std::string_view text) {
  const bool quotes = needsQuotes(text);
  copyTo(record.end);
  out_.append(format_.separator);
  if (quotes) out_.append('"');
  writeText(text, quotes);
  if (quotes) out_.append('"');
}

void CellWriter::finish(std::size_t end) {
  copyTo(end);
  if (!isTable_ && end > 0 && chunk_.bytes()[end - 1] != '\n') out_.append('\n');
  out_.finish();
}

bool CellWriter::needsQuotes(std::string_view text) const {
  bool any = false;
  for (const char c : text) any |= needsQuotes_[static_cast<unsigned char>(c)];
  return any;
}

// The text, its quotes doubled within quotes.
void CellWriter::writeText(std::string_view text, bool quoted) {
  if (!quoted) {
    out_.append(text);
    return;
  }
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t quote = text.find('"', at);
    const std::size_t end = quote == std::string_view::npos ? text.size() : quote + 1;
    out_.append(text.substr(at, end - at));
    if (quote != std::string_view::npos) out_.append('"');
    at = end;
  }
}

}  // namespace plx
