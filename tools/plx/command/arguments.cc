#include "command/arguments.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <utility>

#include "datetime/notation.h"
#include "messages/message.h"

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

// The arguments that nothing takes.
std::string unexpected(const CLI::App& app) {
  std::string list;
  for (std::string argument : app.remaining()) {
    unmark(argument);
    list += (list.empty() ? "" : " ") + escapeText(argument);
  }
  return "not expected: " + list;
}

// What --describe tells.
std::string descriptionOf(const CLI::App& app) {
  std::string text;
  const auto line = [&](std::string_view kind, const std::string& names, const std::string& type,
                        const std::string& help) {
    text +=
        fmt::format("{}\t{}\t{}\t{}\t{}\n", kind, names, type, choicesOf(type), inOneLine(help));
  };
  for (const CLI::App* command : app.get_subcommands({}))
    line("command", command->get_name(), "", command->get_description());
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_group().empty()) continue;  // hidden
    const std::string kind = option->get_positional() ? "argument" : "option";
    const std::string type = option->get_expected_max() > 0 ? option->get_type_name() : "";
    line(kind, option->get_name(option->get_positional(), true), type, option->get_description());
  }
  return text;
}

// The parser's own words count: "--zone: 1 required ZONE missing", "--zone: At Most 1 required but received 2". It leaves
// out the name of a hidden option, which only --module is.
std::string withoutCounts(std::string_view complaint) {
  constexpr std::string_view kRequired = ": 1 required ", kMissing = " missing";
  const std::size_t colon = std::min(complaint.find(':'), complaint.size());
  const std::string_view option = colon == 0 ? "--module" : complaint.substr(0, colon);
  std::string_view value = complaint.substr(colon);
  if (value.starts_with(": At Most 1 ")) return fmt::format("{} is given more than once", option);
  if (!value.starts_with(kRequired) || !value.ends_with(kMissing)) return escapeText(complaint);
  value.remove_prefix(kRequired.size());
  value.remove_suffix(kMissing.size());
  return fmt::format("{} needs a {}", option, value);
}

}  // namespace

struct Arguments::Parser {
  Parser(const std::string& description, const std::string& name) : app(description, name) {}

  // What is given for an argument or option of one text.
  CLI::Option* add(const std::string& names, std::optional<std::string>& text,
                   const std::string& help) {
    return app.add_option_function<std::string>(
        names, [&](const std::string& given) { text = given; }, help);
  }
  CLI::Option* addModule(std::optional<std::string>& path) {
    optionTexts.emplace_back("--module", &path);
    return add("--module", path, "The module to load, if not the one that came with plx")
        ->type_name("PATH");
  }
  void unmarkAll() {
    for (std::string* text : texts) unmark(*text);
    for (std::optional<std::string>* text : optionalTexts) {
      if (*text) unmark(**text);
    }
    for (std::vector<std::string>* list : lists) {
      for (std::string& text : *list) unmark(text);
    }
    for (const auto& [name, text] : optionTexts) {
      if (*text) unmarkValue(name, **text);
    }
    for (const auto& [name, list] : optionLists) {
      for (std::string& text : *list) unmarkValue(name, text);
    }
  }

  CLI::App app;
  std::optional<std::string> ignored;  // a module that nothing asks for
  std::vector<std::string*> texts;
  std::vector<std::optional<std::string>*> optionalTexts;
  std::vector<std::vector<std::string>*> lists;
  std::vector<std::pair<std::string, std::optional<std::string>*>> optionTexts;
  std::vector<std::pair<std::string, std::vector<std::string>*>> optionLists;
};

Arguments::Arguments(const std::string& description, const std::string& name)
    : parser_(std::make_unique<Parser>(description, name)) {}

Arguments::~Arguments() = default;

void Arguments::positional(const std::string& name, std::string& text, const std::string& help) {
  parser_->texts.push_back(&text);
  parser_->app.add_option(name, text, help)->required()->type_name("");
}

void Arguments::positional(const std::string& name, std::optional<std::string>& text,
                           const std::string& help) {
  parser_->optionalTexts.push_back(&text);
  parser_->add(name, text, help)->type_name("");
}

void Arguments::positionals(const std::string& name, std::vector<std::string>& texts,
                            const std::string& help) {
  parser_->lists.push_back(&texts);
  parser_->app.add_option(name, texts, help)->type_name("");
}

void Arguments::option(const std::string& names, std::optional<std::string>& text,
                       const std::string& type, const std::string& help) {
  parser_->optionTexts.emplace_back(longName(names), &text);
  parser_->add(names, text, help)->type_name(type);
}

void Arguments::options(const std::string& names, std::vector<std::string>& texts,
                        const std::string& type, const std::string& help) {
  parser_->optionLists.emplace_back(longName(names), &texts);
  parser_->app.add_option(names, texts, help)
      ->type_name(type)
      ->expected(1)
      ->allow_extra_args(false)
      ->take_all();
}

void Arguments::flag(const std::string& names, bool& given, const std::string& help) {
  parser_->app.add_flag(names, given, help)->disable_flag_override();
}

void Arguments::module(std::optional<std::string>& path) { parser_->addModule(path); }

void Arguments::ignoredModule() { parser_->addModule(parser_->ignored)->group(""); }

void Arguments::command(const std::string& name, const std::string& help) {
  parser_->app.add_subcommand(name, help);
}

void Arguments::footer(const std::string& text) { parser_->app.footer(text); }

bool Arguments::parse(std::vector<std::string> arguments, Output& output) {
  CLI::App& app = parser_->app;
  if (arguments == std::vector<std::string>{"--describe"}) {
    output.text() += descriptionOf(app);
    return false;
  }
  refuseValuesOfFlags(app, arguments);
  // The parser takes the last argument first.
  std::reverse(arguments.begin(), arguments.end());
  std::transform(arguments.begin(), arguments.end(), arguments.begin(), marked);
  try {
    app.parse(arguments);
  } catch (const CLI::CallForHelp&) {
    output.text() += app.help();
    return false;
  } catch (const CLI::ParseError& error) {
    const bool isMiscounted = dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr;
    const bool extras = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    const std::string message = extras         ? unexpected(app)
                                : isMiscounted ? withoutCounts(error.what())
                                               : escapeText(error.what());
    throw Failure{Status::usage, message + "; see " + app.get_name() + " --help"};
  }
  parser_->unmarkAll();
  return true;
}

}  // namespace plx
