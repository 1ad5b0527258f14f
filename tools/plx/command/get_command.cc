#include "command/get_command.h"

#include <memory>
#include <optional>
#include <utility>

#include "command/arguments.h"
#include "command/npy_command.h"
#include "command/text_command.h"
#include "datetime/rules_in_use.h"
#include "set/getter.h"
#include "setting/named_field.h"

namespace plx {

void runGetCommand(const std::vector<std::string>& given, Output& output) {
  TextOptions options;
  std::string name;
  Arguments arguments("Reads a component of every datetime, by the rules that setting it uses.",
                      "plx get");
  arguments.positional("COMPONENT", name, "A name or selector that plx components lists");
  arguments.positionals("INPUT", options.inputs,
                        "A datetime, or a file of one a line or a table; - and none:\n"
                        "standard input");
  declareTextOptions(arguments, options, false);
  arguments.ignoredModule();
  arguments.footer(kStatusHelp);
  if (!arguments.parse(given, output)) return;
  if (!options.quiet) RulesWatch::begin();

  if (namesArray(options.inputs))
    throw Failure{Status::usage,
                  "get reads text, and the input is an .npy array; accepted: plx set"};
  if (options.inPlace && options.newColumns.empty())
    throw Failure{Status::usage,
                  "get -i would leave nothing but the values in the files; accepted: with "
                  "--new-column"};
  const CalendarField field = findField(name);
  const ReadingOptions reading = readingOptions(options);
  TextWork work;
  work.make = [&] { return std::make_unique<Getter>(field, reading); };
  work.resultsOnly = true;
  work.usesClock = !factsOf(field.component).isOfDate;
  runText(options, std::move(work), output);
}

}  // namespace plx
