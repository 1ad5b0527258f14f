#include "npy/npy_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "messages/message.h"
#include "stream/signals.h"

namespace plx {

namespace {

// What is given back at once; a multiple of the size of all pages.
constexpr std::size_t kWindow = std::size_t{4} << 20;

Failure failure(const std::string& name, const char* what) {
  return {Status::inputOutput, fmt::format("{}: {}: {}", name, what, std::strerror(errno))};
}

bool readStart(int descriptor, char* bytes, std::size_t count) {
  return ::pread(descriptor, bytes, count, 0) == static_cast<ssize_t>(count);
}

// The first bytes of a pipe at standard input, as many as the mark of .npy files has or as there are, which stay
// in it: another pipe gets a copy.
std::string startOfPipe() {
  std::string start;
  for (;;) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return {};
    const ssize_t there = ::tee(STDIN_FILENO, ends[1], kNpyMagic.size(), 0);
    start.resize(kNpyMagic.size());
    const ssize_t count = there <= 0 ? there : ::read(ends[0], start.data(), start.size());
    ::close(ends[0]);
    ::close(ends[1]);
    if (count < 0 && errno == EINTR) continue;
    start.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    const bool mayGoOn =
        !start.empty() && start.size() < kNpyMagic.size() && kNpyMagic.starts_with(start);
    struct pollfd writer = {STDIN_FILENO, 0, 0};
    if (!mayGoOn || ::poll(&writer, 1, 0) != 0) return start;  // or nobody writes to it any more
    ::usleep(1000);
  }
}

}  // namespace

bool isNpyFile(const std::string& path) {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return false;
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  char start[kNpyMagic.size()];
  const bool is = readStart(descriptor, start, sizeof start) &&
                  std::string_view(start, sizeof start) == kNpyMagic;
  ::close(descriptor);
  return is;
}

bool isNpyInput() {
  struct stat info;
  if (::fstat(STDIN_FILENO, &info) != 0) return false;
  if (S_ISREG(info.st_mode)) {
    char start[kNpyMagic.size()];
    return ::lseek(STDIN_FILENO, 0, SEEK_CUR) == 0 &&
           readStart(STDIN_FILENO, start, sizeof start) &&
           std::string_view(start, sizeof start) == kNpyMagic;
  }
  return S_ISFIFO(info.st_mode) && kNpyMagic == startOfPipe();
}

std::string pathOfNpyInput() {
  struct stat info;
  if (::fstat(STDIN_FILENO, &info) == 0 && S_ISREG(info.st_mode)) return "/dev/stdin";
  std::FILE* const copy = std::tmpfile();  // closed, and so gone, at the end of the program
  if (copy == nullptr) throw failure("-", "cannot keep");
  const std::unique_ptr<char[]> buffer(new char[kWindow]);
  for (;;) {
    const ssize_t count = ::read(STDIN_FILENO, buffer.get(), kWindow);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw failure("-", "cannot read");
    if (count == 0) break;
    if (std::fwrite(buffer.get(), 1, static_cast<std::size_t>(count), copy) !=
        static_cast<std::size_t>(count))
      throw failure("-", "cannot keep");
  }
  if (std::fflush(copy) != 0) throw failure("-", "cannot keep");
  return fmt::format("/proc/self/fd/{}", ::fileno(copy));
}

NpyFile::NpyFile(const std::string& path, const std::string& name) : name_(escapeText(name)) {
  descriptor_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor_ < 0) throw failure(name_, "cannot open");
  try {
    struct stat info;
    if (::fstat(descriptor_, &info) != 0) throw failure(name_, "cannot read");
    if (!S_ISREG(info.st_mode)) {
      throw Failure{Status::inputOutput,
                    name_ + ": not a regular file; arrays are read from those"};
    }
    size_ = static_cast<std::size_t>(info.st_size);
    if (size_ > 0) {
      void* mapped = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, descriptor_, 0);
      if (mapped == MAP_FAILED) throw failure(name_, "cannot map");
      bytes_ = static_cast<char*>(mapped);
    }
    tellOnShortFile(bytes_, size_, shorter());
    layout_ = readNpyHeader({bytes_, size_}, name_);
  } catch (...) {
    close();
    throw;
  }
}

NpyFile::~NpyFile() { close(); }

void NpyFile::close() {
  forgetShortFile(bytes_);
  if (bytes_ != nullptr) ::munmap(bytes_, size_);
  ::close(descriptor_);
}

std::string NpyFile::shorter() const {
  return name_ + ": the file has become shorter while it was being read";
}

const char* NpyFile::elements(std::uint64_t first) const {
  struct stat info;
  if (::fstat(descriptor_, &info) != 0) throw failure(name_, "cannot read");
  if (static_cast<std::size_t>(info.st_size) < size_) throw Failure{Status::inputOutput, shorter()};
  return bytes_ + layout_.dataStart + first * layout_.header.type.bytes;
}

void NpyFile::release(std::uint64_t end) {
  const std::size_t byte = layout_.dataStart + end * layout_.header.type.bytes;
  const std::size_t windows = byte / kWindow * kWindow;
  if (windows <= released_) return;
  // A hint: where it is not taken, nothing is lost.
  ::madvise(bytes_ + released_, windows - released_, MADV_DONTNEED);
  released_ = windows;
}

}  // namespace plx
