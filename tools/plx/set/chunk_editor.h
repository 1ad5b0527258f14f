// Works on the datetimes in chunks of text: takes them out of lines or columns, and puts in their
// place what became of them.
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
  std::string where, text;            // of a value for all, for messages
  std::optional<std::size_t> column;  // else, a place in EditOptions::columns
  bool file = false;                  // or the file of values
};

struct EditOptions {
  std::optional<TableFormat> table;  // nothing: each line is a datetime, or
  std::vector<JsonPath> json;        // has values of JSON, at the paths of the columns
  JsonStyle jsonStyle;
  std::optional<InLineOptions> inLine;  // or has a datetime somewhere
  std::vector<Column> columns;          // those in use; of a table ascending
  std::vector<std::size_t> datetimes;   // places in `columns`
  std::vector<const Notation*>
      notations;                    // for each of the datetimes; null, or empty, for that of all
  std::optional<std::size_t> zone;  // likewise
  std::vector<ValueSource> values;  // for each assignment
  std::vector<std::string>
      newColumns;  // names of columns to add for the results, else they replace
  std::vector<std::size_t>
      resultOrder;  // of a table, in which results are added or listed: places in `datetimes`
  bool dropMark =
      false;  // a byte-order mark at the start of a source, as there is output before it
  bool resultsOnly = false;                // of a table, write nothing else
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
  void addWrongRecords();
  bool takeFromFile(const Chunk& chunk, std::size_t record);
  std::string_view keep(const Chunk& chunk, const Cell& cell);
  void judge(const Chunk& chunk, Piece& piece);
  Failure failureOf(const Chunk& chunk, const Trouble& trouble) const;
  std::string_view result(std::size_t task) const;
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
  const std::size_t columns_, datetimes_;  // how many of them a record has
  std::size_t valuesOfRecord_ = 0;         // those that are not for all
  std::unique_ptr<CellWork> work_;
  ValueFile* const file_;

  std::optional<JsonSplitter> json_;
  std::optional<InLineSplitter> inLine_;
  Cells cells_;
  std::vector<Task> tasks_;
  std::vector<std::string_view> values_;
  std::vector<std::size_t> fileLines_;  // where the values of the file stood, for each record
  std::deque<std::string> kept_;        // texts that do not stand in the chunk
  std::vector<std::size_t> inOrder_;    // the tasks of a record, as they stand there
  Batch batch_;
  std::size_t end_ = 0;             // the first record that is not written, or all
  std::optional<Failure> failure_;  // of that record
};

}  // namespace plx
