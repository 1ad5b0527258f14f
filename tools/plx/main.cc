// plx: sets components of datetimes on the command line.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "command/command_line.h"
#include "command/rules_command.h"
#include "host/embed.h"
#include "messages/message.h"
#include "set/task_reader.h"
#include "stream/output.h"
#include "stream/signals.h"

namespace {

// A file that is opened takes the first free descriptor, and would then be read or written as one
// of the standard ones. What holds their places cannot be used, as if they were closed.
void holdStandardDescriptors() {
  const int modes[] = {O_WRONLY, O_RDONLY, O_RDONLY};
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0) continue;
    if (::open("/dev/null", modes[descriptor]) < 0) return;
  }
}

int report(const plx::Failure& failure) {
  if (!failure.message.empty()) std::fprintf(stderr, "plx: %s\n", failure.message.c_str());
  return static_cast<int>(failure.status);
}

int run(const std::vector<std::string>& arguments) {
  plx::Output output(STDOUT_FILENO);
  try {
    plx::runCommandLine(arguments, output);
    return 0;
  } catch (const plx::Failure& failure) {
    return report(failure);
  } catch (const std::bad_alloc&) {
    return report({plx::Status::inputOutput, "not enough memory"});
  } catch (const std::exception& error) {
    return report({plx::Status::inputOutput, error.what()});
  }
}

}  // namespace

int main(int argc, char** argv) {
  holdStandardDescriptors();
  plx::handleSignals();
  // A command means the same everywhere: offsets in a zone's text are spelled as in this locale.
  paSetLocale("en_US", nullptr);
  plx::useSystemRules();
  const int status = run(std::vector<std::string>(argv + (argc > 0 ? 1 : 0), argv + argc));
  plx::tellOtherRules();
  plx::tellShortZones();
  return status;
}
