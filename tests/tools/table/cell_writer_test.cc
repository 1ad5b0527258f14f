#include "table/cell_writer.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "stream/line_reader.h"
#include "support/cases.h"
#include "tools/support/tables.h"

namespace plx {
namespace {

// The table with every field of the second column replaced and a field appended to each record. Where texts are
// expected, replacements are parts of those.
std::string written(std::string_view bytes, const TableFormat& format, const char* replacement,
                    const char* appended, std::optional<std::string> expected = {}) {
  const Chunk chunk = chunkOf(bytes);
  Cells cells;
  splitTable(chunk, format, {{1, "2"}}, cells);
  EXPECT_FALSE(cells.failure) << cells.failure->message;
  std::string out;
  CellWriter writer(chunk, format, out);
  if (expected) writer.expect(*expected);
  for (std::size_t i = 0; i < cells.records.size(); ++i) {
    if (replacement != nullptr) writer.replace(cells.cells[i], replacement);
    if (appended != nullptr) writer.append(cells.records[i], appended);
  }
  writer.finish(cells.end);
  return out;
}

TEST(CellWriter, ReplacesAndAppends) {
  const struct {
    const char* bytes;
    TableFormat format;
    const char *replacement, *appended, *out, *why;
  } rows[] = {
      {"a,b\nc,d\n", kCsv, "x", nullptr, "a,x\nc,x\n", "fields at the end"},
      {"a,b,c\r\nd,e,f", kCsv, "x", nullptr, "a,x,c\r\nd,x,f", "all other bytes stay"},
      {"a,\"b\",c\n", kCsv, "x", nullptr, "a,\"x\",c\n", "quotes stay"},
      {"a,\"b\",c\n", kCsv, "x\"y", nullptr, "a,\"x\"\"y\",c\n", "a quote is doubled"},
      {"a,b,c\n", kCsv, "x,y", nullptr, "a,\"x,y\",c\n", "a separator needs quotes"},
      {"a,b,c\n", kCsv, "x\"y", nullptr, "a,\"x\"\"y\",c\n", "a quote needs them"},
      {"a,b,c\n", kCsv, "x\ry", nullptr, "a,\"x\ry\",c\n", "a CR needs them"},
      {"a,b,c\n", kCsv, "\n", nullptr, "a,\"\n\",c\n", "a LF needs them"},
      {"a,\"b\"c,d\n", kCsv, "x", nullptr, "a,x,d\n", "a field with text behind its quotes"},
      {"a,\n", kCsv, "x", nullptr, "a,x\n", "an empty field"},
      {"a,\"\"\n", kCsv, "", nullptr, "a,\"\"\n", "empty stays in quotes"},
      {"a,b\r\n\r\nc,d", kCsv, nullptr, "x", "a,b,x\r\n\r\nc,d,x", "appended; not to empty lines"},
      {"a,b\n", kCsv, nullptr, "x,y", "a,b,\"x,y\"\n", "appended in quotes"},
      {"a,\"b\"\n", kCsv, "x", "\"", "a,\"x\",\"\"\"\"\n", "both"},
      {"a\tb\n", {'\t', false}, "x,y", "\t", "a\tx,y\t\"\t\"\n", "tabs"},
      {"\xEF\xBB\xBF"
       "a,b\n",
       kCsv, "x", nullptr,
       "\xEF\xBB\xBF"
       "a,x\n",
       "a byte-order mark"},
      {"a,b\n", {',', true}, "x", "y", "a,b\n", "a header is no record"},
  };
  Cases cases(51);
  for (const auto& r : rows) {
    const std::string replacement = r.replacement == nullptr ? "" : r.replacement;
    for (const auto& expected : {std::optional<std::string>(), std::optional(replacement),
                                 std::optional(replacement + ",\t\"\r\n")}) {
      EXPECT_EQ(written(r.bytes, r.format, r.replacement, r.appended, expected), r.out) << r.why;
      ++cases;
    }
  }
}

TEST(CellWriter, LinesHaveEnds) {
  for (const char* bytes : {"a\nb\r\n", "a\nb"}) {
    const Chunk chunk = chunkOf(bytes);
    Cells cells;
    splitLines(chunk, kLongestLine, cells);
    std::string out;
    CellWriter writer(chunk, out);
    for (const Cell& cell : cells.cells) writer.replace(cell, "\"x");
    writer.finish(cells.end);
    EXPECT_EQ(out, std::string(bytes).ends_with('\n') ? "\"x\n\"x\r\n" : "\"x\n\"x\n");
  }
}

TEST(CellWriter, BeginsAndStopsWhereAsked) {
  const Chunk chunk = chunkOf(
      "\xEF\xBB\xBF"
      "a\nb\nc\n");
  Cells cells;
  splitLines(chunk, kLongestLine, cells);
  std::string out;
  CellWriter writer(chunk, out, 3);
  writer.replace(cells.cells[0], "x");
  writer.finish(cells.records[1].begin);
  EXPECT_EQ(out, "x\n");
}

}  // namespace
}  // namespace plx
