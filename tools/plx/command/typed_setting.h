// One setting as people type it: COMPONENT=VALUE, month+=1, minute=down:15.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "setting/change.h"

namespace plx {

struct TypedSetting {
  std::string component, value;
  std::string sign = {};  // "+" of month+=1, "-" of month-=1; else empty

  // `@` begins the name of what has a value for each datetime.
  bool isEach() const { return value.starts_with('@'); }
  // As it was typed.
  std::string text() const { return component + sign + "=" + value; }
};

// Nothing for a word that is none, such as the path of a file whose folder has a name with a sign in it.
std::optional<TypedSetting> typedSetting(std::string_view word);

// Throws a Failure: of Status::unknownName for the component, of Status::badData for the value. Names of
// days count from the first day of the weeks, Sunday being 0.
Assignment assignmentOf(const TypedSetting& setting, int firstDay);

}  // namespace plx
