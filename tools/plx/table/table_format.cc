#include "table/table_format.h"

#include "messages/letters.h"

namespace plx {

std::optional<char> separatorOf(std::string_view path) {
  if (endsInAnyCase(path, ".csv")) return ',';
  if (endsInAnyCase(path, ".tsv") || endsInAnyCase(path, ".tab")) return '\t';
  return std::nullopt;
}

}  // namespace plx
