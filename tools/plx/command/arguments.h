// What the commands share in reading their arguments.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "stream/output.h"

namespace plx {

// How help texts end.
inline constexpr const char* kStatusHelp =
    "Exit status: 0 all done; 1 a text is no datetime, a value no number, or a result out of\n"
    "range; 2 wrong usage; 3 unknown component or time zone; 4 reading, writing or loading the\n"
    "module failed. Whatever was written before an error is whole lines.\n";

// The arguments of a command. Texts of options and positional arguments are declared here, so that
// they come out of `parse` as they were typed: the parser itself takes -.5 for an option, a name in
// brackets for a list, and more of that kind.
class Arguments {
 public:
  Arguments(const std::string& description, const std::string& name);

  CLI::App& app() { return app_; }

  CLI::Option* positional(const std::string& name, std::string& text, const std::string& help);
  CLI::Option* positionals(const std::string& name, std::vector<std::string>& texts,
                           const std::string& help);
  // "-z,--zone" and the like; `type` names what follows in the help text.
  CLI::Option* option(const std::string& names, std::optional<std::string>& text,
                      const std::string& type, const std::string& help);
  // One that may be given several times.
  CLI::Option* options(const std::string& names, std::vector<std::string>& texts,
                       const std::string& type, const std::string& help);
  CLI::Option* flag(const std::string& names, bool& given, const std::string& help);
  CLI::Option* module(std::optional<std::string>& path);

  // False where help was asked for and given. Throws a Failure of Status::usage.
  //
  // --describe gives the same as --help for programs: manual pages and completions are made from it,
  // so that they know what the command knows. A line for each thing, its columns separated by tabs:
  //
  //   kind (command, argument, option)   names   what follows   its choices   help
  bool parse(std::vector<std::string> arguments, Output& output);

 private:
  std::string unexpected() const;
  std::string description() const;

  CLI::App app_;
  std::vector<std::string*> texts_;
  std::vector<std::vector<std::string>*> lists_;
  std::vector<std::pair<std::string, std::optional<std::string>*>> optionTexts_;
  std::vector<std::pair<std::string, std::vector<std::string>*>> optionLists_;
};

}  // namespace plx
