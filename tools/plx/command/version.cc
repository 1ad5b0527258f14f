#include "command/version.h"

#include <fmt/format.h>

#include "host/pa_array.h"
#include "inspect/versions.h"

namespace plx {

std::string versionText(const Module& module) {
  const VersionTexts texts = versionTexts();
  return fmt::format(
      "plx {}\n"
      "module            {} (host interface {})\n"
      "ICU               {}\n"
      "time-zone data    {}, {}\n"
      "last leap second  {}\n",
      PLX_VERSION, module.path(), PA_INTERFACE_VERSION, texts.icu, texts.rules, texts.rulesFrom,
      texts.lastLeapSecond);
}

}  // namespace plx
