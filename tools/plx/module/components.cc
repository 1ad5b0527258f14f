#include "module/components.h"

#include <fmt/format.h>

#include <charconv>
#include <iterator>

#include "messages/message.h"

namespace plx {

namespace {

constexpr std::string_view kAcceptedComponents =
    "year, quarter, month, week-of-year, day, day-of-year, day-of-week, hour, minute, second, "
    "time-of-day, or a selector number; see plx components";

// A whole number, the entire text; 0 for anything else.
int selectorOf(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

}  // namespace

const Component& findComponent(std::string_view text) {
  const int selector = selectorOf(text);
  for (const Component& component : kComponents) {
    const bool selected =
        selector != 0 && (selector == component.selector || selector == component.otherSelector);
    if (component.name == text || selected) return component;
  }
  throw Failure{Status::unknownName,
                describe("COMPONENT", {"unknown component", kAcceptedComponents}, text)};
}

std::string componentTable() {
  std::string table;
  const auto out = std::back_inserter(table);
  fmt::format_to(out, "{:9} {:13} {:30} {}\n", "selector", "name", "values", "example");
  for (const Component& c : kComponents) {
    const std::string selectors = c.otherSelector == 0
                                      ? fmt::format("{}", c.selector)
                                      : fmt::format("{}, {}", c.selector, c.otherSelector);
    fmt::format_to(out, "{:9} {:13} {:30} plx {}\n{:54} {}\n", selectors, c.name, c.unit, c.example,
                   "", c.result);
  }
  table +=
      "\nValues outside these ranges carry into the larger units: month 13 is January of the "
      "next year.\n";
  return table;
}

std::string componentExamples() {
  std::string text = "Examples:\n";
  for (const Component& c : kComponents)
    fmt::format_to(std::back_inserter(text), "  plx {:58} {}\n", c.example, c.result);
  return text;
}

}  // namespace plx
