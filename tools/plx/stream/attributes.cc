#include "stream/attributes.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <vector>

#include "messages/message.h"

namespace plx {

namespace {

// A POSIX access control list is an extended attribute of this name, of the same bytes on every file
// system that has such lists. Set, it also sets the mode, and a change of the mode changes it.
constexpr std::string_view kAccessList = "system.posix_acl_access";

// The bytes of a system call that tells their size first and then fills a buffer. Nothing, and errno, where it fails.
template <class Call>
std::optional<std::string> filled(const Call& call) {
  for (;;) {
    const ssize_t size = call(nullptr, 0);
    if (size < 0) return std::nullopt;
    if (size == 0) return std::string();
    std::string bytes(static_cast<std::size_t>(size), '\0');
    const ssize_t count = call(bytes.data(), bytes.size());
    if (count < 0 && errno == ERANGE) continue;  // it has grown since
    if (count < 0) return std::nullopt;
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
  }
}

bool isOfTheSystem(std::string_view name) {
  return name == "security.ima" || name == "security.evm";
}

// The names in a list as the system gives it, each with a zero behind it.
std::vector<std::string> namesIn(const std::string& list) {
  std::vector<std::string> names;
  for (std::size_t at = 0; at < list.size(); at += names.back().size() + 1)
    names.emplace_back(list.c_str() + at);
  std::erase_if(names, isOfTheSystem);
  return names;
}

AttributeLoss lossOf(const std::string& name) {
  const int error = errno;
  if (name == kAccessList) return {"its access control list", error};
  return {"its extended attribute " + escapeText(name), error};
}

std::optional<AttributeLoss> copyExtended(const std::string& from, int to) {
  const auto wanted =
      filled([&](char* bytes, std::size_t size) { return ::listxattr(from.c_str(), bytes, size); });
  const auto present =
      filled([&](char* bytes, std::size_t size) { return ::flistxattr(to, bytes, size); });
  if (!wanted || !present) {
    if (errno == ENOTSUP) return std::nullopt;  // a file system without any
    return AttributeLoss{"its extended attributes", errno};
  }
  const std::vector<std::string> names = namesIn(*wanted);
  for (const std::string& name : namesIn(*present)) {
    if (std::find(names.begin(), names.end(), name) != names.end()) continue;
    if (::fremovexattr(to, name.c_str()) != 0 && errno != ENODATA) return lossOf(name);
  }
  for (const std::string& name : names) {
    const auto value = filled([&](char* bytes, std::size_t size) {
      return ::getxattr(from.c_str(), name.c_str(), bytes, size);
    });
    if (!value) return lossOf(name);
    // Some may be set by nobody but the system, which gives them to every file.
    const auto own = filled(
        [&](char* bytes, std::size_t size) { return ::fgetxattr(to, name.c_str(), bytes, size); });
    if (own == value) continue;
    if (::fsetxattr(to, name.c_str(), value->data(), value->size(), 0) != 0) return lossOf(name);
  }
  return std::nullopt;
}

}  // namespace

// The owner first, since a change of it takes special bits of the mode away; the mode last, since a
// list sets its bits of permission.
std::optional<AttributeLoss> copyAttributes(const std::string& from, int to) {
  constexpr mode_t kMode = 07777;
  struct stat wanted, own;
  if (::stat(from.c_str(), &wanted) != 0 || ::fstat(to, &own) != 0)
    return AttributeLoss{"its attributes", errno};
  const bool otherOwner = own.st_uid != wanted.st_uid;
  if ((otherOwner || own.st_gid != wanted.st_gid) &&
      ::fchown(to, wanted.st_uid, wanted.st_gid) != 0)
    return AttributeLoss{otherOwner ? "its owner" : "its group", errno};
  if (auto loss = copyExtended(from, to)) return loss;
  if (::fstat(to, &own) == 0 && (own.st_mode & kMode) == (wanted.st_mode & kMode))
    return std::nullopt;
  if (::fchmod(to, wanted.st_mode & kMode) != 0) return AttributeLoss{"its mode", errno};
  // The system drops bits without a word that a user may not set.
  if (::fstat(to, &own) != 0 || (own.st_mode & kMode) != (wanted.st_mode & kMode))
    return AttributeLoss{"its mode", EPERM};
  return std::nullopt;
}

}  // namespace plx
