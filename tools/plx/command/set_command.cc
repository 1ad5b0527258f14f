#include "command/set_command.h"

#include <fmt/format.h>

#include <optional>
#include <string_view>
#include <utility>

#include "command/arguments.h"
#include "command/npy_command.h"
#include "command/text_command.h"
#include "command/typed_setting.h"
#include "datetime/datetime_text.h"
#include "datetime/rules_in_use.h"
#include "messages/message.h"
#include "module/components.h"
#include "module/module.h"
#include "set/setter.h"
#include "setting/change.h"

namespace plx {

namespace {

// COMPONENT VALUE, or one COMPONENT=VALUE after the other; the rest is inputs.
std::vector<TypedSetting> takeSettings(std::vector<std::string>& words) {
  std::vector<TypedSetting> settings;
  std::size_t taken = 0;
  for (; taken < words.size(); ++taken) {
    const auto setting = typedSetting(words[taken]);
    if (!setting) break;
    settings.push_back(*setting);
  }
  if (settings.empty()) {
    if (words.size() < 2) throw Failure{Status::usage, "VALUE is required; see plx set --help"};
    settings.push_back({words[0], words[1]});
    taken = 2;
    if (words.size() > 2 && typedSetting(words[2])) {
      throw Failure{
          Status::usage,
          describe("argument",
                   {"the two ways of setting cannot be mixed",
                    "COMPONENT VALUE, or COMPONENT=VALUE for each; ./ before a file's name"},
                   words[2])};
    }
  }
  words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(taken));
  return settings;
}

// Of a table the values are a column's, else a file's.
void addValue(const TypedSetting& setting, bool table, TextWork& work) {
  work.values.push_back({"VALUE", setting.value, std::nullopt, false});
  work.valueColumns.emplace_back();
  if (!setting.isEach()) return;
  const std::string name = setting.value.substr(1);
  if (table) {
    work.valueColumns.back() = name;
  } else if (work.valueFile) {
    throw Failure{Status::usage, "one file of values is read at a time; accepted: one @FILE"};
  } else {
    work.valueFile = name;
    work.values.back().file = true;
  }
}

std::optional<OnFinding> onFindingOf(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  if (*text == "report") return OnFinding::report;
  if (*text == "blank") return OnFinding::blank;
  if (*text == "stop") return OnFinding::stop;
  throw Failure{Status::usage, describe("--check", {"unknown", "report, blank or stop"}, *text)};
}

// Arrays are set by the library, which knows components and their new values alone.
void refuseForArrays(const TypedSetting& setting, const Assignment& assignment) {
  const bool isValue = assignment.change == Change::to &&
                       (assignment.own == Own::none || assignment.own == Own::time);
  if (isValue) return;
  throw Failure{Status::usage,
                fmt::format("{} is for text, and the input is an .npy array; accepted: new values "
                            "of components, and time",
                            escapeText(setting.text()))};
}

void setArray(const std::vector<TypedSetting>& settings, const TextOptions& options, bool checks,
              const std::optional<std::string>& modulePath, Output& output) {
  std::vector<NpySetting> npySettings;
  for (const TypedSetting& setting : settings) {
    const Assignment assignment = assignmentOf(setting, 0);
    refuseForArrays(setting, assignment);
    npySettings.push_back({assignment.component, assignment.value.value_or(0),
                           setting.isEach() ? setting.value.substr(1) : std::string()});
  }
  runNpy(options, npySettings, checks, modulePath, output);
}

void refuseApart(const std::vector<Assignment>& assignments) {
  std::vector<Assignment> ofDate;
  for (const Assignment& assignment : assignments)
    if (assignment.isOfDate()) ofDate.push_back(assignment);
  if (const auto apart = areApart(ofDate)) {
    throw Failure{Status::usage,
                  fmt::format("{} and {} cannot be resolved together; accepted: one of them, or "
                              "one after the other without --together",
                              apart->a.name(), apart->b.name())};
  }
}

struct SetOptions {
  TextOptions text;
  std::optional<std::string> check, module;
  bool together = false, clips = false;
};

void setAll(const std::vector<TypedSetting>& settings, const SetOptions& options, Output& output) {
  const TextOptions& text = options.text;
  if (namesArray(text.inputs)) {
    if (options.together || options.clips || text.weekStart)
      throw Failure{Status::usage,
                    "--together, --clip and --week-start are for text, and the input is an .npy "
                    "array"};
    return setArray(settings, text, options.check.has_value(), options.module, output);
  }
  SetterOptions setterOptions;
  setterOptions.reading = readingOptions(text);
  setterOptions.together = options.together;
  setterOptions.clips = options.clips;
  TextWork work;
  for (const TypedSetting& setting : settings) {
    setterOptions.assignments.push_back(
        assignmentOf(setting, setterOptions.reading.weeks.firstDay));
    work.usesClock = work.usesClock || !setterOptions.assignments.back().isOfDate();
    addValue(setting, text.isTable(), work);
  }
  if (options.together) refuseApart(setterOptions.assignments);
  const auto onFinding = onFindingOf(options.check);
  setterOptions.check = onFinding.has_value();
  work.onFinding = onFinding.value_or(OnFinding::report);
  Module module(locateModule(options.module));
  work.make = [&] { return std::make_unique<Setter>(module, setterOptions); };
  runText(text, std::move(work), output);
}

}  // namespace

void runSetCommand(const std::vector<std::string>& given, Output& output) {
  SetOptions all;
  TextOptions& options = all.text;
  std::string component;
  std::optional<std::string> value;
  Arguments arguments("Sets components of every datetime and writes them with it.", "plx set");
  arguments.positional("COMPONENT", component, "A name or selector that plx components lists");
  arguments.positional("VALUE", value,
                       "Its new value: a number, last, mon, jan, q1 and the like, or\n"
                       "@NAME for one with each datetime, from a file of one a line\n"
                       "or, of a table, from a column. COMPONENT=VALUE, once or more\n"
                       "often, stands for the two, and is applied in the order given.\n"
                       "month+=1 and hour-=6 are relative; minute=down:15, up:15 and\n"
                       "nearest:15 go to multiples");
  arguments.positionals("INPUT", options.inputs,
                        "A datetime, a file of one a line, a table or an .npy array;\n"
                        "- and none: standard input");
  declareTextOptions(arguments, options, true);
  arguments.option("--check", all.check, "report|blank|stop",
                   "Report, blank or stop at results that differ from what was\n"
                   "asked: carried into larger units, moved by a gap of the clock,\n"
                   "or ambiguous (one of two equal wall times)");
  arguments.flag("--together", all.together,
                 "Resolve the settings of the date as one: month=feb day=last is\n"
                 "then the last of February, whatever day it was");
  arguments.flag("--clip", all.clips,
                 "Where a month lacks the day, take its last: 31 January and\n"
                 "month+=1 is 28 February, not 3 March");
  declareClockOptions(arguments, options.fold, options.gap);
  arguments.module(all.module);
  arguments.footer("Datetimes: " + std::string(kAcceptedDatetimes) + "\n\n" + componentExamples() +
                   "\n" + kStatusHelp);
  if (!arguments.parse(given, output)) return;
  if (!options.quiet) RulesWatch::begin();
  std::vector<std::string> words = {component};
  if (value) words.push_back(*value);
  words.insert(words.end(), options.inputs.begin(), options.inputs.end());
  const std::vector<TypedSetting> settings = takeSettings(words);
  options.inputs = std::move(words);
  setAll(settings, all, output);
}

}  // namespace plx
