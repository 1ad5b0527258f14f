// The texts to work on in a chunk: lines, or chosen fields of the rows of a table.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "messages/message.h"
#include "stream/chunk.h"
#include "table/columns.h"
#include "table/field_reader.h"
#include "table/table_format.h"

namespace plx {

// A field or a line, as positions in the chunk's bytes. The quotes around a field stand just outside.
struct Cell {
  std::size_t begin, end;
  bool quoted = false;   // in quotes
  bool doubled = false;  // in quotes, with doubled quotes inside; in JSON, with escapes
};

// A record that is not empty, without its line end.
struct Record {
  std::size_t begin, end;
};

// A record in which nothing can be worked on.
struct WrongRecord {
  std::size_t record;  // its index in Cells::records
  std::size_t at;      // the byte that is wrong
  Complaint complaint;
};

struct Cells {
  std::vector<Cell> cells;      // for each record one for each column, in the order of the chunk
  std::vector<Record> records;  // without the header
  std::size_t end = 0;          // after the last record, its line end and empty lines
  // What is wrong with the record that begins at `end`; the chunk is not read further.
  std::optional<Failure> failure;

  // Of JSON lines and logs, whose records end with their lines, whatever is in them:
  std::vector<WrongRecord> wrong;    // in the order of the records
  std::vector<std::size_t> present;  // for each column, in how many records it is
};

void clear(Cells& cells);

// Each line of a chunk is a record with one cell, its text without a byte-order mark; empty lines
// too. A failure is a line longer than `longest` bytes.
void splitLines(const Chunk& chunk, std::size_t longest, Cells& cells);

// The records of a chunk of a table with the fields of the columns; neither the header nor empty
// lines. A failure is a record that lacks one of the columns, is too long, or can be read in more
// than one way.
void splitTable(const Chunk& chunk, const TableFormat& format, const std::vector<Column>& columns,
                Cells& cells);

// Takes the blanks around the text out of each cell.
void dropBlanks(const Chunk& chunk, const TableFormat& format, Cells& cells);

// The text of a cell. In `buffer` where quotes had to be undoubled, else in the chunk.
std::string_view textOf(const Chunk& chunk, const Cell& cell, std::string& buffer);

// "name:line:column" of a byte of the chunk, for messages: the line from 1, and the column in
// characters of UTF-8 from 1; of a chunk that begins with line 0, which stands for no file, its name
// alone. Goes through the chunk from its start.
std::string location(const Chunk& chunk, std::size_t at);

// What is wrong with a field, told with its first line.
Failure uncertainField(const Chunk& chunk, const FieldError& error);

}  // namespace plx
