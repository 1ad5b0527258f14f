// A file, a pipe or standard input, as bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace plx {

class Source {
 public:
  // Standard input for "-". Throws a Failure of Status::inputOutput where nothing can be opened.
  explicit Source(const std::string& path);
  ~Source();
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  // Waits for bytes, and reads at most `room` of those that are there into `to`. Returns how many; 0 at
  // the end, or when `wakeUp` was called. Throws a Failure where reading fails, and at the end of a file
  // that has become shorter since it was opened.
  std::size_t receive(char* to, std::size_t room);

  // From here on another thread may call wakeUp, which ends all waiting in receive, now and later.
  void allowWakeUp();
  void wakeUp();

  // Whether a descriptor leads to the same regular file, which is not empty: what is written to it would
  // be read again.
  bool isWrittenBy(int descriptor) const;

  // The path, fit to begin a message.
  const std::string& name() const { return name_; }
  // The bytes of a file from its position at the beginning; nothing for pipes, terminals and the like.
  std::optional<std::uint64_t> size() const { return size_; }

 private:
  bool waitForBytes();
  void refuseShorter() const;
  [[noreturn]] void fail(const char* action) const;

  int descriptor_;
  std::string name_;
  std::optional<std::uint64_t> size_;
  std::uint64_t received_ = 0;
  int wake_[2] = {-1, -1};  // a pipe, where wakeUp is allowed and waiting possible
};

}  // namespace plx
