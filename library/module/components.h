// Components by the names and selectors that people type, and an example of each.
#pragma once

#include <string>
#include <string_view>

#include "base/component.h"

namespace plx {

// By name or selector; throws a Failure of Status::unknownName that lists the names.
Component findComponent(std::string_view text);

// The arguments of a command, and what it prints.
struct Example {
  std::string_view arguments, result;
};

Example exampleOf(Component component);

// The table that `plx components` prints.
std::string componentTable();

// An example for each component, as help texts end.
std::string componentExamples();

}  // namespace plx
