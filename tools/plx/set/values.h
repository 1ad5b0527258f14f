// The new values: one for all datetimes, or one for each from the lines of a file.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/message.h"
#include "set/components.h"
#include "stream/line_reader.h"

namespace plx {

class Values {
 public:
  // A number, or "@FILE" for a file of them. Throws a Failure for a text that is no number or none
  // that the component takes, and for a file that cannot be opened.
  Values(const std::string& text, const Component& component);

  // The value of the next datetime; nothing, and a complaint about that one, where none is left.
  // Throws a Failure for a line that is no value.
  std::optional<double> next(Complaint& complaint);
  // An empty line among the datetimes: one among the values goes with it.
  void skipEmptyLine();
  // After the last datetime; throws a Failure where a value is left over.
  void finish();

  // A Failure about the value that `next` gave last.
  Failure failure(const Complaint& complaint) const;

 private:
  bool fill();
  double parse() const;

  const Component& component_;
  std::string text_;   // of the last value
  std::string where_;  // of the one value for all
  double value_ = 0;
  std::unique_ptr<LineReader> file_;
  std::vector<Line> lines_;
  std::size_t nextLine_ = 0, lastLine_ = 0;
};

}  // namespace plx
