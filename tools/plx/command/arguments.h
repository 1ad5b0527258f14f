// What the commands share in reading their arguments.
//
// The parser behind it takes seconds to compile, so that only arguments.cc includes it.
#pragma once

#include <memory>
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
  // What is declared is written to when arguments are parsed, and has to stay until then.
  Arguments(const std::string& description, const std::string& name);
  ~Arguments();
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  // One that has to be there, and one that may be missing.
  void positional(const std::string& name, std::string& text, const std::string& help);
  void positional(const std::string& name, std::optional<std::string>& text,
                  const std::string& help);
  // All that are left.
  void positionals(const std::string& name, std::vector<std::string>& texts,
                   const std::string& help);
  // "-z,--zone" and the like; `type` names what follows in the help text.
  void option(const std::string& names, std::optional<std::string>& text, const std::string& type,
              const std::string& help);
  // One that may be given several times.
  void options(const std::string& names, std::vector<std::string>& texts, const std::string& type,
               const std::string& help);
  void flag(const std::string& names, bool& given, const std::string& help);
  void module(std::optional<std::string>& path);
  // Of no use to the command, but it may stand before every one.
  void ignoredModule();
  // For the help text: a command, and what stands at the end.
  void command(const std::string& name, const std::string& help);
  void footer(const std::string& text);

  // False where help was asked for and given. Throws a Failure of Status::usage.
  //
  // --describe gives the same as --help for programs: manual pages and completions are made from it,
  // so that they know what the command knows. A line for each thing, its columns separated by tabs:
  //
  //   kind (command, argument, option)   names   what follows   its choices   help
  bool parse(std::vector<std::string> arguments, Output& output);

 private:
  struct Parser;
  std::unique_ptr<Parser> parser_;
};

}  // namespace plx
