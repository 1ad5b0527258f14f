#include "command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

#include "components.h"
#include "datetime_text.h"
#include "message.h"
#include "module.h"
#include "set_command.h"
#include "version.h"

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

void unmark(std::string& argument) { std::erase(argument, kMark); }

// False where help was asked for and given.
bool parse(CLI::App& app, std::vector<std::string> arguments, Output& output) {
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
    std::string message = error.what();
    unmark(message);
    throw Failure{Status::usage, escapeText(message) + "; see " + app.get_name() + " --help"};
  }
}

void addModule(CLI::App& app, std::optional<std::string>& module) {
  app.add_option_function<std::string>(
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

  for (std::string* text : {&options.component, &options.value, &options.zone}) unmark(*text);
  for (std::string& input : options.inputs) unmark(input);
  if (options.module) unmark(*options.module);
  runSet(options, output);
}

void runComponentsCommand(const std::vector<std::string>& arguments, Output& output) {
  CLI::App app("Lists the components that can be set.", "plx components");
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
  if (module) unmark(*module);
  output.text() += versionText(Module(locateModule(module)));
}

}  // namespace

void runCommandLine(const std::vector<std::string>& arguments, Output& output) {
  const std::string_view command = arguments.empty() ? std::string_view() : arguments.front();
  const auto rest = [&] { return std::vector(arguments.begin() + 1, arguments.end()); };
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
