#include "module/components.h"

#include <fmt/format.h>

#include <charconv>
#include <vector>

#include "messages/message.h"
#include "messages/near_names.h"

namespace plx {

namespace {

// A whole number, the entire text; 0 for anything else.
int selectorOf(std::string_view text) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

std::vector<std::string_view> namesWith(std::span<const std::string_view> others) {
  std::vector<std::string_view> names;
  for (const ComponentFacts& facts : kComponentFacts) names.push_back(facts.name);
  names.insert(names.end(), others.begin(), others.end());
  return names;
}

}  // namespace

Component findComponent(std::string_view text, std::span<const std::string_view> others) {
  const int selector = selectorOf(text);
  for (const ComponentFacts& facts : kComponentFacts) {
    const bool isSelected =
        selector != 0 && (selector == facts.selector || selector == facts.otherSelector);
    if (facts.name == text || isSelected) return facts.component;
  }
  const std::vector<std::string_view> names = namesWith(others);
  std::string accepted;
  for (const std::string_view name : names) accepted.append(name).append(", ");
  accepted += "or a selector number; see plx components";
  throw Failure{
      Status::unknownName,
      describe("COMPONENT", {"unknown component" + didYouMean(text, names), accepted}, text)};
}

Example exampleOf(Component component) {
  switch (component) {
    case Component::year:
      return {"set year 2015 2016-02-29T08:30", "2015-03-01T08:30:00"};
    case Component::quarter:
      return {"set quarter 2 2014-11-20", "2014-04-20"};
    case Component::month:
      return {"set month 13 2014-05-10T08:30", "2015-01-10T08:30:00"};
    case Component::weekOfYear:
      return {"set week-of-year 1 2014-05-10", "2014-01-04"};
    case Component::dayOfMonth:
      return {"set day 0 2014-03-15", "2014-02-28"};
    case Component::dayOfYear:
      return {"set day-of-year 60 2016-12-24", "2016-02-29"};
    case Component::dayOfWeek:
      return {"set day-of-week 2 2014-05-10", "2014-05-05"};
    case Component::hour:
      return {"set hour 2 2014-03-09T12:50 --zone America/New_York", "2014-03-09T03:50:00-04:00"};
    case Component::minute:
      return {"set minute -15 2014-05-10T08:30", "2014-05-10T07:45:00"};
    case Component::second:
      return {"set second 30.1 2014-05-10T08:30:15Z", "2014-05-10T08:30:30.1Z"};
    case Component::timeOfDay:
      return {"set time-of-day 3600.5 2014-05-10", "2014-05-10T01:00:00.5"};
    case Component::none:
      break;
  }
  return {};
}

std::string componentTable(std::span<const ListedField> others) {
  std::string table;
  table += fmt::format("{:9} {:13} {:30} {}\n", "selector", "name", "values", "example");
  for (const ComponentFacts& facts : kComponentFacts) {
    const std::string selectors = facts.otherSelector == 0
                                      ? fmt::format("{}", facts.selector)
                                      : fmt::format("{}, {}", facts.selector, facts.otherSelector);
    const auto [arguments, result] = exampleOf(facts.component);
    table += fmt::format("{:9} {:13} {:30} plx {}\n{:54} {}\n", selectors, facts.name, facts.unit,
                         arguments, "", result);
  }
  for (const ListedField& field : others) {
    table += fmt::format("{:9} {:13} {:30} plx {}\n{:54} {}\n", "-", field.name, field.unit,
                         field.example.arguments, "", field.example.result);
  }
  table +=
      "\nValues outside these ranges carry into the larger units: month 13 is January of the "
      "next year.\n";
  return table;
}

std::string componentExamples() {
  std::string text = "Examples:\n";
  for (const ComponentFacts& facts : kComponentFacts) {
    const auto [arguments, result] = exampleOf(facts.component);
    text += fmt::format("  plx {:58} {}\n", arguments, result);
  }
  return text;
}

}  // namespace plx
