#include "command/rules_command.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>

#include "command/arguments.h"
#include "datetime/datetime_text.h"
#include "datetime/rules_in_use.h"
#include "host/embed.h"
#include "inspect/rules_difference.h"
#include "messages/message.h"
#include "stream/output_file.h"
#include "zones/converter.h"
#include "zones/rules_file.h"
#include "zones/system_zones.h"

namespace plx {

namespace {

namespace fs = std::filesystem;

Failure badZones(const std::string& folder, const zones::BadZones& bad) {
  return {Status::inputOutput,
          fmt::format("{}: {}; accepted: a folder of compiled zones such as /usr/share/zoneinfo",
                      escapeText(folder), escapeText(bad.what()))};
}

Failure failure(const std::string& path, std::string_view action, int error) {
  return {Status::inputOutput,
          fmt::format("{}: cannot {}: {}", escapeText(path), action, std::strerror(error))};
}

std::string zonesText(std::size_t count) {
  return fmt::format("{} {}", count, count == 1 ? "zone" : "zones");
}

// ------------------------------------------------------------------------------------------- update

// One update at a time works on a folder, so that none puts older rules over newer ones. The file that is locked
// stays; nobody but its owner can open it, and so hold others up.
class Lock {
 public:
  explicit Lock(const std::string& folder) {
    const std::string path = folder + "/.lock";
    descriptor_ = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor_ < 0) throw failure(path, "open", errno);
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::minutes(1);
    while (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0) {
      const int error = errno;
      if (error != EWOULDBLOCK || steady_clock::now() > end) {
        ::close(descriptor_);
        if (error != EWOULDBLOCK) throw failure(path, "lock", error);
        throw Failure{
            Status::inputOutput,
            fmt::format("{}: another update has been at work for a minute", escapeText(folder))};
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  ~Lock() { ::close(descriptor_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  int descriptor_;
};

std::string usualTarget() {
  if (::geteuid() == 0) return std::string(zones::kSystemRulesFolder);
  std::string own = zones::userRulesFolder();
  if (own.empty())
    throw Failure{Status::usage, "there is no HOME to put rules into; accepted: --to DIR"};
  return own;
}

void refuseEmptyName(std::string_view option, const std::optional<std::string>& folder) {
  if (folder && folder->empty())
    throw Failure{Status::usage, describe(option, {"no name of a folder", "the path of one"}, "")};
}

void runUpdate(const std::vector<std::string>& given, Output& output) {
  std::optional<std::string> from, to;
  Arguments arguments("Converts the system's time-zone rules, and puts them where plx finds them.",
                      "plx rules update");
  arguments.option("--from", from, "DIR",
                   "The compiled zones; those of TZDIR or /usr/share/zoneinfo\nwithout it");
  arguments.option("--to", to, "DIR",
                   "Where to write zoneinfo64.res; without it /var/lib/plx/rules for\n"
                   "root, and plx/rules in XDG_DATA_HOME or ~/.local/share for others");
  arguments.ignoredModule();
  arguments.footer(
      "The file is written as a whole or not at all, and programs that run go on with the\n"
      "rules that they began with.\n\n" +
      std::string(kStatusHelp));
  if (!arguments.parse(given, output)) return;

  refuseEmptyName("--from", from);
  refuseEmptyName("--to", to);
  const zones::SystemZones system(from.value_or(zones::systemZonesFolder()));
  const std::string folder = to ? *to : usualTarget();
  ::umask(022);  // rules are for everyone to read
  std::error_code error;
  fs::create_directories(folder, error);
  if (error) throw failure(folder, "create", error.value());
  const Lock lock(folder);
  zones::Converted converted;
  std::string own;
  try {
    const zones::OwnRules rules = zones::readOwnRules();
    own = rules.release;
    converted = zones::convert(system, rules);
  } catch (const zones::BadZones& bad) {
    throw badZones(system.folder(), bad);
  }
  OutputFile file((fs::path(folder) / zones::kRulesFile).string());
  Output(file.descriptor(), file.name()).write(converted.file);
  file.commit();
  output.text() += fmt::format("{}: {} of {} from {}, {} of them new to ICU\n", file.name(),
                               zonesText(converted.names), converted.release,
                               escapeText(system.folder()), converted.added);
  if (!zones::isNewer(converted.release, own)) {
    output.text() +=
        fmt::format("They are not newer than ICU's own of {}, and so not taken into use.\n", own);
  }
}

// ---------------------------------------------------------------------------------------------- diff

std::int64_t startOf(const std::string& year) {
  Complaint complaint;
  const auto datetime = year.size() == 4 ? readDatetime(year + "-01-01", complaint) : std::nullopt;
  if (!datetime || year < "1800" || year > "2099") {
    throw Failure{Status::usage,
                  describe("--since", {"not a year that it takes", "1800 to 2099"}, year)};
  }
  return datetime->day * 86400;
}

RulesDifferences differencesOf(const zones::SystemZones& system,
                               const std::vector<std::string>& names, std::int64_t from) {
  try {
    return differences(system, names, from);
  } catch (const zones::BadZones& bad) {
    throw badZones(system.folder(), bad);
  }
}

std::vector<std::string> namesOf(const zones::SystemZones& system) {
  try {
    return system.names();
  } catch (const zones::BadZones& bad) {
    throw badZones(system.folder(), bad);
  }
}

void runDiff(const std::vector<std::string>& given, Output& output) {
  std::vector<std::string> names;
  std::optional<std::string> since;
  Arguments arguments("Lists the zones for which the rules in use are not the system's.",
                      "plx rules diff");
  arguments.positionals("ZONE", names, "Identifiers such as Europe/Paris; all without one");
  arguments.option("--since", since, "YEAR",
                   "From when on; 1970 without it, and 1800 where zones are named");
  arguments.ignoredModule();
  arguments.footer("Example:\n  plx rules diff America/Mexico_City\n\n" + std::string(kStatusHelp));
  if (!arguments.parse(given, output)) return;

  const zones::SystemZones system(zones::systemZonesFolder());
  const std::string year = since.value_or(names.empty() ? "1970" : "1800");
  const RulesDifferences found = differencesOf(system, names, startOf(year));
  for (const RulesDifference& one : found.all) {
    std::string others;
    for (std::size_t i = 1; i < one.names.size(); ++i)
      others += (i == 1 ? ", also " : ", ") + one.names[i];
    output.text() += fmt::format("{}{}: {}\n", one.names.front(), others, one.what);
  }
  if (found.earlier > 0) {
    output.text() += fmt::format("and {} before {} alone: plx rules diff --since 1800\n",
                                 zonesText(found.earlier), year);
  }
}

// ------------------------------------------------------------------------------------------- no word

void runOverview(const std::vector<std::string>& given, Output& output) {
  Arguments arguments(
      "Tells which time-zone rules are in use, which the system has, and whether\n"
      "they differ.",
      "plx rules");
  arguments.command("diff", "List where they differ; see plx rules diff --help");
  arguments.command("update", "Bring the system's into use; see plx rules update --help");
  arguments.ignoredModule();
  arguments.footer(kStatusHelp);
  if (!arguments.parse(given, output)) return;

  const RulesInUse rules = rulesInUse();
  const zones::SystemZones system(zones::systemZonesFolder());
  const std::string folder = escapeText(system.folder());
  output.text() += fmt::format("in use  {}, {}\n", rules.release, rules.where);
  std::error_code error;
  if (!fs::is_directory(system.folder(), error)) {
    output.text() += fmt::format("system  none: there is no folder {}\n", folder);
    return;
  }
  if (namesOf(system).empty()) {
    output.text() += fmt::format("system  none: there are no zone files in {}\n", folder);
    return;
  }
  output.text() +=
      fmt::format("system  {}, {}\n", system.release().value_or("of no known release"), folder);
  const RulesDifferences found = differencesOf(system, {}, 0);
  if (found.names == 0 && found.earlier == 0) {
    output.text() += "They do not differ.\n";
  } else {
    output.text() += fmt::format("They differ for {} since 1970, and for {} before that alone.\n",
                                 zonesText(found.names), found.earlier);
  }
}

}  // namespace

void runRulesCommand(const std::vector<std::string>& given, Output& output) {
  std::vector<std::string> rest = given;
  // A word that no option takes: --module stands before its path.
  for (auto at = rest.begin(); at != rest.end(); ++at) {
    if (*at == "--module" && at + 1 != rest.end()) {
      ++at;
    } else if (*at == "diff" || *at == "update") {
      const bool isDiff = *at == "diff";
      rest.erase(at);
      return isDiff ? runDiff(rest, output) : runUpdate(rest, output);
    } else if (!at->starts_with("-")) {
      throw Failure{Status::usage, describe("rules", {"no such command", "diff or update"}, *at)};
    }
  }
  runOverview(rest, output);
}

void useSystemRules() {
  paError error;
  if (paUseZoneRules(nullptr, &error) != 0)
    std::fprintf(stderr, "plx: %s\n", escapeText(error.message).c_str());
}

void tellOtherRules() {
  const std::string told = otherRules();
  if (!told.empty()) std::fprintf(stderr, "plx: %s\n", told.c_str());
}

}  // namespace plx
