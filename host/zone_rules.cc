// Time-zone rules for ICU to use in place of its own.
#include <sys/stat.h>
#include <unicode/putil.h>
#include <unicode/udata.h>
#include <unicode/unistr.h>
#include <unicode/ures.h>
#include <unicode/uversion.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "error_text.h"
#include "host/embed.h"
#include "host_error.h"
#include "zones/rules_file.h"

namespace host {
namespace {

// A file of rules has some 200,000 bytes.
constexpr std::size_t kMostBytes = std::size_t{1} << 24;

struct CloseRulesFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// The rules that stand in a folder, perhaps none.
struct Found {
  std::string folder, release;
  std::string problem;  // of the file, fit to stand behind its name
  bool isThere = true;

  std::string file() const { return folder + '/' + std::string(zones::kRulesFile); }
};

// False, and errno, where the file cannot be read.
bool readRules(const std::string& path, std::string& bytes) {
  const std::unique_ptr<std::FILE, CloseRulesFile> file(std::fopen(path.c_str(), "rbe"));
  if (!file) return false;
  std::array<char, 65536> part;
  while (const std::size_t count = std::fread(part.data(), 1, part.size(), file.get())) {
    bytes.append(part.data(), count);
    if (bytes.size() > kMostBytes) break;  // which its sum will not fit
  }
  return std::ferror(file.get()) == 0;
}

// The file's bytes, and none where there is a problem.
std::string readFrom(Found& found) {
  std::string bytes;
  struct stat info;
  // Opening a pipe would wait for whoever writes to it.
  if (::stat(found.file().c_str(), &info) == 0 && !S_ISREG(info.st_mode) &&
      !S_ISDIR(info.st_mode)) {
    found.problem = "is not a regular file";
    return {};
  }
  if (readRules(found.file(), bytes)) return bytes;
  found.isThere = errno != ENOENT && errno != ENOTDIR;
  found.problem = std::string("cannot be read: ") + std::strerror(errno);
  return {};
}

Found lookInto(std::string folder) {
  Found found;
  found.folder = std::move(folder);
  const std::string bytes = readFrom(found);
  if (!found.problem.empty()) return found;
  const zones::CheckedRules checked = zones::checkRules(bytes);
  found.release = checked.label.release;
  found.problem = checked.problem;
  UVersionInfo version;
  u_getVersion(version);
  // ICU reads a list of folders, with colons between them.
  if (found.problem.empty() && found.folder.find(':') != std::string::npos)
    found.problem = "stands in a folder with a colon in its name, where ICU does not find it";
  if (found.problem.empty() && checked.label.icuMajor != version[0]) {
    found.problem = "is made for ICU " + std::to_string(checked.label.icuMajor) +
                    ", and this is ICU " + std::to_string(version[0]);
  }
  return found;
}

// The release of the rules in a bundle of ICU's: of those in use where `place` is null. ICU keeps a bundle that was
// opened once, so that a file which is replaced later changes nothing in this process.
std::string releaseIn(const char* place) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::LocalUResourceBundlePointer bundle(ures_openDirect(place, "zoneinfo64", &status));
  std::int32_t length = 0;
  const UChar* const text = ures_getStringByKey(bundle.getAlias(), "TZVersion", &length, &status);
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  std::string release;
  if (U_SUCCESS(status)) icu::UnicodeString(false, text, length).toUTF8String(release);
  return release;
}

// ICU's own. By this name ICU takes their bundle for another one than that of the rules in use.
std::string ownRelease() { return releaseIn(U_ICUDATA_ALIAS); }

// Whether ICU now uses these rules, or had loaded others before.
bool use(const Found& found) {
  UErrorCode status = U_ZERO_ERROR;
  const std::string before = u_getTimeZoneFilesDirectory(&status);
  u_setTimeZoneFilesDirectory(found.folder.c_str(), &status);
  if (U_FAILURE(status)) throw std::bad_alloc();
  const std::string loaded = releaseIn(nullptr);
  // The file may have been replaced since it was looked into.
  if (loaded == found.release || loaded == lookInto(found.folder).release) return true;
  u_setTimeZoneFilesDirectory(before.c_str(), &status);
  return false;
}

// Those of ICU_TIMEZONE_FILES_DIR, whoever made them and of whatever release. ICU reads beyond the end of a file that is
// cut short, and in place of one that it cannot read it takes its own without a word.
int useChosenRules(std::string folder, paError* error) {
  Found found;
  found.folder = std::move(folder);
  const std::string bytes = readFrom(found);
  if (!found.isThere) return 0;
  if (found.problem.empty()) found.problem = zones::problemForIcu(bytes);
  if (found.problem.empty()) return 0;
  UErrorCode status = U_ZERO_ERROR;
  u_setTimeZoneFilesDirectory("", &status);
  if (U_FAILURE(status)) throw std::bad_alloc();
  write(error, HostMessage("BadZoneRules", {found.file(), found.problem, ownRelease()}));
  return 1;
}

int useZoneRules(const char* path, paError* error) {
  const char* const chosen = std::getenv("ICU_TIMEZONE_FILES_DIR");
  if (chosen != nullptr && *chosen != '\0') return useChosenRules(chosen, error);
  std::vector<Found> all;
  if (path != nullptr) {
    all.push_back(lookInto(path));
  } else {
    all.push_back(lookInto(std::string(zones::kSystemRulesFolder)));
    if (const std::string own = zones::userRulesFolder(); !own.empty())
      all.push_back(lookInto(own));
  }
  const Found *best = nullptr, *wrong = nullptr;
  for (const Found& found : all) {
    if (!found.problem.empty()) {
      if (wrong == nullptr && (found.isThere || path != nullptr)) wrong = &found;
    } else if (best == nullptr || zones::isNewer(found.release, best->release)) {
      best = &found;
    }
  }
  if (best == nullptr && wrong == nullptr) return 0;  // ICU's data are not read for nothing
  std::string inUse = ownRelease();
  if (best != nullptr && zones::isNewer(best->release, inUse)) {
    if (!use(*best)) {
      write(error, HostMessage("ZoneRulesTooLate", {best->file(), releaseIn(nullptr)}));
      return 1;
    }
    inUse = best->release;
  }
  if (wrong == nullptr) return 0;
  write(error, HostMessage("BadZoneRules", {wrong->file(), wrong->problem, inUse}));
  return 1;
}

}  // namespace
}  // namespace host

int paUseZoneRules(const char* path, paError* error) {
  host::clear(error);
  try {
    return host::useZoneRules(path, error);
  } catch (const std::bad_alloc&) {
    host::writeOutOfMemory(error);
  }
  return 1;
}
