#include "stream/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

#include "base/message.h"

namespace plx {

void Output::flush() {
  std::string_view rest = text_;
  while (!rest.empty()) {
    const ssize_t written = ::write(descriptor_, rest.data(), rest.size());
    if (written >= 0) {
      rest.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      const int error = errno;
      text_.clear();
      throw Failure{
          Status::inputOutput,
          error == EPIPE ? std::string() : std::string("cannot write: ") + std::strerror(error)};
    }
  }
  text_.clear();
}

}  // namespace plx
