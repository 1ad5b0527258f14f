#include "command/arguments.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "base/message.h"
#include "datetime/notation.h"

namespace plx {

namespace {

// Everything that is no option goes past the parser behind a mark, which no argument begins with.
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

std::string inOneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  return text;
}

// What an option of a type takes, with a space between: "stop|blank|pass" names it.
std::string choicesOf(const std::string& type) {
  std::string choices(type == "FORM" ? kAcceptedForms : type);
  if (type != "FORM" && type.find('|') == std::string::npos) return {};
  std::replace(choices.begin(), choices.end(), '|', ' ');
  std::erase(choices, ',');
  return choices;
}

// "-z,--zone" is told as --zone.
std::string longName(const std::string& names) { return names.substr(names.rfind(',') + 1); }

}  // namespace

Arguments::Arguments(const std::string& description, const std::string& name)
    : app_(description, name) {}

CLI::Option* Arguments::positional(const std::string& name, std::string& text,
                                   const std::string& help) {
  texts_.push_back(&text);
  return app_.add_option(name, text, help)->required()->type_name("");
}

CLI::Option* Arguments::positionals(const std::string& name, std::vector<std::string>& texts,
                                    const std::string& help) {
  lists_.push_back(&texts);
  return app_.add_option(name, texts, help)->type_name("");
}

CLI::Option* Arguments::option(const std::string& names, std::optional<std::string>& text,
                               const std::string& type, const std::string& help) {
  optionTexts_.emplace_back(longName(names), &text);
  return app_
      .add_option_function<std::string>(
          names, [&](const std::string& given) { text = given; }, help)
      ->type_name(type);
}

CLI::Option* Arguments::options(const std::string& names, std::vector<std::string>& texts,
                                const std::string& type, const std::string& help) {
  optionLists_.emplace_back(longName(names), &texts);
  return app_.add_option(names, texts, help)
      ->type_name(type)
      ->expected(1)
      ->allow_extra_args(false)
      ->take_all();
}

CLI::Option* Arguments::flag(const std::string& names, bool& given, const std::string& help) {
  return app_.add_flag(names, given, help)->disable_flag_override();
}

CLI::Option* Arguments::module(std::optional<std::string>& path) {
  return option("--module", path, "PATH", "The module to load, if not the one that came with plx");
}

bool Arguments::parse(std::vector<std::string> arguments, Output& output) {
  if (arguments == std::vector<std::string>{"--describe"}) {
    output.text() += description();
    return false;
  }
  refuseValuesOfFlags(app_, arguments);
  // The parser takes the last argument first.
  std::reverse(arguments.begin(), arguments.end());
  std::transform(arguments.begin(), arguments.end(), arguments.begin(), marked);
  try {
    app_.parse(arguments);
  } catch (const CLI::CallForHelp&) {
    output.text() += app_.help();
    return false;
  } catch (const CLI::ParseError& error) {
    const bool extras = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    const std::string message = extras ? unexpected() : escapeText(error.what());
    throw Failure{Status::usage, message + "; see " + app_.get_name() + " --help"};
  }
  for (std::string* text : texts_) unmark(*text);
  for (std::vector<std::string>* texts : lists_) {
    for (std::string& text : *texts) unmark(text);
  }
  for (const auto& [name, text] : optionTexts_) {
    if (*text) unmarkValue(name, **text);
  }
  for (const auto& [name, texts] : optionLists_) {
    for (std::string& text : *texts) unmarkValue(name, text);
  }
  return true;
}

std::string Arguments::description() const {
  std::string text;
  const auto line = [&](std::string_view kind, const std::string& names, const std::string& type,
                        const std::string& help) {
    text +=
        fmt::format("{}\t{}\t{}\t{}\t{}\n", kind, names, type, choicesOf(type), inOneLine(help));
  };
  for (const CLI::App* command : app_.get_subcommands({}))
    line("command", command->get_name(), "", command->get_description());
  for (const CLI::Option* option : app_.get_options()) {
    if (option->get_group().empty()) continue;  // hidden
    const std::string kind = option->get_positional() ? "argument" : "option";
    const std::string type = option->get_expected_max() > 0 ? option->get_type_name() : "";
    line(kind, option->get_name(option->get_positional(), true), type, option->get_description());
  }
  return text;
}

std::string Arguments::unexpected() const {
  std::string list;
  for (std::string argument : app_.remaining()) {
    unmark(argument);
    list += (list.empty() ? "" : " ") + escapeText(argument);
  }
  return "not expected: " + list;
}

}  // namespace plx
