#include "npy/npy_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "messages/message.h"

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

NpyFile::NpyFile(const std::string& path) : name_(path.empty() ? "\"\"" : escapeText(path)) {
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
    layout_ = readNpyHeader({bytes_, size_}, name_);
  } catch (...) {
    if (bytes_ != nullptr) ::munmap(bytes_, size_);
    ::close(descriptor_);
    throw;
  }
}

NpyFile::~NpyFile() {
  ::munmap(bytes_, size_);
  ::close(descriptor_);
}

const char* NpyFile::elements(std::uint64_t first) const {
  struct stat info;
  if (::fstat(descriptor_, &info) != 0) throw failure(name_, "cannot read");
  if (static_cast<std::size_t>(info.st_size) < size_) {
    throw Failure{Status::inputOutput,
                  name_ + ": the file has become shorter while it was being read"};
  }
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
