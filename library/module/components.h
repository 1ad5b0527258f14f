// Components by the names and selectors that people type, and an example of each.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "base/component.h"

namespace plx {

// By name or selector; throws a Failure of Status::unknownName that lists the names, with others that are
// taken where the caller looked already, and tells the nearest.
Component findComponent(std::string_view text, std::span<const std::string_view> others = {});

// The arguments of a command, and what it prints.
struct Example {
  std::string_view arguments, result;
};

Example exampleOf(Component component);

// What has no selector, but is listed, too.
struct ListedField {
  std::string_view name, unit;
  Example example;
};

// The table that `plx components` prints.
std::string componentTable(std::span<const ListedField> others = {});

// An example for each component, as help texts end.
std::string componentExamples();

}  // namespace plx
