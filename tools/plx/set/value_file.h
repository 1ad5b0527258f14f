// A file of values, one a line, in step with the datetimes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "stream/line_reader.h"

namespace plx {

class ValueFile {
 public:
  // Standard input for "-". Throws a Failure of Status::inputOutput where it cannot be opened.
  explicit ValueFile(const std::string& path) : reader_(path) {}

  // The next line, valid until the next call; nothing where none is left. Throws a Failure for a
  // line that is too long and where reading fails.
  std::optional<Line> next();
  // Skips an empty line, if the next one is: for an empty line among the datetimes.
  void skipEmptyLine();
  // After the last datetime; throws a Failure of Status::badData where a value is left over.
  void finish();

  // The path, fit to begin a message.
  const std::string& name() const { return reader_.name(); }

 private:
  bool fill();

  LineReader reader_;
  std::vector<Line> lines_;
  std::size_t next_ = 0;
};

}  // namespace plx
