#include "stream/output.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "messages/message.h"

namespace plx {

namespace {

// For a descriptor that another program has made non-blocking.
void waitForRoom(int descriptor) {
  struct pollfd polled = {descriptor, POLLOUT, 0};
  ::poll(&polled, 1, -1);
}

}  // namespace

void Output::flush() {
  std::string text;
  text.swap(text_);
  write(text);
  text.clear();
  text_.swap(text);  // keeps its memory
}

void Output::write(std::string_view bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = ::write(descriptor_, bytes.data() + done, bytes.size() - done);
    if (count >= 0) {
      done += static_cast<std::size_t>(count);
    } else if (errno == EAGAIN) {
      waitForRoom(descriptor_);
    } else if (errno != EINTR) {
      const int error = errno;
      takeBack(done);
      if (error == EPIPE) throw Failure{Status::inputOutput, ""};
      throw Failure{Status::inputOutput,
                    name_ + (name_.empty() ? "" : ": ") + "cannot write: " + std::strerror(error)};
    }
  }
}

void Output::takeBack(std::size_t written) const {
  struct stat info;
  const int flags = ::fcntl(descriptor_, F_GETFL);
  if (written == 0 || flags < 0 || (flags & O_APPEND) != 0) return;
  if (::fstat(descriptor_, &info) != 0 || !S_ISREG(info.st_mode)) return;
  const off_t end = ::lseek(descriptor_, 0, SEEK_CUR);
  if (end != info.st_size) return;  // something else has been written after it
  const off_t begin = end - static_cast<off_t>(written);
  if (::ftruncate(descriptor_, begin) == 0) ::lseek(descriptor_, begin, SEEK_SET);
}

}  // namespace plx
