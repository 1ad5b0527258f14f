#include "command/command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

#include "base/message.h"
#include "command/set_command.h"
#include "command/version.h"
#include "datetime/datetime_text.h"
#include "set/components.h"
#include "set/module.h"

namespace plx {

namespace {

constexpr const char* kStatusHelp =
    "Exit status: 0 all done; 1 a text is no datetime, a value no number, or a result out of\n"
    "range; 2 wrong usage; 3 unknown component or time zone; 4 reading, writing or loading the\n"
    "module failed. Whatever was written before an error is whole lines.\n";

// The parser takes -.5 for an option, a name in brackets for a list, and more of that kind. So
// everything that is no option goes past it behind a mark, which no argument begins with.
constexpr char kMark = '\x01';

bool isOption(std::string_view argument) {
  if (argument.size() < 2 || argument[0] != '-') return false;
  const auto next = static_cast<unsigned char>(argument[1]);
  const bool number = std::isdigit(next) != 0 || next == '.' || argument.starts_with("-inf") ||
                      argument.starts_with("-nan");
  return !number;
}

std::string marked(const std::string& argument) {
  return isOption(argument) ? argument : kMark + argument;
}

void unmark(std::string& argument) {
  if (argument.starts_with(kMark)) argument.erase(0, 1);
}

// The parser takes whatever stands behind an option that needs a value for that value.
void unmarkValue(std::string_view option, std::string& value) {
  if (isOption(value)) {
    throw Failure{Status::usage,
                  fmt::format("{} takes a value, and {} is an option", option, escapeText(value))};
  }
  unmark(value);
}

void refuseValuesOfFlags(const CLI::App& app, const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments) {
    if (argument == "--") return;
    const std::string name = argument.substr(0, argument.find('='));
    if (name.size() == argument.size() || !name.starts_with("--")) continue;
    const CLI::Option* option = app.get_option_no_throw(name);
    if (option == nullptr || option->get_items_expected_max() > 0) continue;
    throw Failure{Status::usage,
                  fmt::format("{} takes no value; see {} --help", name, app.get_name())};
  }
}

std::string unexpected(const CLI::App& app) {
  std::string list;
  for (std::string argument : app.remaining()) {
    unmark(argument);
    list += (list.empty() ? "" : " ") + escapeText(argument);
  }
  return "not expected: " + list;
}

// False where help was asked for and given.
bool parse(CLI::App& app, std::vector<std::string> arguments, Output& output) {
  refuseValuesOfFlags(app, arguments);
  // The parser takes the last argument first.
  std::reverse(arguments.begin(), arguments.end());
  std::transform(arguments.begin(), arguments.end(), arguments.begin(), marked);
  try {
    app.parse(arguments);
    return true;
  } catch (const CLI::CallForHelp&) {
    output.text() += app.help();
    return false;
  } catch (const CLI::ParseError& error) {
    const bool extras = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    const std::string message = extras ? unexpected(app) : escapeText(error.what());
    throw Failure{Status::usage, message + "; see " + app.get_name() + " --help"};
  }
}

CLI::Option* addModule(CLI::App& app, std::optional<std::string>& module) {
  return app
      .add_option_function<std::string>(
          "--module", [&](const std::string& path) { module = path; },
          "The module to load, if not the one that came with plx")
      ->type_name("PATH");
}

void runSetCommand(const std::vector<std::string>& arguments, Output& output) {
  SetOptions options;
  CLI::App app("Sets one component of every datetime and writes them with it.", "plx set");
  app.add_option("COMPONENT", options.component, "A name or selector that plx components lists")
      ->required()
      ->type_name("");
  app.add_option("VALUE", options.value,
                 "Its new value, or @FILE for one a line, in step with the INPUT")
      ->required()
      ->type_name("");
  app.add_option("INPUT", options.inputs,
                 "A datetime, or a file of one a line; - and none: standard input")
      ->type_name("");
  app.add_option("-z,--zone", options.zone,
                 "The time zone to work in: UTC, UTCLeapSeconds, local, an\n"
                 "identifier such as Europe/Paris, or an offset such as +05:30.\n"
                 "Without it, datetimes with an offset keep theirs, and others\n"
                 "are plain calendar time")
      ->type_name("ZONE");
  app.add_flag("--exact", options.exact,
               "Write every digit that it takes to read back the same pair of\n"
               "doubles; else seconds are rounded to nine digits, or to as many\n"
               "as came in")
      ->disable_flag_override();
  addModule(app, options.module);
  app.footer("Datetimes: " + std::string(kAcceptedDatetimes) + "\n\n" + componentExamples() + "\n" +
             kStatusHelp);
  if (!parse(app, arguments, output)) return;

  for (std::string* text : {&options.component, &options.value}) unmark(*text);
  for (std::string& input : options.inputs) unmark(input);
  unmarkValue("--zone", options.zone);
  if (options.module) unmarkValue("--module", *options.module);
  runSet(options, output);
}

void runComponentsCommand(const std::vector<std::string>& arguments, Output& output) {
  std::optional<std::string> module;
  CLI::App app("Lists the components that can be set.", "plx components");
  addModule(app, module)->group("");  // of no use here, but it may stand before every command
  if (parse(app, arguments, output)) output.text() += componentTable();
}

void runGeneral(const std::vector<std::string>& arguments, Output& output) {
  std::optional<std::string> module;
  bool version = false;
  CLI::App app("Sets one component of datetimes, exactly and in any time zone.", "plx");
  app.add_flag("--version", version,
               "Tell the versions of plx, the module, ICU and the time-zone\n"
               "data, and the last leap second known")
      ->disable_flag_override();
  addModule(app, module);
  app.add_subcommand("set", "Set one component of datetimes; see plx set --help");
  app.add_subcommand("components", "List the components with their selectors and examples");
  app.footer(componentExamples() + "\n" + kStatusHelp);
  if (!parse(app, arguments, output)) return;
  if (!version)
    throw Failure{Status::usage, "a command is missing: set or components; see plx --help"};
  if (module) unmarkValue("--module", *module);
  output.text() += versionText(Module(locateModule(module)));
}

// The first argument that is neither --module nor its path.
auto findCommand(const std::vector<std::string>& arguments) {
  auto at = arguments.begin();
  while (at != arguments.end()) {
    const bool pathFollows = *at == "--module" && at + 1 != arguments.end();
    if (!pathFollows && !at->starts_with("--module=")) break;
    at += pathFollows ? 2 : 1;
  }
  return at;
}

}  // namespace

void runCommandLine(const std::vector<std::string>& arguments, Output& output) {
  const auto at = findCommand(arguments);
  const std::string_view command = at == arguments.end() ? std::string_view() : *at;
  // What stands before the command is its option as much as what stands behind it.
  const auto rest = [&] {
    std::vector<std::string> all(arguments.begin(), at);
    all.insert(all.end(), at + 1, arguments.end());
    return all;
  };
  if (command == "set") {
    runSetCommand(rest(), output);
  } else if (command == "components") {
    runComponentsCommand(rest(), output);
  } else {
    runGeneral(arguments, output);
  }
  output.flush();
}

}  // namespace plx
