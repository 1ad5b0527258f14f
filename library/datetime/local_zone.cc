#include "datetime/local_zone.h"

#include <fmt/format.h>
#include <unicode/strenum.h>
#include <unicode/timezone.h>

#include <cctype>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string_view>

#include "datetime/datetime_text.h"
#include "datetime/scanner.h"
#include "datetime/system_clock.h"
#include "datetime/zone.h"
#include "messages/icu.h"

namespace plx {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kAcceptedInstead =
    "an identifier such as Europe/Paris, or an offset such as +05:30";
constexpr int kMostLinks = 40;
constexpr int kSecondsPerDay = 86400;

// Nothing for what is no file of a zone, or cannot be read.
std::optional<std::string> contentOf(const fs::path& path) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(file), {}};
  if (!file || !bytes.starts_with("TZif")) return std::nullopt;
  return bytes;
}

fs::path folderOfZones() {
  const char* const own = std::getenv("TZDIR");
  return own != nullptr && *own != '\0' ? own : "/usr/share/zoneinfo";
}

// "UTC" is no calendar's zone to --zone, but to the C library it is as good as any.
std::string zoneNamed(const std::string& identifier) {
  return identifier == "UTC" ? "Etc/UTC" : identifier;
}

// What stands behind the folder of all zones, or of those in another reckoning; else empty.
std::string nameWithin(const std::string& path, const std::string& folder) {
  const std::size_t at = path.rfind(folder);
  if (at == std::string::npos) return {};
  std::string name = path.substr(at + folder.size());
  for (const std::string_view other : {"posix/", "right/"}) {
    if (name.starts_with(other)) name.erase(0, other.size());
  }
  return name;
}

struct FileName {
  std::string identifier;  // empty where none is known to ICU
  std::string unknown;     // a name that the path has, but ICU does not know
};

// The name of a zone's file, by its path or that of a link on the way.
FileName nameOf(fs::path path) {
  FileName result;
  const std::string own = folderOfZones().string() + '/';
  std::error_code error;
  for (int i = 0; i < kMostLinks; ++i) {
    const std::string at = path.lexically_normal().string();
    for (const std::string& folder : {own, std::string("/zoneinfo/")}) {
      const std::string name = nameWithin(at, folder);
      if (name.empty()) continue;
      if (isZoneIdentifier(name)) return {name, {}};
      if (result.unknown.empty()) result.unknown = name;
    }
    if (!fs::is_symlink(fs::symlink_status(path, error))) break;
    const fs::path to = fs::read_symlink(path, error);
    path = to.is_absolute() ? to : path.parent_path() / to;
  }
  return result;
}

// The identifier whose file has this content; the canonical one where there are several. Empty for none.
std::string nameByContent(const std::string& content) {
  for (const USystemTimeZoneType type : {UCAL_ZONE_TYPE_CANONICAL, UCAL_ZONE_TYPE_ANY}) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::StringEnumeration> all(
        icu::TimeZone::createTimeZoneIDEnumeration(type, nullptr, nullptr, status));
    checkICU(status);
    while (const char* name = all->next(nullptr, status)) {
      if (contentOf(folderOfZones() / name) == content) return name;
    }
    checkICU(status);
  }
  return {};
}

// The part of a rule that every rule has: a name of letters or in <>, and hours[:minutes[:seconds]].
bool skipStandardTime(Scanner& scan) {
  const auto isLetter = [](char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; };
  std::string_view rest = scan.rest();
  std::size_t length = 0;
  if (rest.starts_with('<')) {
    const std::size_t end = rest.find('>');
    if (end == std::string_view::npos || end < 4) return false;
    length = end + 1;
  } else {
    while (length < rest.size() && isLetter(rest[length])) ++length;
    if (length < 3) return false;
  }
  scan = Scanner(rest.substr(length));
  scan.oneOf("+-");
  for (int part = 0; part < 3; ++part) {
    if (part > 0 && !scan.skip(':')) break;
    const std::string_view digits = scan.digits();
    if (digits.empty() || digits.size() > 2) return false;
  }
  return true;
}

std::string offsetText(int offsetSeconds) {
  if (offsetSeconds == 0) return "Etc/UTC";
  std::string text;
  plx::writeOffset(text, offsetSeconds);
  return text;
}

std::optional<std::string> zoneOfFile(const fs::path& path, const std::string& content,
                                      Complaint& complaint) {
  const FileName name = nameOf(path);
  if (!name.identifier.empty()) return zoneNamed(name.identifier);
  if (!name.unknown.empty()) {
    complaint = {fmt::format("the system's zone {} is unknown to the time-zone data in use, {}",
                             escapeText(name.unknown), timeZoneData()),
                 kAcceptedInstead, Status::unknownName};
    return std::nullopt;
  }
  const std::string same = nameByContent(content);
  if (!same.empty()) return zoneNamed(same);
  complaint = {
      fmt::format("the system's zone has no name, only a file, {}", escapeText(path.string())),
      kAcceptedInstead, Status::unknownName};
  return std::nullopt;
}

std::optional<std::string> zoneOfRule(std::string_view rule, Complaint& complaint) {
  Scanner scan(rule);
  if (!skipStandardTime(scan)) {
    complaint = {fmt::format("TZ names no time zone of the system: {}", escapeText(rule)),
                 kAcceptedInstead, Status::unknownName};
  } else if (!scan.atEnd()) {
    complaint = {fmt::format("TZ is a rule, and no name of a time zone: {}", escapeText(rule)),
                 kAcceptedInstead, Status::unknownName};
  } else if (const int offset = systemOffset(0); std::abs(offset) < kSecondsPerDay) {
    return offsetText(offset);
  } else {
    complaint = {fmt::format("TZ is a rule a day or more from UTC: {}", escapeText(rule)),
                 kAcceptedInstead, Status::unknownName};
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> localZoneText(Complaint& complaint) {
  ::tzset();  // localtime_r need not ask for TZ
  const char* const variable = std::getenv("TZ");
  if (variable == nullptr) {
    const fs::path path = "/etc/localtime";
    const auto content = contentOf(path);
    return content ? zoneOfFile(path, *content, complaint) : std::optional<std::string>("Etc/UTC");
  }
  std::string_view text = variable;
  if (text.starts_with(':')) text.remove_prefix(1);
  if (text.empty()) return "Etc/UTC";
  const fs::path path = folderOfZones() / text;  // an absolute one stands alone
  if (const auto content = contentOf(path)) return zoneOfFile(path, *content, complaint);
  return zoneOfRule(text, complaint);
}

std::string timeZoneData() {
  UErrorCode status = U_ZERO_ERROR;
  const char* version = icu::TimeZone::getTZDataVersion(status);
  return U_SUCCESS(status) ? version : u_errorName(status);
}

}  // namespace plx
