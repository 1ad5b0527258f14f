// Tables of text: comma-separated and tab-separated values.
//
// As RFC 4180 has it: records end with CRLF or LF, the last one perhaps without; a field in double
// quotes may contain separators, line ends, and quotes, which are doubled. A byte-order mark may
// stand before the first record. Tab-separated values are the same with a tab.
//
// Beyond that standard, what can be read in one way only passes as it is: a field with text before
// or behind its quotes ("a"b, or a"b"c) is taken with its quotes, if those are even in number. Where
// they are not (5" pipe), programs differ about where the field ends, and that is an error; likewise
// a CR outside quotes without its LF, and a quote that the file does not close.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace plx {

struct TableFormat {
  char separator = ',';
  bool header = true;  // the first record holds the names of the columns
};

// How long a record may be, in bytes. More is held to be a quote that was left open.
inline constexpr std::size_t kLongestRecord = std::size_t{4} << 20;

// The separator that a file's name tells: a comma for .csv, a tab for .tsv and .tab, in any letter
// case; nothing for other names.
std::optional<char> separatorOf(std::string_view path);

}  // namespace plx
