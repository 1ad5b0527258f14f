#include "command/command_line.h"

#include <fmt/format.h>

#include <string_view>

#include "command/arguments.h"
#include "command/explain_command.h"
#include "command/get_command.h"
#include "command/rules_command.h"
#include "command/set_command.h"
#include "command/version.h"
#include "command/zones_command.h"
#include "messages/message.h"
#include "module/components.h"
#include "module/module.h"
#include "setting/named_field.h"

namespace plx {

namespace {

using CommandArguments = std::vector<std::string>;

void runComponentsCommand(const CommandArguments& given, Output& output) {
  Arguments arguments("Lists the components that can be set.", "plx components");
  arguments.ignoredModule();
  if (arguments.parse(given, output)) output.text() += fieldTable();
}

struct Command {
  std::string_view name;
  const char* help;
  void (*run)(const CommandArguments& given, Output& output);
};

constexpr Command kCommands[] = {
    {"set", "Set components of datetimes; see plx set --help", runSetCommand},
    {"get", "Read a component of datetimes; see plx get --help", runGetCommand},
    {"explain", "Tell what one setting does, and why; see plx explain --help", runExplainCommand},
    {"zones", "List the time zones with their offsets", runZonesCommand},
    {"rules", "Tell of the time-zone rules, and renew them; see plx rules --help", runRulesCommand},
    {"components", "List the components with their selectors and examples", runComponentsCommand},
};

constexpr std::string_view kAcceptedCommands = "set, get, explain, zones, rules or components";

const Command* findCommand(std::string_view name) {
  for (const Command& command : kCommands) {
    if (command.name == name) return &command;
  }
  return nullptr;
}

void runGeneral(const CommandArguments& given, Output& output) {
  std::optional<std::string> module;
  bool version = false;
  Arguments arguments("Sets one component of datetimes, exactly and in any time zone.", "plx");
  arguments.flag("--version", version,
                 "Tell the versions of plx, the module, ICU and the time-zone\n"
                 "data, and the last leap second known");
  arguments.module(module);
  for (const Command& command : kCommands)
    arguments.command(std::string(command.name), command.help);
  arguments.footer(componentExamples() + "\n" + kStatusHelp);
  if (!arguments.parse(given, output)) return;
  if (!version)
    throw Failure{Status::usage,
                  fmt::format("a command is missing: {}; see plx --help", kAcceptedCommands)};
  output.text() += versionText(Module(locateModule(module)));
}

// plx help, and plx help COMMAND.
void runHelp(const CommandArguments& given, Output& output) {
  if (given.empty()) return runGeneral({"--help"}, output);
  const Command* const command = findCommand(given.front());
  if (command == nullptr || given.size() > 1) {
    throw Failure{Status::usage, describe("help", {"no such command", kAcceptedCommands},
                                          given.size() > 1 ? given[1] : given[0])};
  }
  command->run({"--help"}, output);
}

// The first argument that is neither --module nor its path.
auto commandIn(const CommandArguments& arguments) {
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
  const auto at = commandIn(arguments);
  const std::string_view name = at == arguments.end() ? std::string_view() : *at;
  // What stands before the command is its option as much as what stands behind it.
  CommandArguments rest(arguments.begin(), at);
  if (at != arguments.end()) rest.insert(rest.end(), at + 1, arguments.end());
  if (name == "help") {
    runHelp({at + 1, arguments.end()}, output);
  } else if (const Command* const command = findCommand(name)) {
    command->run(rest, output);
  } else {
    runGeneral(arguments, output);
  }
  output.flush();
}

}  // namespace plx
