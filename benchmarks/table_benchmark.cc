// How long a row of a table takes to be read from a file, split and written again, without anything
// being done to it: what the command line adds to setting a component. The files are the usual ones:
// without quotes, with every field in quotes, and with many columns of which one is chosen.
#include <benchmark/benchmark.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "stream/chunk_reader.h"
#include "table/cell_writer.h"
#include "table/cells.h"

namespace {

using namespace plx;

constexpr std::size_t kRows = 200'000;

std::string field(const std::string& text, bool quoted) { return quoted ? '"' + text + '"' : text; }

// Rows of numbers; in the last column a datetime.
std::string tableText(std::size_t columns, bool quoted) {
  std::mt19937_64 random(1);
  std::string text;
  for (std::size_t row = 0; row < kRows; ++row) {
    for (std::size_t column = 0; column + 1 < columns; ++column)
      text += field(std::to_string(random() % 10'000'000), quoted) + ',';
    char datetime[32];
    std::snprintf(datetime, sizeof datetime, "%04d-%02d-%02dT%02d:%02d:%02d",
                  static_cast<int>(1990 + random() % 40), static_cast<int>(1 + random() % 12),
                  static_cast<int>(1 + random() % 28), static_cast<int>(random() % 24),
                  static_cast<int>(random() % 60), static_cast<int>(random() % 60));
    text += field(datetime, quoted) + '\n';
  }
  return text;
}

// A file without a name, in memory.
class File {
 public:
  explicit File(const std::string& text) : descriptor_(::memfd_create("table", MFD_CLOEXEC)) {
    const ssize_t count = ::write(descriptor_, text.data(), text.size());
    if (count != static_cast<ssize_t>(text.size())) std::abort();
  }
  ~File() { ::close(descriptor_); }
  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

void splitAndJoin(benchmark::State& state) {
  const auto columns = static_cast<std::size_t>(state.range(0));
  const std::string text = tableText(columns, state.range(1) != 0);
  const File file(text);
  const TableFormat format{',', false};
  Chunk chunk;
  Cells cells;
  std::string out, all, buffer;
  for (auto _ : state) {
    Source source(file.path());
    ChunkReader reader(source, true, kLongestRecord);
    all.clear();
    while (reader.read(chunk)) {
      splitTable(chunk, format, {{columns - 1, "datetime"}}, cells);
      out.clear();
      CellWriter writer(chunk, format, out);
      for (const Cell& cell : cells.cells) writer.replace(cell, textOf(chunk, cell, buffer));
      writer.finish(cells.end);
      all += out;
    }
    if (all != text) state.SkipWithError("the bytes are not those that went in");
  }
  state.counters["time/row"] =
      benchmark::Counter(static_cast<double>(kRows), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

BENCHMARK(splitAndJoin)
    ->ArgNames({"columns", "quoted"})
    ->Args({2, 0})
    ->Args({2, 1})
    ->Args({20, 0})
    ->Args({20, 1})
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
