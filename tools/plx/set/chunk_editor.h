// Edits chunks of text: takes the datetimes out of lines or columns, has them set, and puts the results
// in their places.
#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "messages/message.h"
#include "set/cell_work.h"
#include "set/value_file.h"
#include "stream/chunk.h"
#include "stream/line_reader.h"
#include "stream/pipeline.h"
#include "table/cell_writer.h"
#include "table/cells.h"
#include "table/columns.h"
#include "table/in_line.h"
#include "table/json_cells.h"
#include "table/table_format.h"

namespace plx {

enum class OnError {
  stop,   // with the failure, everything before it written
  blank,  // the field becomes empty
  pass,   // the field stays as it is
};

enum class OnFinding {
  report,  // tell, and write the result
  blank,
  stop,
};

// Where the values of one assignment come from.
struct ValueSource {
  std::string where, text;            // of one value for all, for messages
  std::optional<std::size_t> column;  // or a column, an index into EditOptions::columns
  bool file = false;                  // or the file of values
};

struct EditOptions {
  std::optional<TableFormat> table;  // of a table; else each line is a datetime,
  std::vector<JsonPath> json;        // or a JSON text with values at these paths, the columns,
  JsonStyle jsonStyle;
  std::optional<InLineOptions> inLine;  // or has a datetime somewhere in it
  std::vector<Column> columns;          // the columns in use; of a table ascending
  std::vector<std::size_t> datetimes;   // indices into `columns`
  std::vector<const Notation*>
      notations;                    // of each of `datetimes`; null, or empty: the one for all
  std::optional<std::size_t> zone;  // an index into `columns`
  std::vector<ValueSource> values;  // for each assignment
  std::vector<std::string>
      newColumns;  // names of columns to add for the results; empty: results replace datetimes
  std::vector<std::size_t>
      resultOrder;  // of a table, in which results are added or listed: places in `datetimes`
  bool dropMark =
      false;  // leave out a byte-order mark at the start of a source, after other output
  bool resultsOnly = false;                // write the results and nothing else
  std::size_t longestLine = kLongestLine;  // of lines and JSON lines, in bytes
  OnError onError = OnError::stop;
  OnFinding onFinding = OnFinding::report;
};

class ChunkEditor : public Worker {
 public:
  // The options and the file, which may be null, outlive the editor.
  ChunkEditor(const EditOptions& options, std::unique_ptr<CellWork> work, ValueFile* values);

  std::optional<Failure> run(const Chunk& chunk, Piece& piece) override;

 private:
  void split(const Chunk& chunk);
  void collect(const Chunk& chunk);
  void collectTexts(const Chunk& chunk);
  void addWrongRecords();
  bool takeFromFile(const Chunk& chunk, std::size_t record);
  std::string_view keep(const Chunk& chunk, const Cell& cell) {
    if (cell.doubled) return keepUndoubled(chunk, cell);
    return {chunk.storage.data() + cell.begin, cell.end - cell.begin};
  }
  std::string_view keepUndoubled(const Chunk& chunk, const Cell& cell);
  void judge(const Chunk& chunk, Piece& piece);
  Failure failureOf(const Chunk& chunk, const Trouble& trouble) const;
  // The text that a task's datetime becomes.
  std::string_view result(std::size_t task) const {
    const Outcome& outcome = batch_.outcomes[task];
    if (outcome.kind != Outcome::Kind::changed) return tasks_[task].text;
    return {batch_.text.data() + outcome.begin, outcome.end - outcome.begin};
  }
  // The result at index `at` of those that are added or listed.
  std::string_view orderedResult(std::size_t at) const;
  void edit(const Chunk& chunk, std::string& out);
  void replaceAll(CellWriter& writer);
  void list(std::string& out);

  const Cell& cellOf(std::size_t record, std::size_t column) const {
    return cells_.cells[record * columns_ + column];
  }
  const Cell& cellOfTask(std::size_t task) const {
    return cellOf(task / datetimes_, options_.datetimes[task % datetimes_]);
  }

  const EditOptions& options_;
  const std::size_t columns_, datetimes_;  // how many columns and datetimes a record has
  std::size_t valuesOfRecord_ = 0;         // how many values of its own it has
  std::unique_ptr<CellWork> work_;
  ValueFile* const file_;

  std::optional<JsonSplitter> json_;
  std::optional<InLineSplitter> inLine_;
  Cells cells_;
  std::vector<Task> tasks_;
  std::vector<std::string_view> values_;
  std::vector<std::size_t> fileLines_;  // for each record, the line of its value in the file
  std::deque<std::string> kept_;        // texts that differ from the chunk's bytes
  std::vector<std::size_t> inOrder_;    // the tasks of a record, in the order of its text
  Batch batch_;
  std::size_t end_ = 0;             // the first record that is not written, or the count
  std::optional<Failure> failure_;  // of record end_
};

}  // namespace plx
