// Sets components of the datetimes in an .npy file:
//   set_npy MODULE INPUT OUTPUT ZONE (COMPONENT (VALUE | @FILE))...
// An empty ZONE is none. Exits with the status of a failure, whose message goes to standard error.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "datetime/zone.h"
#include "messages/message.h"
#include "module/components.h"
#include "module/module.h"
#include "npy/npy_file.h"
#include "set/npy_setter.h"

namespace {

using namespace plx;

void writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    if (written <= 0) throw Failure{Status::inputOutput, "cannot write"};
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void run(const std::vector<std::string>& arguments) {
  if (arguments.size() < 6 || arguments.size() % 2 != 0)
    throw Failure{Status::usage, "MODULE INPUT OUTPUT ZONE (COMPONENT (VALUE | @FILE))..."};
  Module module(arguments[0]);
  NpyFile input(arguments[1]);
  const Zone zone = Zone::named(arguments[3]);
  std::vector<NpySetting> settings;
  for (std::size_t i = 4; i < arguments.size(); i += 2) {
    const std::string& value = arguments[i + 1];
    NpySetting setting{findComponent(arguments[i])};
    if (value.starts_with('@')) {
      setting.file = value.substr(1);
    } else {
      setting.value = std::atof(value.c_str());
    }
    settings.push_back(setting);
  }
  const int output = ::open(arguments[2].c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (output < 0) throw Failure{Status::inputOutput, "cannot open the output"};
  setNpy(module, input, settings, zone, {}, 1,
         [&](std::string_view bytes) { writeAll(output, bytes); });
  ::close(output);
}

}  // namespace

int main(int count, char** arguments) {
  try {
    run({arguments + 1, arguments + count});
  } catch (const plx::Failure& failure) {
    std::fprintf(stderr, "plx: %s\n", failure.message.c_str());
    return static_cast<int>(failure.status);
  }
  return 0;
}
