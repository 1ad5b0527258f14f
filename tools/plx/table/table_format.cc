#include "table/table_format.h"

#include <algorithm>

namespace plx {

namespace {

bool endsWith(std::string_view path, std::string_view ending) {
  if (path.size() < ending.size()) return false;
  const std::string_view tail = path.substr(path.size() - ending.size());
  return std::equal(tail.begin(), tail.end(), ending.begin(), [](char c, char lower) {
    return c == lower || ('A' <= c && c <= 'Z' && c - 'A' + 'a' == lower);
  });
}

}  // namespace

std::optional<char> separatorOf(std::string_view path) {
  if (endsWith(path, ".csv")) return ',';
  if (endsWith(path, ".tsv") || endsWith(path, ".tab")) return '\t';
  return std::nullopt;
}

}  // namespace plx
