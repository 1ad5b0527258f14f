#include "set/chunk_editor.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "table/cell_writer.h"

namespace plx {

ChunkEditor::ChunkEditor(const EditOptions& options, std::unique_ptr<CellWork> work,
                         ValueFile* values)
    : options_(options),
      columns_(options.columns.empty() ? 1 : options.columns.size()),
      datetimes_(options.datetimes.size()),
      work_(std::move(work)),
      file_(values) {
  for (const ValueSource& source : options.values) {
    if (source.column || source.file) ++valuesOfRecord_;
  }
  if (!options.json.empty()) json_.emplace(options.json);
  if (options.inLine) inLine_.emplace(*options.inLine);
}

std::optional<Failure> ChunkEditor::run(const Chunk& chunk, Piece& piece) {
  split(chunk);
  collect(chunk);
  work_->work(tasks_, batch_);
  addWrongRecords();
  judge(chunk, piece);
  if (options_.resultsOnly) {
    list(piece.text);
  } else {
    edit(chunk, piece.text);
  }
  return std::move(failure_);
}

void ChunkEditor::split(const Chunk& chunk) {
  if (json_) {
    json_->split(chunk, options_.longestLine, cells_);
  } else if (inLine_) {
    inLine_->split(chunk, options_.longestLine, cells_);
  } else if (options_.table) {
    splitTable(chunk, *options_.table, options_.columns, cells_);
    dropBlanks(chunk, *options_.table, cells_);
  } else {
    splitLines(chunk, options_.longestLine, cells_);
  }
  end_ = cells_.records.size();
  failure_ = std::move(cells_.failure);
}

std::string_view ChunkEditor::keepUndoubled(const Chunk& chunk, const Cell& cell) {
  std::string& buffer = kept_.emplace_back();
  if (json_) return buffer = unescapedJson(chunk.bytes().substr(cell.begin, cell.end - cell.begin));
  return textOf(chunk, cell, buffer);
}

void ChunkEditor::collect(const Chunk& chunk) {
  kept_.clear();
  fileLines_.clear();
  if (valuesOfRecord_ == 0 && !options_.zone && datetimes_ == 1) return collectTexts(chunk);
  tasks_.clear();
  values_.assign(end_ * valuesOfRecord_, {});
  for (std::size_t r = 0; r < end_; ++r) {
    if (file_ != nullptr && !takeFromFile(chunk, r)) break;
    const std::span own = std::span(values_).subspan(r * valuesOfRecord_, valuesOfRecord_);
    std::size_t next = 0;
    for (const ValueSource& source : options_.values) {
      if (source.column) own[next] = keep(chunk, cellOf(r, *source.column));
      if (source.column || source.file) ++next;
    }
    Task task{{}, {}, own};
    if (options_.zone) task.zone = keep(chunk, cellOf(r, *options_.zone));
    for (std::size_t i = 0; i < datetimes_; ++i) {
      task.text = keep(chunk, cellOf(r, options_.datetimes[i]));
      if (!options_.notations.empty()) task.notation = options_.notations[i];
      tasks_.push_back(task);
    }
  }
}

// Of tasks that differ in their texts alone, those of the last chunk among them.
void ChunkEditor::collectTexts(const Chunk& chunk) {
  tasks_.resize(end_, {{}, {}, {}, options_.notations.empty() ? nullptr : options_.notations[0]});
  const std::size_t column = options_.datetimes[0];
  for (std::size_t r = 0; r < end_; ++r) tasks_[r].text = keep(chunk, cellOf(r, column));
}

// Takes the values for a line from the file; false, with end_ at that line, where the file has none left.
bool ChunkEditor::takeFromFile(const Chunk& chunk, std::size_t record) {
  const Cell& cell = cellOf(record, 0);
  fileLines_.push_back(0);
  if (cell.begin == cell.end) {
    file_->skipEmptyLine();
    return true;
  }
  auto line = file_->next();
  if (!line) {
    end_ = record;
    failure_ = Failure{
        Status::badData,
        describe(location(chunk, cell.begin),
                 {file_->name() + " has no value left for this datetime", "one value for each"},
                 keep(chunk, cell))};
    return false;
  }
  fileLines_.back() = line->number;
  values_[record] = kept_.emplace_back(line->text);  // one file at most, and no columns beside it
  return true;
}

void ChunkEditor::addWrongRecords() {
  for (WrongRecord& wrong : cells_.wrong) {
    batch_.troubles.push_back(
        {wrong.record * datetimes_, Trouble::Kind::record, 0, std::move(wrong.complaint)});
  }
  if (!cells_.wrong.empty()) std::ranges::stable_sort(batch_.troubles, {}, &Trouble::task);
}

// Decides what becomes of each trouble.
void ChunkEditor::judge(const Chunk& chunk, Piece& piece) {
  for (Trouble& trouble : batch_.troubles) {
    Outcome& outcome = batch_.outcomes[trouble.task];
    const bool isFinding = trouble.kind == Trouble::Kind::finding;
    if (isFinding && outcome.kind == Outcome::Kind::failed) continue;  // the failure says more
    const bool stops = isFinding ? options_.onFinding == OnFinding::stop
                                 : options_.onError == OnError::stop || trouble.complaint.endsRun;
    if (stops) {
      end_ = trouble.task / datetimes_;
      failure_ = failureOf(chunk, trouble);
      return;
    }
    ++(isFinding ? piece.findings : piece.errors);
    if (piece.messages.size() < kMostMessages)
      piece.messages.push_back(failureOf(chunk, trouble).message);
    const bool blank =
        isFinding ? options_.onFinding == OnFinding::blank : options_.onError == OnError::blank;
    const bool hasPlace = trouble.kind != Trouble::Kind::record;
    if (blank && hasPlace) outcome = {Outcome::Kind::changed, 0, 0};
  }
  piece.warnings += batch_.warnings;
  piece.present = cells_.present;
  piece.records = cells_.records.size();
  piece.wrongRecords = cells_.wrong.size();
  piece.cutDigits = batch_.cutDigits;
  piece.carriedOnTheWay = batch_.carriedOnTheWay;
}

Failure ChunkEditor::failureOf(const Chunk& chunk, const Trouble& trouble) const {
  const std::size_t record = trouble.task / datetimes_;
  const Task& task = tasks_[trouble.task];
  const auto at = [&](const Cell& cell) { return location(chunk, cell.begin); };
  std::string where = at(cellOfTask(trouble.task));
  std::string_view text = task.text;
  if (trouble.kind == Trouble::Kind::record) {
    const auto wrong = std::ranges::find(cells_.wrong, record, &WrongRecord::record);
    const Record& whole = cells_.records[record];
    where = location(chunk, wrong->at);
    text = chunk.bytes().substr(wrong->at, whole.end - wrong->at);
  } else if (trouble.kind == Trouble::Kind::zone) {
    where = at(cellOf(record, *options_.zone));
    text = task.zone;
  } else if (trouble.kind == Trouble::Kind::value) {
    const ValueSource& source = options_.values[trouble.assignment];
    const auto before = std::span(options_.values).first(trouble.assignment);
    const auto own = std::count_if(before.begin(), before.end(),
                                   [](const ValueSource& s) { return s.column || s.file; });
    if (source.column) {
      where = at(cellOf(record, *source.column));
    } else if (source.file) {
      where = location(file_->name(), fileLines_[record]);
    } else {
      where = fmt::format("{}: {}", where, source.where);
    }
    text = source.column || source.file ? task.values[static_cast<std::size_t>(own)] : source.text;
  }
  if (trouble.kind == Trouble::Kind::finding) {
    return {trouble.complaint.status,
            fmt::format("{}: {}: {}", where, quoteText(text), trouble.complaint.what)};
  }
  return {trouble.complaint.status, describe(where, trouble.complaint, text)};
}

std::string_view ChunkEditor::orderedResult(std::size_t at) const {
  const std::size_t inRecord = at % datetimes_;
  return result(at - inRecord + options_.resultOrder[inRecord]);
}

void ChunkEditor::edit(const Chunk& chunk, std::string& out) {
  CellWriter writer = json_ ? CellWriter(chunk, options_.jsonStyle, out)
                      : options_.table
                          ? CellWriter(chunk, *options_.table, out)
                          : CellWriter(chunk, out, options_.dropMark ? byteOrderMark(chunk) : 0);
  if (options_.table && options_.table->header && chunk.first) {
    const Header header = readHeader(&chunk, *options_.table, chunk.source);
    for (const std::string& name : options_.newColumns)
      writer.append({header.begin, header.end}, name);
  }
  if (options_.newColumns.empty()) {
    writer.expect(batch_.text);
    replaceAll(writer);
  } else {
    for (std::size_t task = 0; task < end_ * datetimes_; ++task)
      writer.append(cells_.records[task / datetimes_], orderedResult(task));
  }
  writer.finish(end_ < cells_.records.size() ? cells_.records[end_].begin : cells_.end);
}

void ChunkEditor::replaceAll(CellWriter& writer) {
  const auto replace = [&](std::size_t task) {
    if (batch_.outcomes[task].kind == Outcome::Kind::changed)
      writer.replace(cellOfTask(task), result(task));
  };
  if (datetimes_ == 1) {  // most often, and then there is nothing to divide for each
    const std::size_t column = options_.datetimes[0];
    for (std::size_t task = 0; task < end_; ++task) {
      if (batch_.outcomes[task].kind == Outcome::Kind::changed)
        writer.replace(cellOf(task, column), result(task));
    }
    return;
  }
  if (!json_) {
    for (std::size_t task = 0; task < end_ * datetimes_; ++task) replace(task);
    return;
  }
  // The keys of a JSON object come in any order, and a writer replaces cells in the order of the text.
  inOrder_.resize(datetimes_);
  for (std::size_t record = 0; record < end_; ++record) {
    std::iota(inOrder_.begin(), inOrder_.end(), record * datetimes_);
    std::ranges::sort(inOrder_, {}, [&](std::size_t task) { return cellOfTask(task).begin; });
    for (const std::size_t task : inOrder_) replace(task);
  }
}

void ChunkEditor::list(std::string& out) {
  for (std::size_t task = 0; task < end_ * datetimes_; ++task) {
    out += orderedResult(task);
    out += (task + 1) % datetimes_ == 0 ? '\n' : options_.table ? options_.table->separator : '\t';
  }
}

}  // namespace plx
