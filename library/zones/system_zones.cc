#include "zones/system_zones.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>

#include "zones/rules_file.h"

namespace zones {

namespace {

namespace fs = std::filesystem;

// A zone's file has some 3,500 bytes; what is larger than this is none.
constexpr std::size_t kMostBytes = 1 << 20;
// As long as ICU has room for in a name.
constexpr std::size_t kLongestName = 127;

struct Close {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

bool isName(std::string_view name) {
  return !name.empty() && name.size() <= kLongestName && name.front() != '/' &&
         std::all_of(name.begin(), name.end(), [](char c) {
           return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                  std::string_view("_-+/").find(c) != std::string_view::npos;
         });
}

bool isOneOfMany(std::string_view name) {
  return name == "localtime" || name == "posixrules" || name.starts_with("posix/") ||
         name.starts_with("right/");
}

bool beginsAsZone(const fs::path& path) {
  const File file(std::fopen(path.c_str(), "rbe"));
  char magic[4];
  return file && std::fread(magic, 1, sizeof magic, file.get()) == sizeof magic &&
         std::memcmp(magic, "TZif", sizeof magic) == 0;
}

// Whether a folder is one of those that it stands in, by a link.
bool leadsBack(const fs::path& path, int depth) {
  fs::path above = path;
  for (; depth >= 0; --depth) {
    above = above.parent_path();
    std::error_code ignored;
    if (fs::equivalent(path, above, ignored)) return true;
  }
  return false;
}

std::string firstLine(const fs::path& path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

}  // namespace

std::string systemZonesFolder() {
  const char* const own = std::getenv("TZDIR");
  return own != nullptr && *own != '\0' ? own : "/usr/share/zoneinfo";
}

std::optional<std::string> SystemZones::release() const {
  constexpr std::string_view kBegin = "# version ";
  const fs::path folder = folder_;
  std::string line = firstLine(folder / "tzdata.zi");
  if (line.starts_with(kBegin)) {
    line.erase(0, kBegin.size());
  } else {
    line = firstLine(folder / "+VERSION");
  }
  // Debian and others put a letter or a revision of their own behind it.
  line.resize(
      std::min(line.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz"), line.size()));
  return isRelease(line) ? std::optional(line) : std::nullopt;
}

std::vector<std::string> SystemZones::names() const {
  std::vector<std::string> all;
  std::error_code error;
  const fs::path folder = folder_;
  fs::recursive_directory_iterator at(folder, fs::directory_options::follow_directory_symlink,
                                      error),
      end;
  while (!error && at != end) {
    const std::string name = at->path().lexically_relative(folder).generic_string();
    std::error_code ignored;
    if (at->is_directory(ignored)) {
      if (!isName(name) || isOneOfMany(name + '/') || at.depth() > 4 ||
          (at->is_symlink(ignored) && leadsBack(at->path(), at.depth())))
        at.disable_recursion_pending();
    } else if (isName(name) && !isOneOfMany(name) && at->is_regular_file(ignored) &&
               beginsAsZone(at->path())) {
      all.push_back(name);
    }
    at.increment(error);
  }
  if (error) throw BadZones("cannot be read: " + error.message());
  std::sort(all.begin(), all.end());
  return all;
}

std::optional<std::string> SystemZones::bytesOf(std::string_view name) const {
  if (!isName(name) || name.find("..") != std::string_view::npos) return std::nullopt;
  const fs::path path = fs::path(folder_) / name;
  std::error_code error;
  if (!fs::is_regular_file(path, error)) {
    if (fs::is_symlink(fs::symlink_status(path, error)) && !fs::exists(path, error))
      throw BadZones(std::string(name) + ": a link that leads nowhere");
    return std::nullopt;
  }
  const File file(std::fopen(path.c_str(), "rbe"));
  if (!file) throw BadZones(std::string(name) + ": " + std::strerror(errno));
  std::string bytes(16384, '\0');
  std::size_t count = 0;
  while (const std::size_t more =
             std::fread(bytes.data() + count, 1, bytes.size() - count, file.get())) {
    count += more;
    if (count > kMostBytes) throw BadZones(std::string(name) + ": too large for a zone file");
    if (count == bytes.size()) bytes.resize(2 * count);
  }
  if (std::ferror(file.get()) != 0) throw BadZones(std::string(name) + ": " + std::strerror(errno));
  bytes.resize(count);
  return bytes;
}

std::optional<ZoneFile> SystemZones::zone(std::string_view name) const {
  const auto bytes = bytesOf(name);
  if (!bytes) return std::nullopt;
  try {
    return readZoneFile(*bytes);
  } catch (const BadZones& bad) {
    throw BadZones(std::string(name) + ": " + bad.what());
  }
}

std::map<std::string, std::string> SystemZones::countries() const {
  std::map<std::string, std::string> all;
  std::ifstream file(fs::path(folder_) / "zone.tab");
  // "FR\t+4852+00220\tEurope/Paris\tcomment"
  for (std::string line; std::getline(file, line);) {
    const std::size_t first = line.find('\t'), second = line.find('\t', first + 1);
    if (line.starts_with('#') || first != 2 || second == std::string::npos) continue;
    const std::size_t end = std::min(line.find('\t', second + 1), line.size());
    all[line.substr(second + 1, end - second - 1)] = line.substr(0, 2);
  }
  return all;
}

}  // namespace zones
