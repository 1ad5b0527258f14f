#include "command/explain_command.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <vector>

#include "command/arguments.h"
#include "datetime/datetime_text.h"
#include "datetime/exact.h"
#include "datetime/zone.h"
#include "inspect/explain.h"
#include "inspect/named.h"
#include "set/components.h"
#include "set/module.h"
#include "set/setter.h"
#include "set/values.h"
#include "stream/line_reader.h"

namespace plx {

namespace {

struct Options {
  std::string component, value;  // a number or a name
  std::string datetime;
  std::optional<std::string> zone;  // none: the datetime's own
  std::optional<std::string> module;
};

[[noreturn]] void fail(const Complaint& complaint, std::string_view text) {
  throw Failure{Status::badData, describe("argument", complaint, text)};
}

// Whatever `plx set` would refuse is refused in the same words.
void setAsLine(Module& module, const Options& options, const Component& component, double value) {
  std::optional<Zone> zone;
  if (options.zone) zone = Zone::named(*options.zone);
  Values values(fmt::format("{}", value), component);
  Setter setter(module, component, values, std::move(zone), false);
  const std::vector<Line> lines = {{{}, options.datetime, "\n", 0}};
  std::string out;
  if (auto failure = setter.set(lines, "", out)) throw std::move(*failure);
}

double numberOf(const Options& options, const Component& component, const doubledouble& pair,
                const Zone& zone) {
  if (const auto name = named(component, options.value))
    return resolve(*name, component, pair, zone);
  if (options.value.starts_with('@')) {
    throw Failure{Status::usage, "explain takes one value; values of a file are for plx set"};
  }
  Complaint complaint;
  return *Values(options.value, component).next(complaint);
}

std::string explanation(const Options& options, bool colour) {
  const Component& component = findComponent(options.component);
  Complaint complaint;
  const auto datetime = readDatetime(options.datetime, complaint);
  if (!datetime) fail(complaint, options.datetime);
  const Zone zone = options.zone ? Zone::named(*options.zone) : Zone::of(*datetime);
  const auto second = zone.secondOf(*datetime, complaint);
  if (!second) fail(complaint, options.datetime);

  const doubledouble before = pairOf(*second, datetime->fraction);
  const double value = numberOf(options, component, before, zone);
  Module module(locateModule(options.module));
  setAsLine(module, options, component, value);
  Datetimes one;
  one.push(before);
  if (const auto error = module.set(one, {value}, component.selector, zone.text()))
    throw Failure{Status::badData, escapeText(error->message)};
  const std::size_t digits = std::max<std::size_t>(9, datetime->fraction.size());
  const Explained explained{zone, {&component, value}, options.value, before, one.at(0), digits};
  return explain(explained, colour);
}

}  // namespace

void runExplainCommand(const std::vector<std::string>& given, Output& output) {
  Options options;
  Arguments arguments("Tells what setting one component of one datetime does, and why.",
                      "plx explain");
  arguments.positional("COMPONENT", options.component,
                       "A name or selector that plx components lists");
  arguments.positional("VALUE", options.value,
                       "Its new value: a number, or last, mon, jan, q1 ...");
  arguments.positional("DATETIME", options.datetime, "The datetime");
  arguments.option("-z,--zone", options.zone, "ZONE",
                   "The time zone to work in; see plx set --help");
  arguments.module(options.module);
  arguments.app().footer(
      "Colours are used on a terminal, unless the environment variable NO_COLOR is set.\n\n"
      "Example:\n  plx explain hour 2 2014-03-09T12:50 --zone America/New_York\n\n" +
      std::string(kStatusHelp));
  if (!arguments.parse(given, output)) return;
  output.text() += explanation(options, takesColour(STDOUT_FILENO));
}

bool takesColour(int descriptor) {
  const char* none = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  if (none != nullptr && *none != '\0') return false;
  if (terminal != nullptr && std::string_view(terminal) == "dumb") return false;
  return ::isatty(descriptor) == 1;
}

}  // namespace plx
