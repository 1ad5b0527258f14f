#include "command/version.h"

#include <fmt/format.h>
#include <unicode/uversion.h>

#include "datetime/datetime_text.h"
#include "datetime/rules_in_use.h"
#include "host/pa_array.h"
#include "unzoned/leap_seconds.h"

namespace plx {

namespace {

std::string lastLeapSecond() {
  DatetimeText form;
  form.separator = 'T';
  const auto dayAfter = static_cast<int128>(leapInstantsUTC.back()) / 1000;
  std::string text;
  writeDatetime(text, form, {dayAfter - 1, true, OffsetForm::z, 0}, "");
  return text;
}

std::string rulesText() {
  const RulesInUse rules = rulesInUse();
  return fmt::format("{}, {}", rules.release, rules.where);
}

}  // namespace

std::string versionText(const Module& module) {
  UVersionInfo info;
  u_getVersion(info);
  char icu[U_MAX_VERSION_STRING_LENGTH];
  u_versionToString(info, icu);
  return fmt::format(
      "plx {}\n"
      "module            {} (host interface {})\n"
      "ICU               {}\n"
      "time-zone data    {}\n"
      "last leap second  {}\n",
      PLX_VERSION, module.path(), PA_INTERFACE_VERSION, icu, rulesText(), lastLeapSecond());
}

}  // namespace plx
