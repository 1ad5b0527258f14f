// Where a text breaks the grammar of JSON (RFC 8259).
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace plx {

struct JsonFault {
  const char* what;
  std::size_t at;
};

// The first place where a text is not one JSON value; nothing where it is one. UTF-8 is not checked.
// The library behind JsonReader is faster, but what it tells of a fault differs from release to release.
std::optional<JsonFault> findJsonFault(std::string_view text);

}  // namespace plx
