#include "command/npy_command.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "command/sink.h"
#include "datetime/zone.h"
#include "inspect/leap_table.h"
#include "messages/letters.h"
#include "messages/message.h"
#include "npy/npy_file.h"
#include "set/zone_named.h"

namespace plx {

namespace {

// The library sets arrays, by the module's rule for weeks.
constexpr std::string_view kWeeksOfArrays =
    "week-of-year of an .npy array in a time zone: the last days of December may be in week 1, "
    "where text "
    "counts on to week 53 or 54";

bool isWeek(const NpySetting& setting) { return setting.component == Component::weekOfYear; }

void refuseTextOptions(const TextOptions& options, bool checks) {
  const struct {
    bool given;
    const char* name;
  } rows[] = {{!options.columns.empty(), "--column"},
              {options.zoneColumn.has_value(), "--zone-column"},
              {!options.newColumns.empty(), "--new-column"},
              {options.csv, "--csv"},
              {options.tsv, "--tsv"},
              {options.delimiter.has_value(), "--delimiter"},
              {options.longest.has_value(), "--longest"},
              {options.jsonl, "--jsonl"},
              {options.notation.inLine, "--in-line"},
              {options.match.has_value(), "--match"},
              {options.notation.exact, "--exact"},
              {options.noHeader, "--no-header"},
              {options.notation.from.has_value(), "--from"},
              {!options.notation.formats.empty(), "--format"},
              {options.notation.year.has_value(), "--year"},
              {options.notation.missing.has_value(), "--na"},
              {options.notation.to.has_value(), "--to"},
              {options.notation.toFormat.has_value(), "--to-format"},
              {options.notation.digits.has_value(), "--digits"},
              {options.onError.has_value() && *options.onError != "stop", "--on-error"},
              {checks, "--check"}};
  for (const auto& row : rows) {
    if (!row.given) continue;
    throw Failure{Status::usage,
                  fmt::format("{} is for text, and the input is an .npy array; "
                              "accepted: --zone, --fold, --gap, --output, --in-place, --backup, "
                              "--jobs, --progress, --quiet",
                              row.name)};
  }
}

}  // namespace

bool namesArray(const std::vector<std::string>& inputs) {
  if (inputs.empty()) return isNpyInput();
  return std::any_of(inputs.begin(), inputs.end(), [](const std::string& input) {
    return input == "-" ? isNpyInput() : endsInAnyCase(input, ".npy") || isNpyFile(input);
  });
}

void runNpy(const TextOptions& options, const std::vector<NpySetting>& settings, bool checks,
            const std::optional<std::string>& modulePath, Output& standard) {
  refuseTextOptions(options, checks);
  const std::vector<std::string> inputs =
      options.inputs.empty() ? std::vector<std::string>{"-"} : options.inputs;
  if (inputs.size() != 1 && !options.inPlace)
    throw Failure{Status::usage,
                  "of .npy arrays, one at a time is set; accepted: one INPUT, or several with -i"};
  if (!options.output && !options.inPlace && ::isatty(STDOUT_FILENO) == 1)
    throw Failure{Status::usage, "an array is no text for a terminal; accepted: -o FILE"};
  const std::size_t jobs = options.jobCount();
  const Zone zone = zoneNamed(options.zone.value_or(""));
  Module module(locateModule(modulePath));
  std::optional<Sink> sink;
  for (const std::string& input : inputs) {
    if (options.inPlace) {
      if (!sink) sink.emplace(options, standard, std::nullopt);
      sink->replace(input);
    }
    NpyFile file(input == "-" ? pathOfNpyInput() : input, input);
    if (!sink) sink.emplace(options, standard, file.header().count * file.header().type.bytes);
    const bool pastLeapTable =
        setNpy(module, file, settings, zone, clockChoice(options.fold, options.gap), jobs,
               [&](std::string_view bytes) { sink->put(bytes, bytes.size()); });
    if (pastLeapTable) sink->tellOnce(kPastLeapTable);
    if (zone.isCalendar() && std::ranges::any_of(settings, isWeek)) sink->tellOnce(kWeeksOfArrays);
  }
  sink->finish(OnError::stop, OnFinding::report);
}

}  // namespace plx
