// Finds the values at some paths in a JSON text, and checks the whole text against the grammar.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "json/json_text.h"
#include "messages/message.h"

namespace plx {

struct JsonValue {
  enum class Kind {
    absent,  // an object without the key, an array that is shorter, or null on the way there
    null,
    string,  // from begin to end, its quotes just outside
    number,
  };
  Kind kind = Kind::absent;
  std::size_t begin = 0, end = 0;  // in the text
  bool escaped = false;            // a string with escapes
};

// What is wrong with a text, and where.
struct JsonError {
  Complaint complaint;
  std::size_t at = 0;
};

class JsonReader {
 public:
  // How many bytes after a text have to be readable, whatever they are.
  static std::size_t padding();

  explicit JsonReader(const std::vector<JsonPath>& paths);
  ~JsonReader();
  JsonReader(const JsonReader&) = delete;
  JsonReader& operator=(const JsonReader&) = delete;

  // Reads one text, and gives one value for each path, in the order of the paths. Returns what is wrong where
  // the text is not JSON, where a value is neither string, number nor null, or where a key on the way to a
  // value occurs twice; else nothing.
  std::optional<JsonError> read(std::string_view text, std::vector<JsonValue>& values);

 private:
  struct Walk;
  std::unique_ptr<Walk> walk_;
};

}  // namespace plx
