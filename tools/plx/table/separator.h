// The columns of a table by its header, and the separator where nobody has told it: what the header can
// be read with.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "stream/chunk.h"
#include "table/columns.h"
#include "table/table_format.h"

namespace plx {

// The columns that are asked for, ascending, in the header in the first chunk of a source. Where the
// separator is not told, it becomes that of comma, semicolon, tab and vertical bar with which the header
// has these columns and others; a comma where there is none. Throws a Failure as readHeader and
// chooseColumns do, and of Status::usage where there are several such separators.
std::vector<Column> chooseByHeader(const Chunk* chunk, TableFormat& format, bool separatorIsTold,
                                   const std::vector<std::string>& asked, std::string_view source);

// Whether the first line begins as an object of JSON does.
bool looksLikeJson(const Chunk* chunk);

// The names of the columns that the first line of a text seems to have, for messages; empty where it looks
// like no header: one column alone, or a number among the names.
std::string columnsInSight(const Chunk* chunk);

}  // namespace plx
