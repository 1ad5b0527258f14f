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

// As many links in a row as the system follows.
constexpr int kMostLinks = 40;

// The descriptor that a name such as /dev/stdout means: opened by that name, a file would be written from its start.
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
// mkostemp, which does this with mode 0600 alone, does not serve.
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
  name_ = escapeText(path);
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
  replaces_ = exists;
  begin(path);
}

OutputFile::OutputFile(const std::string& path, const InPlace& inPlace) : OutputFile() {
  name_ = escapeText(path);
  inPlace_ = inPlace;
  if (::stat(path.c_str(), &old_) != 0) fail("open");
  if (!S_ISREG(old_.st_mode)) {
    throw Failure{Status::inputOutput,
                  fmt::format("{}: cannot be changed in place; accepted: regular files", name_)};
  }
  replaces_ = true;
  begin(path);
  struct stat backup;
  if (inPlace_->backupSuffix && ::lstat(backupPath().c_str(), &backup) == 0 && !hasBackup())
    failBackup(EEXIST);
}

OutputFile::~OutputFile() { discard(); }

void OutputFile::begin(const std::string& path) {
  // Renaming needs no right to write to the file, but a file that is write-protected shall not be replaced.
  if (replaces_ && ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) fail("write");
  target_ = withoutLinks(path).string();
  openTemporary();
  // What cannot be kept is told before the work is done.
  keepAttributes();
}

void OutputFile::openTemporary() {
  // The system decides who may read a new file, by the umask and the folder's default list. One that
  // replaces a file is its owner's alone until it has the rights of the old file.
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
  const std::string instead =
      inPlace_ ? "-o and another file"
               : fmt::format(
                     "another file, or, unless it is the input, > {} in place of -o, which "
                     "writes into the file as it is",
                     name_);
  throw Failure{Status::inputOutput,
                fmt::format("{}: cannot keep {}: {}; it is left as it was; accepted: {}", name_,
                            loss->what, std::strerror(loss->error), instead)};
}

// Refuses to replace an input that others have written to meanwhile: what they wrote would be lost.
void OutputFile::refuseChangedInput() const {
  struct stat now;
  if (!inPlace_ || ::stat(target_.c_str(), &now) != 0) return;  // gone, and nothing is lost
  const bool isSame = now.st_dev == old_.st_dev && now.st_ino == old_.st_ino &&
                      now.st_size == old_.st_size && now.st_mtim.tv_sec == old_.st_mtim.tv_sec &&
                      now.st_mtim.tv_nsec == old_.st_mtim.tv_nsec;
  if (isSame) return;
  throw Failure{
      Status::inputOutput,
      fmt::format("{}: was changed by something else while plx worked on it; it is left as "
                  "it is now; accepted: files that nothing else writes to",
                  name_)};
}

std::string OutputFile::backupPath() const { return target_ + *inPlace_->backupSuffix; }

// Whether the backup is there, from a run that was ended before it could replace the file.
bool OutputFile::hasBackup() const {
  struct stat old, backup;
  return ::stat(target_.c_str(), &old) == 0 && ::lstat(backupPath().c_str(), &backup) == 0 &&
         old.st_dev == backup.st_dev && old.st_ino == backup.st_ino;
}

// Two names of one file until the new one takes the place of the first: at no moment is there none.
void OutputFile::keepBackup() {
  if (!inPlace_ || !inPlace_->backupSuffix) return;
  if (::link(target_.c_str(), backupPath().c_str()) == 0) return;
  const int error = errno;
  if (error == ENOENT) return;  // the old file is gone, and nothing is lost
  if (error != EEXIST || !hasBackup()) failBackup(error);
}

void OutputFile::failBackup(int error) const {
  const bool isThere = error == EEXIST;
  throw Failure{Status::inputOutput,
                fmt::format("{}: cannot keep a backup as {}: {}; accepted: {}", name_,
                            escapeText(backupPath()), std::strerror(error),
                            isThere ? "a --backup SUFFIX that no file has yet"
                                    : "a folder whose file system has hard links")};
}

void OutputFile::prepare() {
  if (descriptor_ < 0) return;
  if (!temporary_.empty()) {
    // Writing takes special bits and capabilities away, and the old file may have changed.
    keepAttributes();
    if (::fsync(descriptor_) != 0) fail("write");
  }
  refuseChangedInput();
  // Some file systems tell only now that the disk is full.
  if (::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR) fail("write");
}

void OutputFile::commit() {
  prepare();
  if (temporary_.empty()) return;
  refuseChangedInput();
  keepBackup();
  {
    const SignalsHeld held;
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) fail("replace");
    keepOnSignal(temporary_);
    temporary_.clear();
  }
  syncFolder(folderOf(target_));
}

void OutputFile::discard() {
  if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
  if (temporary_.empty()) return;
  const SignalsHeld held;
  ::unlink(temporary_.c_str());
  keepOnSignal(temporary_);
  temporary_.clear();
}

void OutputFile::fail(const char* action) {
  const int error = errno;
  throw Failure{Status::inputOutput,
                fmt::format("{}: cannot {}: {}", name_, action, std::strerror(error))};
}

}  // namespace plx
