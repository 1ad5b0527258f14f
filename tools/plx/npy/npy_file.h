// An .npy file, its elements mapped into memory as they are wanted.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "npy/header.h"

namespace plx {

// Whether a regular file begins as .npy files do. False where it cannot be read.
bool isNpyFile(const std::string& path);

// Whether standard input, a file or a pipe, begins so. Waits for its first bytes and leaves them there.
bool isNpyInput();
// The path of a file with what standard input has: of itself, or of a copy without a name of what comes through
// a pipe. Throws a Failure of Status::inputOutput.
std::string pathOfNpyInput();

class NpyFile {
 public:
  // Throws a Failure of Status::inputOutput where it cannot be mapped, and of Status::badData where
  // it is no array that is read here.
  explicit NpyFile(const std::string& path) : NpyFile(path, path) {}
  // The same, with a name for messages.
  NpyFile(const std::string& path, const std::string& name);
  ~NpyFile();
  NpyFile(const NpyFile&) = delete;
  NpyFile& operator=(const NpyFile&) = delete;

  // The path, fit to begin a message.
  const std::string& name() const { return name_; }
  const NpyHeader& header() const { return layout_.header; }

  // The elements from that one on, in the order of the file, as long as this object lives. Throws a
  // Failure of Status::inputOutput where the file has become shorter; to read elements that it lost
  // meanwhile ends the program with the same message (stream/signals.h).
  const char* elements(std::uint64_t first) const;

  // The elements before that one are not wanted for now, and their pages may go: however large the
  // file, little of it is in memory then.
  void release(std::uint64_t end);

 private:
  void close();
  std::string shorter() const;

  std::string name_;
  int descriptor_ = -1;
  char* bytes_ = nullptr;
  std::size_t size_ = 0;
  std::size_t released_ = 0;
  NpyLayout layout_;
};

}  // namespace plx
