// Tables in memory, for tests.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "stream/chunk.h"
#include "table/cells.h"
#include "table/columns.h"

namespace plx {

inline constexpr TableFormat kCsv{',', false};
inline constexpr TableFormat kTsv{'\t', false};

// A text as the only chunk of a source.
inline Chunk chunkOf(std::string_view text) {
  Chunk chunk;
  chunk.source = "table.csv";
  chunk.first = true;
  chunk.end = text.ends_with('\n') ? Chunk::End::record : Chunk::End::source;
  chunk.storage.assign(text.begin(), text.end());
  chunk.size = text.size();
  return chunk;
}

// The first columns of a table without names.
inline std::vector<Column> firstColumns(std::size_t count) {
  std::vector<Column> columns;
  for (std::size_t i = 0; i < count; ++i) columns.push_back({i, std::to_string(i + 1)});
  return columns;
}

// The texts of the cells, those of a record together.
inline std::vector<std::vector<std::string>> textsOf(const Chunk& chunk, const Cells& cells) {
  std::vector<std::vector<std::string>> rows;
  const std::size_t columns = cells.records.empty() ? 0 : cells.cells.size() / cells.records.size();
  std::string buffer;
  for (std::size_t i = 0; i < cells.records.size(); ++i) {
    rows.emplace_back();
    for (std::size_t k = 0; k < columns; ++k)
      rows.back().emplace_back(textOf(chunk, cells.cells[i * columns + k], buffer));
  }
  return rows;
}

}  // namespace plx
