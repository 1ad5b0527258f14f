// Tables of text: values separated by commas, tabs, semicolons or another character.
//
// As RFC 4180 has it: records end with CRLF or LF, the last one perhaps without; a field in double
// quotes may contain separators, line ends, and quotes, which are doubled. A byte-order mark may
// stand before the first record. With another separator the rest is the same.
//
// Beyond that standard, what can be read in one way only passes as it is: a field with text before
// or behind its quotes ("a"b, or a"b"c) is taken with its quotes, if those are even in number. Where
// they are not (5" pipe), programs differ about where the field ends, and that is an error; likewise
// a CR outside quotes without its LF, and a quote that the file does not close.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace plx {

// How long a record may be, in bytes, unless that is told. More is held to be a quote that was left
// open.
inline constexpr std::size_t kLongestRecord = std::size_t{4} << 20;

struct TableFormat {
  char separator = ',';
  bool header = true;  // the first record holds the names of the columns
  std::size_t longest = kLongestRecord;
};

// Whether a character around a field is no part of what the field says.
inline bool isBlank(char c, const TableFormat& format) {
  return (c == ' ' || c == '\t') && c != format.separator;
}

// The separator that a file's name tells: a tab for .tsv and .tab, in any letter case; nothing for
// other names, as .csv stands for commas and semicolons.
std::optional<char> separatorOf(std::string_view path);

// The separator that is told by a character of ASCII, or as `tab` or `space`; nothing for a text that
// tells none, and for quotes and line ends.
std::optional<char> separatorNamed(std::string_view text);

// A separator as it is told, for messages: ';' or tab.
std::string nameOfSeparator(char separator);

}  // namespace plx
