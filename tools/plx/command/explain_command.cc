#include "command/explain_command.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <vector>

#include "command/arguments.h"
#include "command/text_command.h"
#include "command/typed_setting.h"
#include "datetime/datetime_text.h"
#include "datetime/reading.h"
#include "datetime/rules_in_use.h"
#include "inspect/explain.h"
#include "inspect/leap_table.h"
#include "module/module.h"
#include "set/setter.h"
#include "set/task_reader.h"
#include "setting/change.h"
#include "stream/line_reader.h"

namespace plx {

namespace {

struct Options {
  TypedSetting setting;
  std::string datetime;
  std::optional<std::string> zone;  // none: the datetime's own
  std::optional<std::string> module, fold, gap, weekStart;
  bool clips = false;
  bool quiet = false;
};

// Whatever `plx set` would refuse is refused in the same words.
void refuseTrouble(const Options& options, const Batch& batch) {
  if (batch.troubles.empty()) return;
  const Trouble& trouble = batch.troubles.front();
  const bool ofValue = trouble.kind == Trouble::Kind::value;
  throw Failure{trouble.complaint.status,
                describe(ofValue ? "VALUE" : "argument", trouble.complaint,
                         ofValue ? options.setting.value : options.datetime)};
}

Assignment assignmentOf(const Options& options, const TypedSetting& setting) {
  if (setting.isEach())
    throw Failure{Status::usage, "explain takes one value; values of a file are for plx set"};
  return plx::assignmentOf(setting, weeksFrom(options.weekStart).firstDay);
}

// Those of the terminal, or that COLUMNS tells; of what is wider no more than is good to read.
std::size_t columnsOf(int descriptor) {
  constexpr std::size_t kMost = 78, kLeast = 20;
  std::size_t columns = kMost;
  struct winsize size = {};
  const char* const told = std::getenv("COLUMNS");
  if (told != nullptr && std::atoi(told) > 0) {
    columns = static_cast<std::size_t>(std::atoi(told));
  } else if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    columns = size.ws_col;
  }
  return std::clamp(columns, kLeast, kMost);
}

std::string explanation(const Options& options, bool colour) {
  const Assignment assignment = assignmentOf(options, options.setting);
  SetterOptions setting;
  setting.assignments = {assignment};
  setting.clips = options.clips;
  setting.reading.weeks = weeksFrom(options.weekStart);
  setting.reading.zone = options.zone;
  setting.reading.clock = clockChoice(options.fold, options.gap);
  Module module(locateModule(options.module));
  const Task task{options.datetime, {}, {}};
  Batch batch;
  Setter setter(module, setting);
  setter.work({&task, 1}, batch);
  refuseTrouble(options, batch);
  if (batch.warnings > 0) std::fprintf(stderr, "plx: %s\n", std::string(kPastLeapTable).c_str());

  const auto result = setter.resultOf(0);
  if (!result) {
    throw Failure{Status::badData,
                  describe("argument", {"not a datetime", kAcceptedDatetimes}, options.datetime)};
  }
  const Reading& reading = result->reading;
  Explained explained{*reading.zone, result->settings.front(), options.setting.value, reading.pair,
                      result->after};
  explained.digits = std::max<std::size_t>(9, reading.text.fraction.size());
  if (reading.clock != nullptr && reading.clock->text() == reading.zone->text())
    explained.wall = wallOf(reading);
  explained.field = assignment.field();
  if (assignment.change != Change::to) explained.typed = options.setting.text();
  explained.columns = columnsOf(STDOUT_FILENO);
  return explain(explained, colour);
}

}  // namespace

void runExplainCommand(const std::vector<std::string>& given, Output& output) {
  Options options;
  Arguments arguments("Tells what setting one component of one datetime does, and why.",
                      "plx explain");
  std::string component, value;
  std::optional<std::string> datetime;
  arguments.positional("COMPONENT", component, "A name or selector that plx components lists");
  arguments.positional("VALUE", value,
                       "Its new value: a number, or last, mon, jan, q1 ... Or\n"
                       "COMPONENT=VALUE for the two, month+=1 and the like");
  arguments.positional("DATETIME", datetime, "The datetime");
  arguments.option("-z,--zone", options.zone, "ZONE",
                   "The time zone to work in; see plx set --help");
  arguments.flag("--clip", options.clips, "Where a month lacks the day, take its last");
  arguments.option("--week-start", options.weekStart, "DAY",
                   "The day that week-of-year and day-of-week count from");
  declareClockOptions(arguments, options.fold, options.gap);
  arguments.flag("--quiet", options.quiet, "Say nothing of other time-zone rules");
  arguments.module(options.module);
  arguments.footer(
      "Colours are used on a terminal, unless the environment variable NO_COLOR is set.\n\n"
      "Examples:\n  plx explain hour 2 2014-03-09T12:50 --zone America/New_York\n"
      "  plx explain month+=1 2014-01-31\n\n" +
      std::string(kStatusHelp));
  if (!arguments.parse(given, output)) return;
  if (!options.quiet) RulesWatch::begin();
  const auto typed = typedSetting(component);
  if (datetime && typed)
    throw Failure{
        Status::usage,
        describe("argument", {"explain tells of one setting", "COMPONENT=VALUE and one DATETIME"},
                 value)};
  if (!datetime && !typed)
    throw Failure{Status::usage, "DATETIME is required; see plx explain --help"};
  options.setting = typed.value_or(TypedSetting{component, value});
  options.datetime = datetime.value_or(value);
  output.text() += explanation(options, takesColour(STDOUT_FILENO));
}

bool takesColour(int descriptor) {
  const char* none = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  if (none != nullptr && *none != '\0') return false;
  if (terminal == nullptr || std::string_view(terminal) == "dumb") return false;
  return ::isatty(descriptor) == 1;
}

}  // namespace plx
