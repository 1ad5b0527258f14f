// The columns of a table by name and number.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "stream/chunk.h"
#include "table/table_format.h"

namespace plx {

struct Column {
  std::size_t index;  // from 0
  std::string name;   // as it was asked for
};

// The first record of a table.
struct Header {
  std::size_t begin = 0, end = 0;  // in the first chunk, without the line end
  std::vector<std::string> names;  // unquoted, without blanks around them
};

// A column's name as it is compared with others: blanks around it are no part of it.
std::string_view withoutBlanks(std::string_view text, const TableFormat& format);

// The header in the first chunk of a source; `chunk` is null for an empty source, of which `source`
// is the name. Throws a Failure of Status::badData where there is none or it cannot be read.
Header readHeader(const Chunk* chunk, const TableFormat& format, std::string_view source);

// The columns that were asked for, ascending: each by its name, or where no column has that name by
// its number, from 1. Throws a Failure of Status::unknownName that lists the names there are; also
// for a name of two columns and for a column asked for twice.
std::vector<Column> chooseColumns(const Header& header, const std::vector<std::string>& asked,
                                  std::string_view source);

// Names for messages; of many, the first ones.
std::string listOfNames(const std::vector<std::string>& names);

// The same for a table without a header: by number only.
std::vector<Column> chooseColumns(const std::vector<std::string>& asked);

}  // namespace plx
