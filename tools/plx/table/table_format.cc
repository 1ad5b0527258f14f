#include "table/table_format.h"

#include "messages/letters.h"

namespace plx {

std::optional<char> separatorOf(std::string_view path) {
  if (endsInAnyCase(path, ".tsv") || endsInAnyCase(path, ".tab")) return '\t';
  return std::nullopt;
}

std::optional<char> separatorNamed(std::string_view text) {
  if (text == "tab" || text == "\\t") return '\t';
  if (text == "space") return ' ';
  if (text.size() != 1 || static_cast<unsigned char>(text[0]) > 0x7E) return std::nullopt;
  const bool isPart = text[0] == '"' || text[0] == '\n' || text[0] == '\r' || text[0] == '\0';
  return isPart ? std::nullopt : std::optional(text[0]);
}

std::string nameOfSeparator(char separator) {
  if (separator == '\t') return "tab";
  if (separator == ' ') return "space";
  return {'\'', separator, '\''};
}

}  // namespace plx
