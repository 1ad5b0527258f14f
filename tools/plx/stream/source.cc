#include "stream/source.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "messages/message.h"

namespace plx {

namespace {

// The bytes of a regular file from its position to its end.
std::optional<std::uint64_t> sizeOf(int descriptor) {
  struct stat info;
  if (::fstat(descriptor, &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  const off_t at = ::lseek(descriptor, 0, SEEK_CUR);
  return static_cast<std::uint64_t>(std::max<off_t>(info.st_size - std::max<off_t>(at, 0), 0));
}

}  // namespace

Source::Source(const std::string& path)
    : descriptor_(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)),
      name_(escapeText(path)) {
  if (descriptor_ < 0) fail("open");
  size_ = sizeOf(descriptor_);
}

Source::~Source() {
  if (descriptor_ != STDIN_FILENO) ::close(descriptor_);
  for (const int end : wake_) {
    if (end >= 0) ::close(end);
  }
}

std::size_t Source::receive(char* to, std::size_t room) {
  // Polls before reading only where another thread may end the wait, or where there was nothing to read.
  bool wait = wake_[0] >= 0;
  for (;;) {
    if (wait && !waitForBytes()) return 0;
    const ssize_t count = ::read(descriptor_, to, room);
    if (count == 0) refuseShorter();
    if (count >= 0) {
      received_ += static_cast<std::uint64_t>(count);
      return static_cast<std::size_t>(count);
    }
    wait = wait || errno == EAGAIN;  // someone else made the descriptor non-blocking
    if (errno != EINTR && errno != EAGAIN) fail("read");
  }
}

// Some files, such as the kernel's, report more bytes than they have; but their reported size does not change.
void Source::refuseShorter() const {
  if (!size_ || received_ >= *size_) return;
  struct stat info;
  if (::fstat(descriptor_, &info) != 0) fail("read");
  const off_t at = ::lseek(descriptor_, 0, SEEK_CUR);
  if (info.st_size > at) return;
  throw Failure{Status::inputOutput,
                fmt::format("{}: the file became shorter while it was read, by {} bytes at least",
                            name_, *size_ - received_)};
}

bool Source::isWrittenBy(int descriptor) const {
  struct stat own, other;
  return ::fstat(descriptor_, &own) == 0 && ::fstat(descriptor, &other) == 0 &&
         S_ISREG(own.st_mode) && own.st_dev == other.st_dev && own.st_ino == other.st_ino &&
         own.st_size > 0;
}

// False where wakeUp was called.
bool Source::waitForBytes() {
  struct pollfd polled[] = {{descriptor_, POLLIN, 0}, {wake_[0], POLLIN, 0}};
  while (::poll(polled, 2, -1) < 0) {
    if (errno != EINTR) fail("read");
  }
  return polled[1].revents == 0;
}

void Source::allowWakeUp() {
  if (size_ || wake_[0] >= 0) return;  // reading a file never waits
  if (::pipe2(wake_, O_CLOEXEC) != 0) fail("read");
}

void Source::wakeUp() {
  if (wake_[1] < 0) return;
  // One byte that nobody takes out; there is always room for it.
  while (::write(wake_[1], "", 1) < 0 && errno == EINTR) continue;
}

void Source::fail(const char* action) const {
  throw Failure{Status::inputOutput,
                fmt::format("{}: cannot {}: {}", name_, action, std::strerror(errno))};
}

}  // namespace plx
