#include "inspect/versions.h"

#include <unicode/uversion.h>

#include "datetime/datetime_text.h"
#include "datetime/rules_in_use.h"
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

}  // namespace

VersionTexts versionTexts() {
  UVersionInfo info;
  u_getVersion(info);
  char icu[U_MAX_VERSION_STRING_LENGTH];
  u_versionToString(info, icu);
  const RulesInUse rules = rulesInUse();
  return {icu, rules.release, rules.where, lastLeapSecond()};
}

}  // namespace plx
