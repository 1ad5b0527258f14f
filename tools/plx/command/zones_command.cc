#include "command/zones_command.h"

#include <chrono>
#include <cstdio>
#include <optional>

#include "command/arguments.h"
#include "datetime/datetime_text.h"
#include "datetime/rules_in_use.h"
#include "datetime/zone.h"
#include "inspect/zone_list.h"

namespace plx {

namespace {

int128 now() {
  using namespace std::chrono;
  return floor<seconds>(system_clock::now()).time_since_epoch().count();
}

// An instant; in UTC where the text has no offset.
int128 secondAt(const std::string& text) {
  Complaint complaint;
  const auto datetime = readDatetime(text, complaint);
  // Within what a calendar holds, so that every zone can tell its offset.
  const auto second =
      datetime ? Zone::named("Etc/UTC").secondOf(*datetime, complaint) : std::nullopt;
  if (!second) throw Failure{Status::badData, describe("--at", complaint, text)};
  return *second;
}

}  // namespace

void runZonesCommand(const std::vector<std::string>& given, Output& output) {
  std::optional<std::string> asked, at;
  Arguments arguments("Lists the time zones with their offsets and next changes.", "plx zones");
  arguments.positional("PATTERN", asked,
                       "A part of a name, or with *, ? or [ a pattern for all of it; in\n"
                       "any letter case, and a space for an underscore");
  arguments.option("--at", at, "DATETIME", "When; in UTC without an offset, and now without it");
  arguments.ignoredModule();
  arguments.footer(
      "Each line has the name, the offset from UTC, the first moment with another offset (- for\n"
      "none), and for an alias the name it stands for. All names are taken by --zone.\n\n"
      "Example:\n  plx zones 'new york' --at 2014-05-10\n\n" +
      std::string(kStatusHelp));
  if (!arguments.parse(given, output)) return;

  const std::string pattern = asked.value_or("");
  std::vector<std::string> names = zoneNames();
  std::erase_if(names, [&](const std::string& name) { return !matches(name, pattern); });
  if (names.empty()) {
    throw Failure{Status::unknownName,
                  describe("PATTERN",
                           {"no time zone matches",
                            "a part of a name such as paris, or a pattern such as 'europe/*'"},
                           pattern)};
  }
  // Beside the list, which programs read.
  const RulesInUse rules = rulesInUse();
  std::fprintf(stderr, "plx: time-zone rules of %s, %s\n", rules.release.c_str(),
               rules.where.c_str());
  output.text() += zoneTable(names, at ? secondAt(*at) : now());
}

}  // namespace plx
