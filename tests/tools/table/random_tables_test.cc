// Tables as another program reads them: the csv module of Python, told to be strict.

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/cases.h"
#include "support/lines_of.h"
#include "support/random.h"
#include "table/cell_writer.h"
#include "tools/support/tables.h"

namespace plx {
namespace {

using Row = std::vector<std::string>;

std::string fromHexadecimal(std::string_view digits) {
  std::string text;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    unsigned byte = 0;
    std::from_chars(digits.data() + i, digits.data() + i + 2, byte, 16);
    text += static_cast<char>(byte);
  }
  return text;
}

std::vector<std::string> partsOf(const std::string& text, char mark) {
  std::vector<std::string> parts;
  std::istringstream in(text);
  for (std::string part; std::getline(in, part, mark);) parts.push_back(part);
  if (!text.empty() && text.back() == mark) parts.emplace_back();
  if (!parts.empty()) parts.erase(parts.begin());  // before the first mark
  return parts;
}

std::vector<Row> rowsOf(const std::string& told) {
  std::vector<Row> rows;
  for (const std::string& row : partsOf(told, ';')) {
    rows.emplace_back();
    for (const std::string& field : partsOf(row, ','))
      rows.back().push_back(fromHexadecimal(field));
  }
  return rows;
}

// Some of the columns that every row has.
std::vector<Column> anyColumns(const std::vector<Row>& rows, Random& random) {
  std::size_t shortest = rows.empty() ? 1 : rows[0].size();
  for (const Row& row : rows) shortest = std::min(shortest, row.size());
  std::vector<Column> columns;
  for (std::size_t i = 0; i < shortest; ++i) {
    if (random.oneIn(2)) columns.push_back({i, ""});
  }
  if (columns.empty()) columns.push_back({shortest - 1, ""});
  return columns;
}

std::vector<Row> chosen(const std::vector<Row>& rows, const std::vector<Column>& columns) {
  std::vector<Row> all;
  for (const Row& row : rows) {
    all.emplace_back();
    for (const Column& column : columns) all.back().push_back(row.at(column.index));
  }
  return all;
}

TEST(RandomTables, AreReadAsPythonReadsThem) {
  Cases cases(20'000);
  Random random(5);
  for (const std::string& line : linesOf("python3 " PLX_RANDOM_TABLES " 1 20000")) {
    std::istringstream in(line + " ");
    std::string separator, bytes, told;
    std::getline(in, separator, ' ');
    std::getline(in, bytes, ' ');
    std::getline(in, told, ' ');
    const Chunk chunk = chunkOf(fromHexadecimal(bytes));
    const TableFormat format{fromHexadecimal(separator)[0], false};
    const auto rows = rowsOf(told);
    const auto columns = anyColumns(rows, random);
    Cells cells;
    splitTable(chunk, format, columns, cells);
    ASSERT_FALSE(cells.failure) << line << ": " << cells.failure->message;
    ASSERT_EQ(textsOf(chunk, cells), chosen(rows, columns)) << line;

    // What is written in the place of the cells is what is read there afterwards.
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < cells.cells.size(); ++i)
      texts.push_back(rows.at(0).at(i % rows[0].size()));
    std::string out;
    CellWriter writer(chunk, format, out);
    for (std::size_t i = 0; i < texts.size(); ++i) writer.replace(cells.cells[i], texts[i]);
    writer.finish(cells.end);
    const Chunk changed = chunkOf(out);
    Cells again;
    splitTable(changed, format, columns, again);
    // A row of nothing but an empty text is an empty line.
    const bool empties = std::count(texts.begin(), texts.end(), "") > 0;
    ASSERT_FALSE(again.failure) << line;
    ASSERT_TRUE(again.cells.size() == texts.size() || empties) << line;
    if (again.cells.size() == texts.size()) {
      std::string buffer;
      for (std::size_t i = 0; i < texts.size(); ++i)
        ASSERT_EQ(textOf(changed, again.cells[i], buffer), texts[i]) << line;
    }
    ++cases;
  }
}

}  // namespace
}  // namespace plx
