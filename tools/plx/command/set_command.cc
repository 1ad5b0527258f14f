#include "command/set_command.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <optional>

#include "command/arguments.h"
#include "datetime/datetime_text.h"
#include "datetime/zone.h"
#include "set/components.h"
#include "set/module.h"
#include "set/setter.h"
#include "set/values.h"
#include "stream/line_reader.h"

namespace plx {

namespace {

struct SetOptions {
  std::string component, value;
  std::vector<std::string> inputs;  // datetimes, files, "-"; none for standard input
  std::optional<std::string> zone;  // nothing, or empty: each datetime has its own
  std::optional<std::string> module;
  bool exact = false;
};

// The lines go out as they are done, so that whoever waits behind a pipe sees them.
void setLines(const std::vector<Line>& lines, std::string_view source, Setter& setter,
              Output& output) {
  auto failure = setter.set(lines, source, output.text());
  output.flush();
  if (failure) throw std::move(*failure);
}

void setFile(const std::string& path, Setter& setter, Output& output) {
  LineReader reader(path);
  std::vector<Line> lines;
  while (reader.read(lines)) setLines(lines, reader.name(), setter, output);
}

// Of all that goes wrong, only this says that there is none; the rest is told when it is opened.
bool exists(const std::string& path) {
  struct stat info;
  if (::stat(path.c_str(), &info) == 0) return true;
  return errno != ENOENT && errno != ENOTDIR && errno != ENAMETOOLONG;
}

void setInput(const std::string& input, Setter& setter, Output& output) {
  Complaint complaint;
  if (input != "-" && readDatetime(input, complaint)) {
    setLines({{{}, input, "\n", 0}}, {}, setter, output);
  } else if (input != "-" && looksLikeDatetime(input) && !exists(input)) {
    complaint.what += ", and there is no such file";
    throw Failure{Status::badData, describe("argument", complaint, input)};
  } else {
    setFile(input, setter, output);
  }
}

void refuseOneStreamForTwo(const SetOptions& options) {
  const auto& inputs = options.inputs;
  const bool readsInput =
      inputs.empty() || std::find(inputs.begin(), inputs.end(), "-") != inputs.end();
  if (options.value != "@-" || !readsInput) return;
  throw Failure{Status::usage,
                "the values and the datetimes cannot both come from standard input; "
                "accepted: @FILE, or INPUT"};
}

void setAll(const SetOptions& options, Output& output) {
  refuseOneStreamForTwo(options);
  const Component& component = findComponent(options.component);
  Values values(options.value, component);
  std::optional<Zone> zone;
  if (options.zone && !options.zone->empty()) zone = Zone::named(*options.zone);
  Module module(locateModule(options.module));
  Setter setter(module, component, values, std::move(zone), options.exact);

  if (options.inputs.empty()) setFile("-", setter, output);
  for (const std::string& input : options.inputs) setInput(input, setter, output);
  values.finish();
}

}  // namespace

void runSetCommand(const std::vector<std::string>& given, Output& output) {
  SetOptions options;
  Arguments arguments("Sets one component of every datetime and writes them with it.", "plx set");
  arguments.positional("COMPONENT", options.component,
                       "A name or selector that plx components lists");
  arguments.positional("VALUE", options.value,
                       "Its new value, or @FILE for one a line, in step with the INPUT");
  arguments.positionals("INPUT", options.inputs,
                        "A datetime, or a file of one a line; - and none: standard input");
  arguments.option("-z,--zone", options.zone, "ZONE",
                   "The time zone to work in: UTC, UTCLeapSeconds, local, an\n"
                   "identifier such as Europe/Paris, or an offset such as +05:30.\n"
                   "Without it, datetimes with an offset keep theirs, and others\n"
                   "are plain calendar time");
  arguments.flag("--exact", options.exact,
                 "Write every digit that it takes to read back the same pair of\n"
                 "doubles; else seconds are rounded to nine digits, or to as many\n"
                 "as came in");
  arguments.module(options.module);
  arguments.app().footer("Datetimes: " + std::string(kAcceptedDatetimes) + "\n\n" +
                         componentExamples() + "\n" + kStatusHelp);
  if (arguments.parse(given, output)) setAll(options, output);
}

}  // namespace plx
