#include "table/cells.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "stream/chunk_reader.h"
#include "stream/line_reader.h"
#include "support/cases.h"
#include "support/length.h"
#include "support/random.h"
#include "table/cell_writer.h"
#include "table/field_reader.h"
#include "tools/support/packets.h"
#include "tools/support/tables.h"

namespace plx {
namespace {

using Rows = std::vector<std::vector<std::string>>;

TEST(Cells, FieldsOfATable) {
  const struct {
    std::string bytes;
    TableFormat format;
    std::size_t columns;
    Rows rows;
    const char* why;
  } rows[] = {
      {"", kCsv, 1, {}, "nothing"},
      {"a,b\nc,d\n", kCsv, 2, {{"a", "b"}, {"c", "d"}}, "two records"},
      {"a,b\r\nc,d", kCsv, 2, {{"a", "b"}, {"c", "d"}}, "CRLF, and no line end at the end"},
      {"a,b,c\nd\n", kCsv, 1, {{"a"}, {"d"}}, "records of different lengths"},
      {"\n\r\na\n\n", kCsv, 1, {{"a"}}, "empty lines are no records"},
      {",\n,", kCsv, 2, {{"", ""}, {"", ""}}, "empty fields"},
      {"a,", kCsv, 2, {{"a", ""}}, "an empty field at the end of the file"},
      {"\"\"\n\"\"", kCsv, 1, {{""}, {""}}, "an empty text in quotes is a record"},
      {"\"a,b\",\"c\nd\"\r\n", kCsv, 2, {{"a,b", "c\nd"}}, "separators and line ends in quotes"},
      {"\"a\"\"b\",\"\"\"\"\n", kCsv, 2, {{"a\"b", "\""}}, "doubled quotes"},
      {"\"a\r\n\r\nb\"\n", kCsv, 1, {{"a\r\n\r\nb"}}, "line ends in quotes are as they are"},
      {"\"a\rb\"\n", kCsv, 1, {{"a\rb"}}, "and carriage returns"},
      {"a\"b\"c,d\n", kCsv, 2, {{"a\"b\"c", "d"}}, "an even number of quotes inside"},
      {"\"a\"b,d\n", kCsv, 2, {{"\"a\"b", "d"}}, "text behind the closing quote"},
      {"\"a\" ,d\n", kCsv, 2, {{"\"a\" ", "d"}}, "a space behind the closing quote"},
      {"\"a\"b\"c\"\n", kCsv, 1, {{"\"a\"b\"c\""}}, "two quoted parts"},
      {"\xEF\xBB\xBF\"a\",b\n", kCsv, 2, {{"a", "b"}}, "a byte-order mark"},
      {"a\tb,c\n", kTsv, 2, {{"a", "b,c"}}, "tabs"},
      {"\"a\tb\"\tc\n", kTsv, 2, {{"a\tb", "c"}}, "tabs in quotes"},
      {std::string("a\0b,c\n", 6), kCsv, 2, {{std::string("a\0b", 3), "c"}}, "a NUL is a byte"},
  };
  Cases cases(20);
  for (const auto& r : rows) {
    const Chunk chunk = chunkOf(r.bytes);
    Cells cells;
    splitTable(chunk, r.format, firstColumns(r.columns), cells);
    EXPECT_FALSE(cells.failure) << r.why << ": " << cells.failure->message;
    EXPECT_EQ(textsOf(chunk, cells), r.rows) << r.why;
    EXPECT_EQ(cells.end, chunk.size) << r.why;
    ++cases;
  }
}

TEST(Cells, WhatCanBeReadInTwoWaysIsRefused) {
  const struct {
    const char* bytes;
    TableFormat format;
    const char* message;
    const char* why;
  } rows[] = {
      {"a,b\nx,5\" pipe\n", kCsv,
       "table.csv:2:4: there is a quote inside a field that does not begin with one: \"5\\\" "
       "pipe\"; accepted: quotes around the whole field, and those inside doubled",
       "some would take the rest of the file for quoted"},
      {"a,b\nx, \"c,d\"\n", kCsv,
       "table.csv:2:4: there is a quote inside a field that does not begin with one: \" "
       "\\\"c,d\\\"\"; accepted: quotes around the whole field, and those inside doubled",
       "a space before the quote"},
      {"\"a\"b\"c,d\"\n", kCsv,
       "table.csv:1:5: there is one more quote behind the closing quote: "
       "\"\\\"a\\\"b\\\"c,d\\\"\"; "
       "accepted: quotes around the whole field, and those inside doubled",
       "text behind the closing quote that opens another"},
      {"a,b\n\xC3\xA4,\"c\nd,e\nf", kCsv,
       "table.csv:2:3: the quote is never closed: \"\\\"c\"; accepted: quotes around the whole "
       "field, and those inside doubled",
       "columns count characters"},
      {"a,b\rc,d\r", kCsv,
       "table.csv:1:4: there is a carriage return without a line feed: \"b\\rc,d\\r\"; accepted: "
       "records that end with LF or CRLF",
       "old line ends"},
      {"a,b\r\r\n", kCsv,
       "table.csv:1:4: there is a carriage return without a line feed: \"b\\r\\r\"; accepted: "
       "records that end with LF or CRLF",
       "line ends converted twice"},
      {"a,b\r", kCsv,
       "table.csv:1:4: there is a carriage return without a line feed: \"b\\r\"; accepted: records "
       "that end with LF or CRLF",
       "at the end of the file"},
      {"a\tb\rc\n", kTsv,
       "table.csv:1:4: there is a carriage return without a line feed: \"b\\rc\"; accepted: "
       "records "
       "that end with LF or CRLF",
       "of a table with tabs"},
      {"a,b\n\"x\ny\"\n", kCsv,
       "table.csv:3:3: column 2 (2) is missing, the record has 1 field: \"\\\"x\\ny\\\"\"; "
       "accepted: "
       "records with all the columns that were asked for",
       "a record that is too short, behind a line end in quotes"},
      {"a,b\nx\n", kCsv,
       "table.csv:2:2: column 2 (2) is missing, the record has 1 field: \"x\"; accepted: records "
       "with all the columns that were asked for",
       "a record that is too short"},
      {"a,b\nx\r\n", kCsv,
       "table.csv:2:2: column 2 (2) is missing, the record has 1 field: \"x\"; accepted: records "
       "with all the columns that were asked for",
       "with CRLF"},
  };
  Cases cases(11);
  for (const auto& r : rows) {
    const Chunk chunk = chunkOf(r.bytes);
    Cells cells;
    splitTable(chunk, r.format, firstColumns(2), cells);
    ASSERT_TRUE(cells.failure) << r.why;
    EXPECT_EQ(cells.failure->status, Status::badData) << r.why;
    EXPECT_EQ(cells.failure->message, r.message) << r.why;
    EXPECT_EQ(cells.cells.size(), 2 * cells.records.size()) << r.why;
    EXPECT_EQ(chunk.bytes().substr(0, cells.end),
              r.bytes[0] == 'a' && r.bytes[3] == '\n' ? "a,b\n" : "")
        << r.why;
    ++cases;
  }
}

TEST(Cells, RecordsHaveALimit) {
  const std::string field(kLongestRecord - 2, 'x');
  const struct {
    std::string bytes;
    Chunk::End end;
    bool good;
    const char* why;
  } rows[] = {
      {"a,b\n" + field + ",y\n", Chunk::End::record, true, "as long as may be"},
      {"a,b\n" + field + "x,y\n", Chunk::End::record, false, "one byte more"},
      {"a,b\n\"" + field + "\",y\n", Chunk::End::record, false, "in quotes"},
      {"a,b\n\"" + field, Chunk::End::limit, false, "a quote left open"},
      {"a,b\nc,d", Chunk::End::limit, false, "a record that was not read to its end"},
  };
  for (const auto& r : rows) {
    Chunk chunk = chunkOf(r.bytes);
    chunk.end = r.end;
    Cells cells;
    splitTable(chunk, kCsv, firstColumns(2), cells);
    EXPECT_EQ(!cells.failure, r.good) << r.why;
    if (!r.good) {
      EXPECT_NE(cells.failure->message.find("table.csv:2:1: the record is too long"),
                std::string::npos)
          << r.why << ": " << cells.failure->message;
      EXPECT_EQ(cells.end, 4u) << r.why;
    }
  }
  Chunk chunk = chunkOf("a,b");
  chunk.end = Chunk::End::limit;
  Cells cells;
  splitTable(chunk, {',', true}, firstColumns(2), cells);
  EXPECT_TRUE(cells.failure) << "a header that was not read to its end";
}

TEST(Cells, LinesAreCells) {
  const Chunk chunk = chunkOf(
      "\xEF\xBB\xBF"
      "a,b\r\n\n\"c\nd");
  Cells cells;
  splitLines(chunk, kLongestLine, cells);
  EXPECT_EQ(textsOf(chunk, cells), (Rows{{"a,b"}, {""}, {"\"c"}, {"d"}}));

  const Chunk tooLong = chunkOf("a\n" + std::string(kLongestLine + 1, 'x') + "\n");
  splitLines(tooLong, kLongestLine, cells);
  ASSERT_TRUE(cells.failure);
  EXPECT_EQ(cells.failure->message.substr(0, 35), "table.csv:2:1: the line is too long");
  EXPECT_EQ(cells.records.size(), 1u);
  EXPECT_EQ(cells.end, 2u);
}

// A random table of bytes that matter, well formed or not.
std::string randomBytes(Random& random, std::size_t longest) {
  constexpr std::string_view kBytes = "\"\"\"\",,\n\n\r\t ab\xC3\xA4";
  std::string bytes;
  const auto size = random.whole(0, static_cast<std::int64_t>(longest));
  for (std::int64_t i = 0; i < size; ++i)
    bytes += kBytes[static_cast<std::size_t>(random.whole(0, kBytes.size() - 1))];
  return bytes;
}

// Cells do not overlap, lie in their records, and these in the chunk; nothing lies between but
// line ends.
void expectInOrder(const Chunk& chunk, const Cells& cells, std::size_t columns) {
  std::size_t at = 0;
  ASSERT_EQ(cells.cells.size(), columns * cells.records.size());
  for (std::size_t i = 0; i < cells.records.size(); ++i) {
    const Record& record = cells.records[i];
    for (; at < record.begin; ++at)
      ASSERT_TRUE(chunk.storage[at] == '\n' || chunk.storage[at] == '\r');
    std::size_t in = record.begin;
    for (std::size_t k = 0; k < columns; ++k) {
      const Cell& cell = cells.cells[i * columns + k];
      ASSERT_LE(in, cell.begin);
      ASSERT_LE(cell.begin, cell.end);
      in = cell.end;
    }
    ASSERT_LE(in, record.end);
    at = record.end;
  }
  ASSERT_LE(at, cells.end);
  ASSERT_LE(cells.end, chunk.size);
}

TEST(Cells, AnyBytesComeOutAsTheyWentIn) {
  Cases cases(ofWhole(200'000));
  Random random(2);
  for (int i = 0; i < ofWhole(100'000); ++i) {
    const Chunk chunk = chunkOf(randomBytes(random, 30));
    for (const TableFormat& format : {kCsv, kTsv}) {
      Cells cells;
      splitTable(chunk, format, firstColumns(1), cells);
      expectInOrder(chunk, cells, 1);
      if (HasFatalFailure()) FAIL() << chunk.bytes();
      std::string out;
      CellWriter writer(chunk, format, out);
      std::string buffer;
      for (const Cell& cell : cells.cells) {
        const std::string_view text = textOf(chunk, cell, buffer);
        // A field with quotes here and there would be written as one that is quoted.
        const bool plain = cell.quoted || text.find('"') == std::string_view::npos;
        if (plain) writer.replace(cell, text);
      }
      writer.finish(cells.end);
      ASSERT_EQ(out, chunk.bytes().substr(0, cells.end));
      ASSERT_EQ(!cells.failure, cells.end == chunk.size) << chunk.bytes();
      ++cases;
    }
  }
}

// A table without quotes and CR as the reader of single fields splits it; of a record that lacks a column, the number of
// its fields.
struct Plain {
  std::vector<std::pair<std::size_t, std::size_t>> cells, records;
  std::size_t end = 0, fieldsOfWrong = 0;
};
Plain splitByFields(std::string_view bytes, const TableFormat& format,
                    const std::vector<Column>& columns) {
  Plain plain;
  while (plain.end < bytes.size()) {
    std::size_t at = plain.end;
    if (bytes[at] == '\n') {
      ++plain.end;
      continue;
    }
    std::vector<Field> fields;
    do {
      FieldError error;
      fields.push_back(readField(bytes, at, format, error).value());
      at = fields.back().next;
    } while (!fields.back().lastOfRecord);
    if (fields.size() <= columns.back().index) {
      plain.fieldsOfWrong = fields.size();
      return plain;
    }
    for (const Column& column : columns)
      plain.cells.emplace_back(fields[column.index].begin, fields[column.index].end);
    plain.records.emplace_back(plain.end, fields.back().end);
    plain.end = at;
  }
  return plain;
}

void expectAsByFields(const std::string& bytes, const TableFormat& format,
                      const std::vector<Column>& columns) {
  const Plain expected = splitByFields(bytes, format, columns);
  // Alone, and with a quote far behind, where it is split in another way.
  for (const char* behind : {"", "\n\"\"\n"}) {
    const Chunk chunk = chunkOf(bytes + behind);
    Cells cells;
    splitTable(chunk, format, columns, cells);
    ASSERT_GE(cells.records.size(), expected.records.size()) << bytes;
    for (std::size_t i = 0; i < expected.records.size(); ++i) {
      ASSERT_EQ(cells.records[i].begin, expected.records[i].first) << bytes;
      ASSERT_EQ(cells.records[i].end, expected.records[i].second) << bytes;
    }
    for (std::size_t i = 0; i < expected.cells.size(); ++i) {
      ASSERT_EQ(cells.cells[i].begin, expected.cells[i].first) << bytes;
      ASSERT_EQ(cells.cells[i].end, expected.cells[i].second) << bytes;
    }
    if (expected.fieldsOfWrong > 0) {
      ASSERT_TRUE(cells.failure) << bytes;
      ASSERT_EQ(cells.end, expected.end) << bytes;
      const std::string told =
          "is missing, the record has " + std::to_string(expected.fieldsOfWrong);
      ASSERT_NE(cells.failure->message.find(told), std::string::npos) << cells.failure->message;
    } else if (*behind == '\0') {
      ASSERT_FALSE(cells.failure) << bytes;
      ASSERT_EQ(cells.records.size(), expected.records.size()) << bytes;
      ASSERT_EQ(cells.end, bytes.size());
    }
  }
}

// Eight bytes are looked at at a time: the bytes here differ from separators and line ends by a bit, or by one.
TEST(Cells, RecordsWithoutQuotesAreSplitAsFieldsAreRead) {
  Cases cases(ofUsual(60'000));
  Random random(4);
  const auto oneOf = [&](std::string_view bytes) {
    return bytes[static_cast<std::size_t>(random.whole(0, std::ssize(bytes) - 1))];
  };
  const std::vector<std::vector<Column>> choices = {
      {{0, "1"}}, {{1, "2"}}, {{0, "1"}, {1, "2"}}, {{0, "1"}, {3, "4"}}, {{2, "3"}, {3, "4"}}};
  for (std::int64_t i = ofUsual(60'000); i > 0; --i) {
    const TableFormat format{oneOf(",\t; |\x01\x7F"), false};
    std::string near;
    for (const char c : {format.separator, '\n'}) {
      for (const int other : {c - 1, c + 1, c ^ 0x80, c ^ 0x20, c | 0x80, 0})
        near += static_cast<char>(other);
    }
    std::erase_if(near, [](char c) { return c == '"' || c == '\r'; });
    std::string bytes;
    for (std::int64_t size = random.whole(0, random.oneIn(4) ? 200 : 24); size > 0; --size) {
      const auto kind = random.whole(0, 9);
      bytes += kind == 0 ? '\n' : kind < 4 ? format.separator : kind < 7 ? oneOf(near) : 'a';
    }
    expectAsByFields(bytes, format, choices[static_cast<std::size_t>(random.whole(0, 4))]);
    if (HasFatalFailure()) return;
    ++cases;
  }
}

// What an error is depends on nothing but what stands before it: the chunks may end anywhere.
TEST(Cells, ChunksMakeNoDifference) {
  Cases cases(ofWhole(80'000));
  Random random(3);
  for (int i = 0; i < ofWhole(10'000); ++i) {
    const std::string text = randomBytes(random, 16);
    const Chunk whole = chunkOf(text);
    const TableFormat format{',', random.oneIn(2)};
    Cells expected;
    splitTable(whole, format, firstColumns(1), expected);
    const Rows expectedRows = textsOf(whole, expected);
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
      const Packets input(
          {std::string_view(text).substr(0, cut), std::string_view(text).substr(cut)});
      Source source("-");
      ChunkReader reader(source, true, 1000);
      Chunk chunk;
      Cells cells;
      Rows rows;
      std::string message;
      while (message.empty() && reader.read(chunk)) {
        splitTable(chunk, format, firstColumns(1), cells);
        for (const auto& row : textsOf(chunk, cells)) rows.push_back(row);
        if (cells.failure) message = "table.csv" + cells.failure->message.substr(1);
      }
      // In a text that ends within quotes it depends on the cut how much of a wrong field is shown.
      const auto told = [](const std::string& text) { return text.substr(0, text.find(": \"")); };
      ASSERT_EQ(rows, expectedRows) << text << " cut at " << cut;
      ASSERT_EQ(told(message), told(expected.failure ? expected.failure->message : "")) << text;
      ++cases;
    }
  }
}

}  // namespace
}  // namespace plx
