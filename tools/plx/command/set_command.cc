#include "command/set_command.h"

#include <fmt/format.h>

#include <optional>
#include <string_view>
#include <utility>

#include "command/arguments.h"
#include "command/npy_command.h"
#include "command/text_command.h"
#include "datetime/datetime_text.h"
#include "datetime/rules_in_use.h"
#include "messages/message.h"
#include "module/components.h"
#include "module/module.h"
#include "set/setter.h"
#include "setting/value.h"

namespace plx {

namespace {

// What is set to what, as it was typed.
struct Typed {
  std::string component, value;
};

// COMPONENT=VALUE; no path of a file whose folder has such a name.
bool isSetting(std::string_view word) {
  const std::size_t sign = word.find('=');
  if (sign == std::string_view::npos ||
      word.find_first_not_of("abcdefghijklmnopqrstuvwxyz-0123456789") != sign)
    return false;
  const std::string_view value = word.substr(sign + 1);
  return value.starts_with('@') || value.find('/') == std::string_view::npos;
}

// COMPONENT VALUE, or one COMPONENT=VALUE after the other; the rest is inputs.
std::vector<Typed> takeSettings(std::vector<std::string>& words) {
  std::vector<Typed> settings;
  std::size_t taken = 0;
  while (taken < words.size() && isSetting(words[taken])) {
    const std::size_t sign = words[taken].find('=');
    settings.push_back({words[taken].substr(0, sign), words[taken].substr(sign + 1)});
    ++taken;
  }
  if (settings.empty()) {
    if (words.size() < 2) throw Failure{Status::usage, "VALUE is required; see plx set --help"};
    settings.push_back({words[0], words[1]});
    taken = 2;
    if (words.size() > 2 && isSetting(words[2])) {
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

// `@` begins the name of what has a value for each datetime.
bool isEach(const Typed& setting) { return setting.value.starts_with('@'); }

Assignment assignmentOf(const Typed& setting) {
  Assignment assignment{findComponent(setting.component), std::nullopt};
  if (isEach(setting)) return assignment;
  Complaint complaint;
  assignment.value = readValue(setting.value, assignment.component, complaint);
  if (!assignment.value)
    throw Failure{Status::badData, describe("VALUE", complaint, setting.value)};
  return assignment;
}

// Of a table the values are a column's, else a file's.
void addValue(const Typed& setting, bool table, TextWork& work) {
  work.values.push_back({"VALUE", setting.value, std::nullopt, false});
  work.valueColumns.emplace_back();
  if (!isEach(setting)) return;
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

void setArray(const std::vector<Typed>& settings, const TextOptions& options, bool checks,
              const std::optional<std::string>& modulePath, Output& output) {
  std::vector<NpySetting> npySettings;
  for (const Typed& setting : settings) {
    const Assignment assignment = assignmentOf(setting);
    npySettings.push_back({assignment.component, assignment.value.value_or(0),
                           isEach(setting) ? setting.value.substr(1) : std::string()});
  }
  runNpy(options, npySettings, checks, modulePath, output);
}

void setAll(std::vector<Typed> settings, const TextOptions& options,
            const std::optional<std::string>& check, const std::optional<std::string>& modulePath,
            Output& output) {
  if (namesArray(options.inputs))
    return setArray(settings, options, check.has_value(), modulePath, output);
  SetterOptions setterOptions;
  TextWork work;
  for (const Typed& setting : settings) {
    setterOptions.assignments.push_back(assignmentOf(setting));
    addValue(setting, options.isTable(), work);
  }
  setterOptions.reading = readingOptions(options);
  const auto onFinding = onFindingOf(check);
  setterOptions.check = onFinding.has_value();
  work.onFinding = onFinding.value_or(OnFinding::report);
  Module module(locateModule(modulePath));
  work.make = [&] { return std::make_unique<Setter>(module, setterOptions); };
  runText(options, std::move(work), output);
}

}  // namespace

void runSetCommand(const std::vector<std::string>& given, Output& output) {
  TextOptions options;
  std::string component;
  std::optional<std::string> value, check, module;
  Arguments arguments("Sets components of every datetime and writes them with it.", "plx set");
  arguments.positional("COMPONENT", component, "A name or selector that plx components lists");
  arguments.positional("VALUE", value,
                       "Its new value: a number, last, mon, jan, q1 and the like, or\n"
                       "@NAME for one with each datetime, from a file of one a line\n"
                       "or, of a table, from a column. COMPONENT=VALUE, once or more\n"
                       "often, stands for the two, and is applied in the order given");
  arguments.positionals("INPUT", options.inputs,
                        "A datetime, a file of one a line, a table or an .npy array;\n"
                        "- and none: standard input");
  declareTextOptions(arguments, options, true);
  arguments.option("--check", check, "report|blank|stop",
                   "Report, blank or stop at results that differ from what was\n"
                   "asked: carried into larger units, moved by a gap of the clock,\n"
                   "or ambiguous (one of two equal wall times)");
  declareClockOptions(arguments, options.fold, options.gap);
  arguments.module(module);
  arguments.footer("Datetimes: " + std::string(kAcceptedDatetimes) + "\n\n" + componentExamples() +
                   "\n" + kStatusHelp);
  if (!arguments.parse(given, output)) return;
  if (!options.quiet) RulesWatch::begin();
  std::vector<std::string> words = {component};
  if (value) words.push_back(*value);
  words.insert(words.end(), options.inputs.begin(), options.inputs.end());
  std::vector<Typed> settings = takeSettings(words);
  options.inputs = std::move(words);
  setAll(std::move(settings), options, check, module, output);
}

}  // namespace plx
