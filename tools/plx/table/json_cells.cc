#include "table/json_cells.h"

#include <utility>

#include "stream/line_reader.h"

namespace plx {

void JsonSplitter::split(const Chunk& chunk, std::size_t longest, Cells& cells) {
  clear(cells);
  std::size_t number = chunk.line;
  while (cells.end < chunk.size) {
    const Line line = lineAt(chunk, cells.end, number++);
    const std::size_t begin = cells.end + line.lead.size();
    if (line.text.size() > longest) {
      cells.failure = lineTooLong(chunk.source, line, longest);
      return;
    }
    if (line.text.find_first_not_of(" \t\r") != std::string_view::npos)
      addLine(chunk, begin, line.text, cells);
    cells.end = begin + line.text.size() + line.ending.size();
  }
}

void JsonSplitter::addLine(const Chunk& chunk, std::size_t begin, std::string_view text,
                           Cells& cells) {
  const std::size_t behind = chunk.storage.size() - begin - text.size();
  std::string_view readable = text;
  if (behind < JsonReader::padding()) {
    padded_.assign(text);
    padded_.append(JsonReader::padding(), ' ');
    readable = std::string_view(padded_).substr(0, text.size());
  }
  auto error = reader_.read(readable, values_);
  cells.present.resize(values_.size());
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const JsonValue& value = values_[i];
    const bool isText =
        value.kind == JsonValue::Kind::string || value.kind == JsonValue::Kind::number;
    if (value.kind != JsonValue::Kind::absent) ++cells.present[i];
    if (error || !isText) {
      cells.cells.push_back({begin + value.begin, begin + value.begin});
    } else {
      cells.cells.push_back({begin + value.begin, begin + value.end,
                             value.kind == JsonValue::Kind::string, value.escaped});
    }
  }
  if (error)
    cells.wrong.push_back({cells.records.size(), begin + error->at, std::move(error->complaint)});
  cells.records.push_back({begin, begin + text.size()});
}

}  // namespace plx
