// Lines of any bytes. What is found in a line is one datetime: it is found again where it stands alone and
// between blanks, no letter or digit touches it, and with it gone from a line another one is left only
// where the line was refused. A line is read alike alone and among others.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/input.h"
#include "stream/chunk.h"
#include "table/cell_writer.h"
#include "table/in_line.h"

namespace {

using namespace plx;

Chunk chunkOf(std::string_view text) {
  Chunk chunk;
  chunk.source = "log";
  chunk.end = text.ends_with('\n') ? Chunk::End::record : Chunk::End::source;
  chunk.storage.assign(text.begin(), text.end());
  chunk.size = text.size();
  return chunk;
}

Cells cellsOf(InLineSplitter& splitter, const Chunk& chunk) {
  Cells cells;
  splitter.split(chunk, chunk.size, cells);
  return cells;
}

bool isLetterOrDigit(char c) {
  return ('0' <= c && c <= '9') || ('a' <= (c | 0x20) && (c | 0x20) <= 'z');
}

bool isEmpty(const Cell& cell) { return cell.begin == cell.end; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in(data, size);
  static const InLineOptions known{logFormats(2014), true, {}};
  static const InLineOptions formats{logFormats({}), false, {}};
  const bool all = !in.oneIn(4);
  InLineSplitter splitter(all ? known : formats);
  const std::string text = in.rest();
  const Chunk chunk = chunkOf(text);
  const Cells cells = cellsOf(splitter, chunk);
  require(!cells.failure && cells.end == text.size(), "all lines are read");
  require(cells.cells.size() == cells.records.size(), "a cell for each line");

  std::string same;
  CellWriter(chunk, same).finish(cells.end);
  require(same == text + (text.empty() || text.ends_with('\n') ? "" : "\n"), "what is left stays");

  auto wrong = cells.wrong.begin();
  for (std::size_t i = 0; i < cells.records.size(); ++i) {
    const Record& record = cells.records[i];
    const Cell& cell = cells.cells[i];
    const std::string line = text.substr(record.begin, record.end - record.begin);
    const bool isWrong = wrong != cells.wrong.end() && wrong->record == i;
    require(record.begin <= cell.begin && cell.begin <= cell.end && cell.end <= record.end,
            "found within the line");

    const Chunk alone = chunkOf(line + "\n");
    const Cells again = cellsOf(splitter, alone);
    require(again.cells.size() == 1 && again.wrong.size() == (isWrong ? 1 : 0),
            "alone as among others");
    require(again.cells[0].begin + record.begin == cell.begin &&
                again.cells[0].end + record.begin == cell.end,
            "in the same place:", line);
    if (isWrong) {
      require(isEmpty(cell), "nothing is set in a line that is wrong");
      ++wrong;
      continue;
    }
    if (isEmpty(cell)) continue;
    require(cell.begin == record.begin || !isLetterOrDigit(text[cell.begin - 1]),
            "nothing touches");
    require(cell.end == record.end || !isLetterOrDigit(text[cell.end]),
            "it, behind neither:", line);
    const std::string found = text.substr(cell.begin, cell.end - cell.begin);
    const Chunk between = chunkOf("( " + found + " )\n");
    const Cells cellsBetween = cellsOf(splitter, between);
    require(cellsBetween.wrong.empty() && !isEmpty(cellsBetween.cells[0]),
            "it is one anywhere:", found);
    const Chunk twice = chunkOf("( " + found + " ) ( " + found + " )\n");
    require(cellsOf(splitter, twice).wrong.size() == 1, "twice, it is not sure:", found);
  }
  require(wrong == cells.wrong.end(), "the wrong lines in order");
  return 0;
}
