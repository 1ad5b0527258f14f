#include "stream/output_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <random>
#include <string_view>
#include <utility>

#include "messages/message.h"
#include "stream/attributes.h"
#include "stream/signals.h"

namespace plx {

namespace {

namespace fs = std::filesystem;

// As many as the system follows.
constexpr int kMostLinks = 40;

// Opened by their names, these would begin at the start of the file that they are.
std::optional<int> openedDescriptor(std::string_view path) {
  if (path == "-" || path == "/dev/stdout") return STDOUT_FILENO;
  if (path == "/dev/stderr") return STDERR_FILENO;
  for (const std::string_view folder : {"/dev/fd/", "/proc/self/fd/"}) {
    if (!path.starts_with(folder)) continue;
    int descriptor = 0;
    const char* end = path.data() + path.size();
    const auto result = std::from_chars(path.data() + folder.size(), end, descriptor);
    if (result.ec == std::errc() && result.ptr == end) return descriptor;
  }
  return std::nullopt;
}

// Where the links end, whether there is a file or not.
fs::path withoutLinks(fs::path path) {
  std::error_code error;
  for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(path, error)); ++i) {
    const fs::path to = fs::read_symlink(path, error);
    path = to.is_absolute() ? to : path.parent_path() / to;
  }
  return path;
}

// A file of a new name in a folder, opened for writing; negative, and errno, where there cannot be one.
// mkostemp knows one mode alone.
int openNew(const fs::path& folder, mode_t mode, std::string& path) {
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz0123456789";
  std::random_device random;
  for (int i = 0; i < 100; ++i) {
    std::string name = ".plx-";
    for (int k = 0; k < 8; ++k) name += kLetters[random() % kLetters.size()];
    path = (folder / name).string();
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (descriptor >= 0 || errno != EEXIST) return descriptor;
  }
  return -1;
}

// Without this, a crash of the system may undo the renaming. Not all file systems know it.
void syncFolder(const fs::path& folder) {
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  ::fsync(descriptor);
  ::close(descriptor);
}

fs::path folderOf(const fs::path& file) {
  return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

}  // namespace

// By way of the other constructor, so that the destructor clears up whatever ends this one.
OutputFile::OutputFile(const std::string& path) : OutputFile() {
  name_ = path.empty() ? "\"\"" : escapeText(path);
  if (const auto opened = openedDescriptor(path)) {
    descriptor_ = ::fcntl(*opened, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (descriptor_ < 0) fail("open");
    return;
  }
  struct stat old;
  const bool exists = ::stat(path.c_str(), &old) == 0;
  if (!exists && (errno != ENOENT || path.empty())) fail("open");
  if (exists && !S_ISREG(old.st_mode)) {
    descriptor_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor_ < 0) fail("open");
    return;
  }
  // Renaming needs no right to write to the file, but replacing what is protected is not meant.
  if (exists && ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) fail("write");
  replaces_ = exists;
  target_ = withoutLinks(path).string();
  openTemporary();
  // What cannot be kept is told before the work is done.
  keepAttributes();
}

OutputFile::~OutputFile() { discard(); }

void OutputFile::openTemporary() {
  // What a new file may be read by is for the system to say, which knows the umask and the folder's
  // default list. Another one is its owner's alone until it has the rights of the old file.
  const mode_t mode = replaces_ ? 0600 : 0666;
  std::string name;
  const SignalsHeld held;
  descriptor_ = openNew(folderOf(target_), mode, name);
  if (descriptor_ < 0) fail("create a temporary file beside it");
  temporary_ = std::move(name);
  removeOnSignal(temporary_);
}

void OutputFile::keepAttributes() {
  if (!replaces_ || ::access(target_.c_str(), F_OK) != 0) return;  // it may be gone by now
  const auto loss = copyAttributes(target_, descriptor_);
  if (!loss) return;
  throw Failure{
      Status::inputOutput,
      fmt::format(
          "{}: cannot keep {}: {}; it is left as it was; accepted: another file, or, unless it "
          "is the input, > {} in place of -o, which writes into the file as it is",
          name_, loss->what, std::strerror(loss->error), name_)};
}

void OutputFile::commit() {
  if (!temporary_.empty()) {
    // Writing takes special bits and capabilities away, and the old file may have changed.
    keepAttributes();
    if (::fsync(descriptor_) != 0) fail("write");
  }
  // Some file systems tell only now that the disk is full.
  if (::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR) fail("write");
  if (temporary_.empty()) return;
  {
    const SignalsHeld held;
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) fail("replace");
    keepOnSignal();
    temporary_.clear();
  }
  syncFolder(folderOf(target_));
}

void OutputFile::discard() {
  if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
  if (temporary_.empty()) return;
  const SignalsHeld held;
  ::unlink(temporary_.c_str());
  keepOnSignal();
  temporary_.clear();
}

void OutputFile::fail(const char* action) {
  const int error = errno;
  throw Failure{Status::inputOutput,
                fmt::format("{}: cannot {}: {}", name_, action, std::strerror(error))};
}

}  // namespace plx
