// Standard output or another descriptor, in large pieces.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace plx {

class Output {
 public:
  // name: of a file, to begin messages with.
  explicit Output(int descriptor, std::string name = "")
      : descriptor_(descriptor), name_(std::move(name)) {}

  int descriptor() const { return descriptor_; }

  // Whatever is appended here goes out with the next flush.
  std::string& text() { return text_; }
  void flush();

  // Writes whole records. Throws a Failure of Status::inputOutput; without a message where the reader
  // of a pipe is gone, as it has what it wants. Of a regular file the part of `bytes` that was written
  // by then is taken back, so that a full disk leaves whole records; not of one that is appended to,
  // where others may write as well. What is in a pipe or on a terminal stays.
  void write(std::string_view bytes);

 private:
  void takeBack(std::size_t written) const;

  int descriptor_;
  std::string name_;
  std::string text_;
};

}  // namespace plx
