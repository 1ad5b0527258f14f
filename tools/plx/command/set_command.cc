#include "command/set_command.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "datetime/datetime_text.h"
#include "datetime/zone.h"
#include "set/components.h"
#include "set/module.h"
#include "set/setter.h"
#include "set/values.h"
#include "stream/line_reader.h"

namespace plx {

namespace {

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

}  // namespace

void runSet(const SetOptions& options, Output& output) {
  refuseOneStreamForTwo(options);
  const Component& component = findComponent(options.component);
  Values values(options.value, component);
  std::optional<Zone> zone;
  if (!options.zone.empty()) zone = Zone::named(options.zone);
  Module module(locateModule(options.module));
  Setter setter(module, component, values, std::move(zone), options.exact);

  if (options.inputs.empty()) setFile("-", setter, output);
  for (const std::string& input : options.inputs) setInput(input, setter, output);
  values.finish();
}

}  // namespace plx
