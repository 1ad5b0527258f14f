// What the commands that go through datetimes in text share: their options, and the way from the
// inputs to the output.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "command/arguments.h"
#include "command/notation_options.h"
#include "set/cell_work.h"
#include "set/chunk_editor.h"
#include "set/task_reader.h"
#include "set/value_file.h"
#include "stream/output.h"
#include "stream/output_file.h"

namespace plx {

struct TextOptions {
  std::vector<std::string> inputs;  // datetimes, files, "-"; none for standard input
  std::optional<std::string> zone, zoneColumn, output, backup, onError, jobs, fold, gap, weekStart;
  std::optional<std::string> delimiter, longest, match;
  NotationOptions notation;
  std::vector<std::string> columns, newColumns;
  bool inPlace = false, csv = false, tsv = false, jsonl = false, noHeader = false, progress = false,
       quiet = false;

  // Of a table or of JSON lines, with columns; else of lines.
  bool isTable() const;
  bool isJson() const;
  // Of --jobs. Throws a Failure of Status::usage.
  std::size_t jobCount() const;
  // Nothing where the results go elsewhere. Throws a Failure of Status::usage for what cannot be changed in
  // place.
  std::optional<InPlace> changesInPlace() const;
};

// Declares them. Those that have to do with writing datetimes only where the command does.
void declareTextOptions(Arguments& arguments, TextOptions& options, bool writesDatetimes);

// Of --fold and --gap. Throws a Failure of Status::usage.
void declareClockOptions(Arguments& arguments, std::optional<std::string>& fold,
                         std::optional<std::string>& gap);
ClockChoice clockChoice(const std::optional<std::string>& fold,
                        const std::optional<std::string>& gap);

// Of --week-start. Throws a Failure of Status::usage.
Weeks weeksFrom(const std::optional<std::string>& start);

// Throws a Failure of Status::usage.
ReadingOptions readingOptions(const TextOptions& options);

// What a run works with beside the options.
struct TextWork {
  std::function<std::unique_ptr<CellWork>()> make;       // for each thread
  std::vector<ValueSource> values;                       // columns by name in `valueColumns`
  std::vector<std::optional<std::string>> valueColumns;  // for each of the values
  std::optional<std::string> valueFile;
  OnFinding onFinding = OnFinding::report;
  bool resultsOnly = false;  // of a table: without a new column, write nothing but the results
  bool usesClock = false;    // the time of day is read or set
};

// Goes through all inputs. Throws the first Failure that stops it, after what came before it was
// written; at the end a Failure of Status::badData where errors were passed over.
void runText(const TextOptions& options, TextWork work, Output& output);

}  // namespace plx
