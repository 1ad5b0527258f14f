#include "setting/named_field.h"

#include <array>
#include <cstddef>

#include "module/components.h"

namespace plx {

namespace {

constexpr auto kOwnNames = [] {
  std::array<std::string_view, kOwnFacts.size()> names{};
  for (std::size_t i = 0; i < names.size(); ++i) names[i] = kOwnFacts[i].name;
  return names;
}();

Example exampleOf(Own own) {
  switch (own) {
    case Own::date:
      return {"set date 2024-02-29 2014-05-10T08:30", "2024-02-29T08:30:00"};
    case Own::time:
      return {"set time 09:30 2014-05-10T08:30:15", "2014-05-10T09:30:00"};
    case Own::isoYear:
      return {"set iso-year 2015 2014-05-10", "2015-05-09"};
    case Own::isoWeek:
      return {"set iso-week 1 2014-05-10", "2014-01-04"};
    case Own::none:
      break;
  }
  return {};
}

}  // namespace

CalendarField findField(std::string_view text) {
  for (const OwnFacts& facts : kOwnFacts)
    if (facts.name == text) return {facts.component, facts.own};
  return {findComponent(text, kOwnNames), Own::none};
}

std::string fieldTable() {
  std::array<ListedField, kOwnFacts.size()> fields;
  for (std::size_t i = 0; i < fields.size(); ++i)
    fields[i] = {kOwnFacts[i].name, kOwnFacts[i].unit, exampleOf(kOwnFacts[i].own)};
  return componentTable(fields);
}

}  // namespace plx
