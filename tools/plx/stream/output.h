// Standard output, gathered into large pieces.
#pragma once

#include <string>
#include <string_view>

namespace plx {

class Output {
 public:
  explicit Output(int descriptor) : descriptor_(descriptor) {}

  // Whatever is appended here goes out with the next flush.
  std::string& text() { return text_; }

  // Throws a Failure of Status::inputOutput; without a message where the reader of a pipe is gone,
  // as it has what it wants.
  void flush();

 private:
  int descriptor_;
  std::string text_;
};

}  // namespace plx
